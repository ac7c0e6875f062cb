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
    const all = Float64Array.from([...past, ...samples]);
    past = all.slice(-2 * REACH);
    return Float32Array.from({ length: TIMES * samples.length }, (_, n) => {
      let sum = 0;
      const last = 2 * REACH + Math.floor(n / TIMES);
      for (let k = 0, i = n % TIMES; i < taps.length && last - k >= 0; ++k, i += TIMES) sum += taps[i] * all[last - k];
      return sum;
    });
  };
}

export function downsampler() {
  let past = new Float64Array(2 * REACH * TIMES);
  return (samples) => {
    const all = Float64Array.from([...past, ...samples]);
    past = all.slice(-2 * REACH * TIMES);
    return Float32Array.from({ length: samples.length / TIMES }, (_, n) => {
      let sum = 0;
      for (let i = 0; i < taps.length; ++i) sum += taps[i] * all[TIMES * n + taps.length - 1 - i];
      return sum / TIMES;
    });
  };
}
