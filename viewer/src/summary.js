// What is said on top: of the recording, of what was found, and with which settings.
import {clock, decimal} from './format.js';

const $ = (id) => document.getElementById(id);

function fill(list, pairs) {
  list.replaceChildren(
    ...pairs.map(([name, value]) => {
      const pair = document.createElement('div');
      pair.append(
        Object.assign(document.createElement('dt'), {textContent: name}),
        Object.assign(document.createElement('dd'), {textContent: value})
      );
      return pair;
    })
  );
}

export function showFacts(report) {
  const title = report.title || report.file;
  document.title = `${title} \u2013 speech report`;
  $('title').textContent = title;
  $('facts').textContent = [
    ...(report.title ? [report.file] : []),
    `${report.rate} Hz`,
    report.input_channels === 1 ? 'mono' : `${report.input_channels} channels`,
    ...(report.channels.length === 1 && report.channels[0].name ? [report.channels[0].name] : []),
    `vask ${report.version}`,
  ].join('  \u00b7  ');
  fill($('settings'), report.settings);
}

// levels: of speech and background of the channel that is shown, in dB, or null
export function showSummary({seconds, segments, channels}, levels) {
  const utterances = segments.filter((segment) => segment.rejected === null);
  const spoken = utterances.reduce((sum, {start, end}) => sum + end - start, 0);
  const share = seconds > 0 ? Math.round((100 * spoken) / (seconds * channels.length)) : 0;
  const db = (level) => (level === null ? '\u2013' : decimal(level, 0));
  const {speech, background} = levels;
  fill($('summary'), [
    ['duration', clock(seconds)],
    ['speech', `${clock(spoken, 1)} (${share} %)`],
    ['utterances', utterances.length],
    ...(utterances.length > 0 ? [['mean length', `${decimal(spoken / utterances.length)} s`]] : []),
    ['rejected', segments.length - utterances.length],
    ['speech / background', `${db(speech)} / ${db(background)} dB`],
  ]);
}
