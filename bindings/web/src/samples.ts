// Samples on their way into the module's memory.

/** 16-bit samples, or floats from -1 to 1. */
export type Samples = Int16Array | Float32Array;

// Adding and subtracting it rounds a double to the nearest integer, ties to even.
const kRounds = 1.5 * 2 ** 52;

// 1.0 is 32768, limited; what is not a number is 0.
function toInt16(value: number): number {
  if (!(value > -1)) return value <= -1 ? -32768 : 0;
  return Math.min(value * 32768 + kRounds - kRounds, 32767);
}

/** Copy samples; floats are converted. `to` is as long as `from`. */
export function copySamples(from: Samples, to: Int16Array): void {
  if (from instanceof Int16Array) to.set(from);
  else for (let i = 0; i < from.length; ++i) to[i] = toInt16(from[i]!);
}

export function checkSamples(samples: unknown): asserts samples is Samples {
  if (samples instanceof Int16Array || samples instanceof Float32Array) return;
  const kind = (samples as object | null | undefined)?.constructor?.name ?? String(samples);
  throw new TypeError(`samples are ${kind}, not Int16Array or Float32Array`);
}
