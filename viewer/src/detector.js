// The two detectors: what each measured, and the words for it.
//   lines, range           of the chart
//   measuredAt, decidedBy  under the pointer: of a column, and of its flags
//   description            of the chart
import {decibels, shares} from './chart.js';
import {decimal} from './format.js';

const kDashed = [5, 4];
const kDotted = [1, 4];

const named = (name, value, decimals, unit = '') =>
  value == null ? [] : [`${name} ${decimal(value, decimals)}${unit}`];

function learned(values, {trace_steps_of_one, threshold, close_threshold}) {
  const speech = shares(values['trace-speech'], trace_steps_of_one);
  const music = shares(values['trace-music'], trace_steps_of_one);
  return {
    lines: [
      {value: threshold, name: 'quiet', dash: kDashed},
      {value: close_threshold, name: 'quiet', dash: kDotted},
      {values: music, name: 'noise'},
      {values: speech, name: 'energy'},
    ],
    range: [0, 1],
    measuredAt: (t) => [...named('speech', speech[t], 2), ...named('music', music[t], 2)],
    decidedBy: (flags) => (flags & 1 ? ['decision: speech'] : []),
    description: 'Probability of speech and music',
  };
}

function energetic(values, {trace_steps_per_db, threshold}) {
  const energy = decibels(values['trace-energy'], trace_steps_per_db);
  const noise = decibels(values['trace-noise'], trace_steps_per_db);
  const highest = energy.reduce((most, value) => Math.max(most, value ?? 0), 10);
  return {
    lines: [
      {values: energy, name: 'energy'},
      {values: noise, name: 'noise'},
      {
        values: noise.map((floor) => (floor === null ? null : floor + threshold)),
        name: 'quiet',
        dash: kDashed,
      },
    ],
    range: [0, Math.ceil(highest / 10) * 10],
    measuredAt: (t) => [...named('energy', energy[t], 1, ' dB'), ...named('noise floor', noise[t], 1, ' dB')],
    decidedBy: (flags) => [...(flags & 1 ? ['speech'] : []), ...(flags & 2 ? ['voiced'] : [])],
    description: "The detector's energy and noise floor in dB",
  };
}

export const detectorOf = (values, report) =>
  report.detector === 'learned' ? learned(values, report) : energetic(values, report);

// Texts that hold for one detector only.
export const wordsOf = ({detector}) =>
  detector === 'learned'
    ? {shareOf: 'likely speech', outputFor: 'listening', decimals: 2}
    : {shareOf: 'voiced', outputFor: 'recognition', decimals: 1};
