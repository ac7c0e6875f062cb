// The successor of Silero v5, as @livekit/agents-plugin-silero brings it.
import { fileOf, hop, load } from './silero.mjs';

const open = await load(fileOf('@livekit/agents-plugin-silero', 'silero_vad.onnx'));
export { hop, open };
