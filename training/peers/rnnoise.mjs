// RNNoise: noise reduction at 48 kHz, with a probability of speech.
import { downsampler, upsampler } from './thrice.mjs';

globalThis.WorkerGlobalScope ??= Object; // the package is made for browsers and looks for one
const { Rnnoise } = await import('@shiguredo/rnnoise-wasm');

export const hop = 160;
const module = await Rnnoise.load();

export function open() {
  const state = module.createDenoiseState();
  const up = upsampler(), down = downsampler();
  return {
    frame(samples) {
      const frame = up(samples).map((x) => x * 32768);
      const probability = state.processFrame(frame);
      return { probability, audio: down(frame.map((x) => x / 32768)) };
    },
    close() { state.destroy(); },
  };
}
