// WebRTC's detector. It only says yes or no; the probability is the share of its four modes that say yes, so that
// 1 is the answer of the strictest one.
import loadFvad from '@echogarden/fvad-wasm';

export const hop = 160;
const module = await loadFvad();
const audio = module._malloc(2 * hop);

export function open() {
  const detectors = [0, 1, 2, 3].map((mode) => {
    const detector = module._fvad_new();
    if (module._fvad_set_mode(detector, mode) !== 0 || module._fvad_set_sample_rate(detector, 16000) !== 0) {
      throw new Error('the detector refuses its settings');
    }
    return detector;
  });
  return {
    frame(samples) {
      module.HEAP16.set(samples.map((x) => Math.round(x * 32768)), audio >> 1);
      const yes = detectors.filter((detector) => module._fvad_process(detector, audio, hop) === 1);
      return { probability: yes.length / detectors.length };
    },
    close() { detectors.forEach((detector) => module._fvad_free(detector)); },
  };
}
