// The signals of the replay, as the head of its list defines them.
const kVowels = [
  [7735, 7294, 4565],
  [7890, 6014, 4462],
  [8019, 4988, 3009],
  [7863, 7585, 4641],
  [8008, 7554, 5060],
];
const kDecays = [3969, 3923, 3847];

const over = (a, b) => Math.floor(a / b);
const samplesOf = (count, at) => Int16Array.from({length: count}, (_, i) => at(i));

class Random {
  constructor(seed) {
    this.random = seed;
  }
  next() {
    return (this.random = (this.random * 16807) % 2147483647);
  }
  noise(peak) {
    return (over(this.next(), 256) % (2 * peak + 1)) - peak;
  }
}

function chirp(count, peak, from, to) {
  let phase = 0;
  return samplesOf(count, (i) => {
    const x = phase % 32768;
    const height = over(x * (32768 - x) * peak, 268435456);
    const value = phase < 32768 ? height : -height;
    phase = (phase + from + over((to - from) * i, count)) % 65536;
    return value;
  });
}

// voiced(j) of a speaker, for j = 0, 1, ...
function speaker(seed) {
  const random = new Random(seed);
  const last = [0, 0, 0];
  const before = [0, 0, 0];
  let [breath, vowel, period, wait, j] = [0, 0, 0, 0, 0];
  return () => {
    const t = j++ % 3200;
    const v = t - 600;
    const swell = v * (2600 - v);
    let x = 0;
    if (t === 0) {
      vowel = over(random.next(), 256) % 5;
      period = 90 + (over(random.next(), 256) % 60);
      wait = 0;
    }
    if (v >= 0 && wait-- === 0) {
      x = swell;
      wait = period + over(v, 128) + (over(random.next(), 256) % 9);
    }
    breath += over(x - breath, 4);
    x = breath;
    for (let k = 0; k < 3; ++k) {
      const [a, b] = [kVowels[vowel][k], kDecays[k]];
      x = over((4096 - a + b) * x + a * last[k] - b * before[k], 4096);
      before[k] = last[k];
      last[k] = x;
    }
    x = over(x, 64) + random.noise(v < 0 ? 600 : 12 + over(swell, 8192));
    return Math.max(-32768, Math.min(32767, x));
  };
}

function voice(rate, count, seed) {
  const next = speaker(seed);
  let [made, value] = [-1, 0];
  return samplesOf(count, (i) => {
    for (const j = over(i * 16000, rate); made < j; ++made) value = next();
    return value;
  });
}

/** The generators by name. room: the samples of the recording. */
export const generators = (room) => ({
  silence: (count) => new Int16Array(count),
  constant: (count, value) => samplesOf(count, () => value),
  square: (count, half, peak) => samplesOf(count, (i) => (over(i, half) % 2 === 0 ? peak : -1 - peak)),
  clicks: (count, period, peak) => samplesOf(count, (i) => (i % period === period - 1 ? peak : 0)),
  room: (rate, first, count) => samplesOf(count, (i) => room[first + over(i * 16000, rate)]),
  noise(count, peak, seed) {
    const random = new Random(seed);
    return samplesOf(count, () => random.noise(peak));
  },
  chirp,
  voice,
});
