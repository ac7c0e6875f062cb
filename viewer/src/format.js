// Numbers as the page shows them, with a full stop in every language.

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

export const inWords = (reason) => reason.replaceAll('-', ' ');
