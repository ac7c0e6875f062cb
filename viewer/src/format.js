// Numbers and words as the page shows them, with a full stop in every language.

export function clock(seconds, decimals = 3) {
  const scale = 10 ** decimals;
  const units = Math.round(Math.max(seconds, 0) * scale);
  const whole = Math.floor(units / scale);
  const fraction = decimals > 0 ? `.${String(units % scale).padStart(decimals, '0')}` : '';
  const s = String(whole % 60).padStart(2, '0');
  const m = Math.floor(whole / 60) % 60;
  const h = Math.floor(whole / 3600);
  return h > 0 ? `${h}:${String(m).padStart(2, '0')}:${s}${fraction}` : `${m}:${s}${fraction}`;
}

export function decimal(value, decimals = 1) {
  return value.toFixed(decimals).replace('-', '\u2212');
}

// Why an utterance ended, or a segment was rejected.
const kWords = {
  silence: 'pause',
  'long-noise': 'long stretch without voice',
  'input-end': 'end of the recording',
  split: 'split: as long as it may be',
};
export const inWords = (reason) => kWords[reason] ?? reason.replaceAll('-', ' ');
