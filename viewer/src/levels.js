// How loud speech and background are, and what makes two sounds equally loud.
import {kBands} from './report.js';

// A spectrogram shows a sine at full scale as 0 dB where its mean square is 1/2, and its window spreads it over
// bands that add up to 3/2.
const kSumOverMeanSquare = 3;
const kLoudest = -20; // dB full scale: the most that speech is raised to

const decibelsOf = (power) => 10 * Math.log10(power);
const spoken = ({rejected}) => rejected === null;

// The mean level of speech, in dB full scale, by its spectrogram; null if there is none.
export function speechLevel(columns, segments, {spectrogram_step: step, spectrogram_lowest: lowest}) {
  const powers = Float64Array.from({length: 256}, (_, value) => 10 ** ((value + lowest) / 10));
  let [sum, count] = [0, 0];
  for (const {start, end} of segments.filter(spoken)) {
    for (let t = Math.floor(start / step); t < end / step && (t + 1) * kBands <= columns.length; ++t, ++count)
      for (let b = t * kBands; b < (t + 1) * kBands; ++b) sum += powers[columns[b]];
  }
  return count > 0 ? decibelsOf(sum / count / kSumOverMeanSquare) : null;
}

// The middle of the levels outside of all segments; null if there is nothing else.
export function backgroundLevel(levels, segments, step) {
  const outside = levels.slice();
  for (const {span_start, span_end, start, end} of segments)
    outside.fill(
      null,
      Math.floor(Math.min(start, span_start) / step),
      Math.ceil(Math.max(end, span_end) / step)
    );
  const rest = Float32Array.from(outside.filter((level) => level !== null)).sort();
  return rest.length > 0 ? rest[rest.length >> 1] : null;
}

// Gains in dB that bring the speech of all to one level, without clipping any: of {level, peak} in dB.
export function matchingGains(sounds) {
  const target = Math.min(kLoudest, ...sounds.map(({level, peak}) => level - peak));
  return sounds.map(({level}) => target - level);
}
