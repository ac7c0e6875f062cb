// TEN VAD.
import loadTenVad from '@gooney-001/ten-vad-lib';

export const hop = 256;
const module = await loadTenVad();
const audio = module._malloc(2 * hop), probability = module._malloc(4), flag = module._malloc(4);

export function open() {
  const handle = module._malloc(4);
  if (module._ten_vad_create(handle, hop, 0.5) !== 0) throw new Error('TEN VAD does not open');
  return {
    frame(samples) {
      module.HEAP16.set(samples.map((x) => Math.round(x * 32768)), audio >> 1);
      const result = module._ten_vad_process(module.getValue(handle, 'i32'), audio, hop, probability, flag);
      if (result !== 0) throw new Error('TEN VAD fails');
      return { probability: module.getValue(probability, 'float') };
    },
    close() { module._ten_vad_destroy(handle); module._free(handle); },
  };
}
