// Files that the page offers: labels, a table, and the sound of an utterance.
import {inWords} from './format.js';
import {samplesOf, wavOf} from './wav.js';

function save(name, blob) {
  const link = document.createElement('a');
  link.href = URL.createObjectURL(blob);
  link.download = name;
  link.click();
  setTimeout(() => URL.revokeObjectURL(link.href), 60000); // the browser may read it only now
}

const stem = ({file}) => file.replace(/\.[^.]*$/, '') || 'recording';
const nameOf = ({number, rejected, channel}) =>
  [
    ...(channel.name ? [channel.name] : []),
    rejected === null ? `utterance ${number}` : `rejected: ${inWords(rejected)}`,
  ].join(', ');

// Tab-separated start, end and name, as audio editors import them.
export function saveLabels(report, segments) {
  const lines = segments.map((s) => `${s.start.toFixed(6)}\t${s.end.toFixed(6)}\t${nameOf(s)}\n`);
  save(`${stem(report)}.txt`, new Blob(lines, {type: 'text/plain'}));
}

export function saveTable(report, segments) {
  const head = 'channel,number,start,end,span_start,span_end,voiced,level,ended,rejected\n';
  const lines = segments.map(
    ({channel, number, start, end, span_start, span_end, voiced, level, ended, rejected}) =>
      [
        channel.name.replace('channel ', ''),
        number,
        start,
        end,
        span_start,
        span_end,
        voiced,
        level,
        ended,
        rejected,
      ]
        .map((value) => value ?? '')
        .join(',')
  );
  save(`${stem(report)}.csv`, new Blob([head, ...lines.map((line) => `${line}\n`)], {type: 'text/csv'}));
}

// As delivered: from the start of its span to the end.
export async function saveClip(report, {channel, number, start, span_start, span_end}, side) {
  const samples = await samplesOf(channel.sound(side), span_start, span_end);
  const parts = [stem(report), channel.name.replace(' ', '-'), number ?? `at-${start.toFixed(2)}s`, side];
  save(`${parts.filter((part) => part !== '').join('-')}.wav`, wavOf(samples));
}
