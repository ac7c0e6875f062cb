// The two detectors: what each measured, and the words for it.
//   lines, range          of the plot
//   measuredAt, decidedBy  under the pointer: of a column, and of its flags
//   shareOf               name of the share that the list gives for each segment
//   outputFor             whom the noise reduction is for
import {decimal} from './format.js';
import {decibels, shares} from './traces.js';

const named = (name, value, decimals, unit = '') =>
  value == null ? [] : [`${name} ${decimal(value, decimals)}${unit}`];

function learned({values, trace_steps_of_one, probability}) {
  const speech = shares(values['trace-speech'], trace_steps_of_one);
  const music = shares(values['trace-music'], trace_steps_of_one);
  return {
    lines: [
      {values: speech.map(() => probability), name: 'quiet', dash: [5, 4]},
      {values: music, name: 'noise'},
      {values: speech, name: 'energy'},
    ],
    range: [0, 1],
    measuredAt: (t) => [...named('speech', speech[t], 2), ...named('music', music[t], 2)],
    decidedBy: (flags) => (flags & 1 ? ['decision: speech'] : []),
    shareOf: 'likely speech',
    outputFor: 'listening',
  };
}

function energetic({values, trace_steps_per_db}) {
  const energy = decibels(values['trace-energy'], trace_steps_per_db);
  const noise = decibels(values['trace-noise'], trace_steps_per_db);
  const highest = energy.reduce((most, value) => Math.max(most, value ?? 0), 10);
  return {
    lines: [
      {values: energy, name: 'energy'},
      {values: noise, name: 'noise'},
    ],
    range: [0, Math.ceil(highest / 10) * 10],
    measuredAt: (t) => [...named('energy', energy[t], 1, ' dB'), ...named('noise floor', noise[t], 1, ' dB')],
    decidedBy: (flags) => [...(flags & 1 ? ['speech'] : []), ...(flags & 2 ? ['voiced'] : [])],
    shareOf: 'voiced',
    outputFor: 'recognition',
  };
}

export const detectorOf = (report) => (report.detector === 'learned' ? learned(report) : energetic(report));
