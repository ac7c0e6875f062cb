// Puts the page together: tracks that share one view, a player, a list.
import 'uplot/dist/uPlot.min.css';
import './style.css';

import {Decision} from './decision.js';
import {detectorOf} from './detector.js';
import {clock, decimal} from './format.js';
import {listenToKeys} from './keyboard.js';
import {Player} from './player.js';
import {Pointer} from './pointer.js';
import {readReport} from './report.js';
import {addRegions} from './regions.js';
import {SegmentList} from './segments.js';
import {brightest, Spectrogram} from './spectrogram.js';
import {Theme} from './theme.js';
import {decibels, Ruler, Traces} from './traces.js';
import {View} from './view.js';
import {drawWaveform, recolourWaveform} from './waveform.js';

const kPlay = 'M4 2v12l10-6z';
const kPause = 'M3 2h4v12H3zM9 2h4v12H9z';

const $ = (id) => document.getElementById(id);

function showFacts(report) {
  const title = report.title || report.file;
  document.title = `${title} \u2013 speech report`;
  $('title').textContent = title;
  const utterances = report.segments.filter((segment) => segment.rejected === null);
  const spoken = utterances.reduce((sum, {start, end}) => sum + end - start, 0);
  const rejected = report.segments.length - utterances.length;
  $('facts').textContent = [
    ...(report.title ? [report.file] : []),
    clock(report.seconds),
    `${utterances.length} utterance${utterances.length === 1 ? '' : 's'}, ${clock(spoken, 1)} in all`,
    ...(rejected > 0 ? [`${rejected} rejected`] : []),
  ].join('  \u00b7  ');
}

function showWhatThereIs(segments) {
  $('none').hidden = segments.length > 0;
  $('list').hidden = segments.length === 0;
  $('rejected-toggle').hidden = segments.every((segment) => segment.rejected === null);
}

// Texts that hold for one detector only.
function showDetector(report, detector) {
  for (const element of document.querySelectorAll('[data-detector]'))
    element.hidden = element.dataset.detector !== report.detector;
  $('threshold').textContent = decimal(report.probability, 2);
  $('listen-output').title = `Listen to the output, noise-reduced for ${detector.outputFor} (o)`;
}

function makeTracks(report, detector) {
  const {values} = report;
  const step = report.trace_step;
  const top = brightest(values['spectrogram-input']);
  const level = decibels(values['trace-level'], report.trace_steps_per_db, report.level_lowest);
  const lowest = level.reduce((least, value) => Math.min(least, value ?? 0), -10);
  return {
    level,
    plots: [
      new Ruler($('ruler'), report.seconds),
      new Traces($('level'), 84, step, [{values: level, name: 'energy'}], [Math.floor(lowest / 10) * 10, 0]),
      new Traces($('detector'), 110, step, detector.lines, detector.range),
    ],
    canvases: [
      ...['input', 'output'].map(
        (name) =>
          new Spectrogram(
            $(`spectrogram-${name}`),
            values[`spectrogram-${name}`],
            report.spectrogram_step,
            top
          )
      ),
      new Decision($('decision'), values['trace-flags'], step),
    ],
  };
}

function valuesAt(report, level, detector, time) {
  const t = Math.floor(time / report.trace_step);
  return [
    ...(level[t] == null ? [] : [`level ${decimal(level[t])} dBFS`]),
    ...detector.measuredAt(t),
    ...detector.decidedBy(report.values['trace-flags'][t] ?? 0),
  ];
}

async function main() {
  const report = await readReport();
  showFacts(report);
  showWhatThereIs(report.segments);
  const detector = detectorOf(report);
  showDetector(report, detector);
  const theme = new Theme($('theme'));
  const surfer = await drawWaveform($('waveform'), report);
  const view = new View(surfer, report.seconds);
  const tracks = makeTracks(report, detector);
  const player = new Player(report);
  const list = new SegmentList($('segments'), report.segments, detector.shareOf, player.hasSound);
  addRegions(surfer.getWrapper(), report.segments, report.seconds);

  const showPlayer = () => {
    const x = view.xOf(player.time);
    const line = $('player-line');
    line.hidden = x < 0 || x > view.width;
    line.style.left = `${$('waveform').offsetLeft + x}px`;
    $('position').textContent = clock(player.time);
    $('play')
      .querySelector('path')
      .setAttribute('d', player.playing ? kPause : kPlay);
    $('play').setAttribute('aria-label', player.playing ? 'Pause' : 'Play');
  };
  const follow = () => {
    if (player.playing) view.reveal(player.time, player.time);
    showPlayer();
  };
  const draw = () => {
    for (const track of [...tracks.plots, ...tracks.canvases]) track.draw(view);
    showPlayer();
  };
  view.onChange(draw);
  player.onChange(follow);
  theme.onChange(() => {
    recolourWaveform(surfer);
    for (const plot of tracks.plots) plot.recolour();
    draw();
  });

  const listenTo = (side) => {
    $('listen-input').setAttribute('aria-pressed', side === 'input');
    $('listen-output').setAttribute('aria-pressed', side === 'output');
    return player.listenTo(side);
  };
  const playSegment = ({span_start, span_end}) => player.playSpan(span_start, span_end);
  const playSelected = () => list.current && playSegment(list.current);
  list.onAction(async (segment, action) => {
    player.seek(segment.start);
    if (action === 'show') {
      view.frame(segment.span_start, segment.span_end);
      $('tracks').scrollIntoView();
    } else {
      view.reveal(segment.span_start, segment.span_end);
    }
    if (action !== 'input' && action !== 'output') return;
    await listenTo(action);
    await playSegment(segment);
  });
  $('show-rejected').addEventListener('change', (event) => {
    $('segments').classList.toggle('hide-rejected', !event.target.checked);
  });

  const pointer = new Pointer($('tracks'), $('waveform'), $('pointer-line'), $('readout'), view, (time) =>
    valuesAt(report, tracks.level, detector, time)
  );
  pointer.on('click', (time) => {
    const index = list.indexAt(time);
    if (index >= 0 && index !== list.selected) list.select(index);
    player.seek(time);
  });
  pointer.on('dblclick', (time) => {
    const index = list.indexAt(time);
    if (index >= 0) playSegment(report.segments[index]);
  });

  // Keeps the position being played in view.
  const zoom = (factor) => {
    const x = view.xOf(player.time);
    view.zoom(factor, x >= 0 && x <= view.width ? x : undefined);
  };
  const help = $('help');
  const step = (direction) => list.step(direction, player.time);
  const deeds = {
    ' ': () => player.toggle(),
    ArrowLeft: (event) => player.seek(player.time - (event.shiftKey ? 0.1 : 1)),
    ArrowRight: (event) => player.seek(player.time + (event.shiftKey ? 0.1 : 1)),
    n: () => step(1),
    p: () => step(-1),
    Enter: playSelected,
    i: () => listenTo('input'),
    o: () => listenTo('output'),
    '+': () => zoom(2),
    '=': () => zoom(2),
    '-': () => zoom(0.5),
    0: () => view.fit(),
    t: () => theme.toggle(),
    '?': () => help.showModal(),
  };
  listenToKeys(deeds);
  const buttons = {
    play: ' ',
    previous: 'p',
    next: 'n',
    'play-selected': 'Enter',
    'listen-input': 'i',
    'listen-output': 'o',
    'zoom-in': '+',
    'zoom-out': '-',
    'zoom-fit': '0',
    'help-open': '?',
  };
  for (const [id, key] of Object.entries(buttons))
    $(id).addEventListener('click', (event) => deeds[key](event));
  $('help-close').addEventListener('click', () => help.close());
  for (const id of ['play', 'play-selected', 'listen-input', 'listen-output'])
    $(id).disabled = !player.hasSound;

  draw();
  document.body.dataset.ready = 'true';
}

main().catch((error) => {
  $('failure').hidden = false;
  $('failure').textContent = `This report cannot be drawn (${error.message}): open it in a newer browser.`;
  throw error;
});
