// From 16 to 48 kHz and back, for a peer that wants that: a windowed sinc of 2 x REACH samples of 16 kHz.
const REACH = 16;
const TIMES = 3;
const taps = Float64Array.from({ length: 2 * REACH * TIMES + 1 }, (_, i) => {
  const t = (i - REACH * TIMES) / TIMES;
  const sinc = t === 0 ? 1 : Math.sin(0.94 * Math.PI * t) / (0.94 * Math.PI * t);
  return 0.94 * sinc * (0.5 + 0.5 * Math.cos((Math.PI * t) / (REACH + 1)));
});

// Each call continues where the last one ended; the output lags by REACH samples of 16 kHz.
export function upsampler() {
  let past = new Float64Array(2 * REACH);
  return (samples) => {
    const all = new Float64Array(past.length + samples.length);
    all.set(past);
    all.set(samples, past.length);
    past = all.slice(-2 * REACH);
    const out = new Float32Array(TIMES * samples.length);
    for (let n = 0; n < out.length; ++n) {
      let at = 2 * REACH + Math.floor(n / TIMES);
      let sum = 0;
      for (let i = n % TIMES; i < taps.length; i += TIMES) sum += taps[i] * all[at--];
      out[n] = sum;
    }
    return out;
  };
}

export function downsampler() {
  let past = new Float64Array(taps.length - 1);
  return (samples) => {
    const all = new Float64Array(past.length + samples.length);
    all.set(past);
    all.set(samples, past.length);
    past = all.slice(1 - taps.length);
    const out = new Float32Array(samples.length / TIMES);
    for (let n = 0; n < out.length; ++n) {
      let sum = 0;
      for (let i = 0; i < taps.length; ++i) sum += taps[i] * all[TIMES * n + i];  // the taps are symmetric
      out[n] = sum / TIMES;
    }
    return out;
  };
}
