// A Silero model, with the 64 samples of context that its authors give it.
import { createRequire } from 'node:module';
import { dirname, join } from 'node:path';
import { InferenceSession, Tensor } from 'onnxruntime-node';

const HOP = 512;
const CONTEXT = 64;

export function fileOf(name, path) {
  return join(dirname(createRequire(import.meta.url).resolve(name)), path);
}

export async function load(path) {
  const session = await InferenceSession.create(path, {
    interOpNumThreads: 1, intraOpNumThreads: 1, executionMode: 'sequential', executionProviders: ['cpu'],
  });
  const rate = new Tensor('int64', BigInt64Array.from([16000n]));
  return () => {
    let state = new Tensor('float32', new Float32Array(2 * 128), [2, 1, 128]);
    const input = new Float32Array(CONTEXT + HOP);
    return {
      async frame(samples) {
        input.copyWithin(0, HOP);
        input.set(samples, CONTEXT);
        const result = await session.run({ input: new Tensor('float32', input, [1, CONTEXT + HOP]), state, sr: rate });
        state = result.stateN;
        return { probability: result.output.data[0] };
      },
      close() {},
    };
  };
}

export { HOP as hop };
