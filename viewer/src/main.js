// Puts the page together: tracks that share one view, a player, a list.
import './style.css';

import {wordsOf} from './detector.js';
import {saveClip, saveLabels, saveTable} from './downloads.js';
import {clock, decimal} from './format.js';
import {listenToKeys} from './keyboard.js';
import {backgroundLevel, matchingGains, speechLevel} from './levels.js';
import {Player} from './player.js';
import {Pointer} from './pointer.js';
import {preparePrinting} from './print.js';
import {readReport} from './report.js';
import {SegmentList} from './segments.js';
import {showFacts, showSummary} from './summary.js';
import {Theme} from './theme.js';
import {Tracks} from './tracks.js';
import {View} from './view.js';
import {peakDb} from './waveform.js';

const kPlay = 'M4 2v12l10-6z';
const kPause = 'M3 2h4v12H3zM9 2h4v12H9z';
const kNarrow = matchMedia('(max-width: 700px)');
const kNarrowSeconds = 20; // that a narrow screen shows at first

const $ = (id) => document.getElementById(id);
const press = (id, on) => $(id).setAttribute('aria-pressed', on);

function showWhatThereIs({segments, channels}) {
  $('none').hidden = segments.length > 0;
  $('list').hidden = $('list-tools').hidden = segments.length === 0;
  $('rejected-toggle').hidden = segments.every((segment) => segment.rejected === null);
  for (const element of document.querySelectorAll('.of-channels')) element.hidden = channels.length === 1;
}

// Texts that hold for one detector only.
function showDetector(report) {
  const {outputFor, decimals} = wordsOf(report);
  for (const element of document.querySelectorAll('[data-detector]'))
    element.hidden = element.dataset.detector !== report.detector;
  for (const name of ['threshold', 'close-threshold'])
    for (const element of document.querySelectorAll(`span.${name}:not(.swatch)`))
      element.textContent = decimal(report[name.replace('-', '_')], decimals);
  $('listen-output').title = `Listen to the output, noise-reduced for ${outputFor} (o)`;
}

// What the player does, shown; and which sound it plays, and how loud.
function connectPlayer(report, player, tracks, view) {
  let gains = null; // in dB, of input and output; null: there is no speech to match
  let matched = false;
  const show = () => {
    const x = view.xOf(player.time);
    const line = $('player-line');
    line.hidden = x < 0 || x > view.width;
    line.style.left = `${$('ruler').offsetLeft + x}px`;
    tracks.minimap.showPlayer(player.time);
    $('position').textContent = clock(player.time);
    $('play')
      .querySelector('path')
      .setAttribute('d', player.playing ? kPause : kPlay);
    $('play').setAttribute('aria-label', player.playing ? 'Pause' : 'Play');
  };
  const amplify = () => {
    press('match', matched);
    player.amplify(matched && gains ? gains[player.side] : 0);
  };
  player.onChange(() => {
    if (player.playing) view.reveal(player.time, player.time);
    show();
  });
  return {
    show,
    listenTo(side) {
      for (const name of ['input', 'output']) press(`listen-${name}`, side === name);
      $('tracks').dataset.side = side;
      const listening = player.listenTo(side);
      amplify();
      return listening;
    },
    match() {
      matched = !matched && gains !== null;
      amplify();
    },
    async showChannel(channel) {
      for (const element of $('channels').children)
        element.setAttribute('aria-pressed', element.dataset.channel === String(channel.index));
      const listening = player.listenTo(player.side, channel);
      await tracks.show(channel);
      const sides = ['input', 'output'].map((side) => ({
        level: speechLevel(tracks.values[`spectrogram-${side}`], channel.segments, report),
        peak: peakDb(channel.envelopes[side]),
      }));
      gains = null;
      if (sides[0].level !== null && player.hasSound) {
        const [input, output] = matchingGains(sides);
        gains = {input, output};
        const sign = (db) => `${db < 0 ? '' : '+'}${decimal(db)} dB`;
        $('match').title = `Play input (${sign(input)}) and output (${sign(output)}) equally loud (m)`;
      }
      $('match').disabled = gains === null;
      amplify();
      const background = backgroundLevel(tracks.level, channel.segments, report.trace_step);
      showSummary(report, {speech: sides[0].level, background});
      tracks.draw(view);
      return listening;
    },
  };
}

function connectList(report, list) {
  let shown = report.segments;
  const filter = () => {
    shown = list.filter($('filter').value, $('show-rejected').checked);
    const all = shown.length === report.segments.length;
    $('shown').textContent = all ? '' : `${shown.length} of ${report.segments.length}`;
  };
  $('filter').addEventListener('input', filter);
  $('show-rejected').addEventListener('change', filter);
  $('save-labels').addEventListener('click', () => saveLabels(report, shown));
  $('save-csv').addEventListener('click', () => saveTable(report, shown));
}

function addChannelButtons(channels, show) {
  if (channels.length === 1) return;
  $('channels').hidden = false;
  for (const channel of channels) {
    const button = document.createElement('button');
    Object.assign(button, {
      type: 'button',
      textContent: channel.name,
      title: `Show and play ${channel.name} (c)`,
    });
    button.dataset.channel = channel.index;
    button.addEventListener('click', () => show(channel));
    $('channels').append(button);
  }
}

async function main() {
  const report = await readReport();
  showFacts(report);
  showWhatThereIs(report);
  showDetector(report);
  const theme = new Theme($('theme'));
  const view = new View($('ruler'), report.seconds, kNarrow.matches ? kNarrowSeconds : Infinity);
  const tracks = new Tracks(report, view);
  const player = new Player(report);
  const list = new SegmentList($('segments'), report, wordsOf(report).shareOf, player.hasSound);
  const playing = connectPlayer(report, player, tracks, view);
  connectList(report, list);
  addChannelButtons(report.channels, playing.showChannel);
  view.onChange(() => {
    tracks.draw(view);
    playing.show();
  });
  theme.onChange(() => view.redraw());
  preparePrinting(() => view.redraw());

  const showChannel = (channel) => (channel === player.channel ? undefined : playing.showChannel(channel));
  const playSegment = async ({channel, span_start, span_end}) => {
    await showChannel(channel);
    await player.playSpan(span_start, span_end);
  };
  list.onAction(async (segment, action) => {
    if (action === 'save') return saveClip(report, segment, player.side);
    player.seek(segment.start);
    if (action === 'show') {
      view.frame(segment.span_start, segment.span_end);
      $('tracks').scrollIntoView();
    } else {
      view.reveal(segment.span_start, segment.span_end);
    }
    const channel = showChannel(segment.channel);
    if (action === 'input' || action === 'output') {
      await playing.listenTo(action);
      await playSegment(segment);
    }
    return channel;
  });

  const pointer = new Pointer($('tracks'), $('ruler'), $('pointer-line'), $('readout'), view, (time) =>
    tracks.valuesAt(time)
  );
  const channelAt = (element) =>
    report.channels[element.closest('.waveform')?.dataset.channel ?? player.channel.index];
  pointer.on('click', (time, element) => {
    const channel = channelAt(element);
    const index = list.indexAt(time, channel);
    if (index >= 0 && index !== list.selected) list.select(index);
    player.seek(time);
    showChannel(channel);
  });
  pointer.on('dblclick', (time, element) => {
    const index = list.indexAt(time, channelAt(element));
    if (index >= 0) playSegment(report.segments[index]);
  });

  // Keeps the position being played in view.
  const zoom = (factor) => {
    const x = view.xOf(player.time);
    view.zoom(factor, x >= 0 && x <= view.width ? x : undefined);
  };
  const moveTo = (time) => {
    player.seek(time);
    view.reveal(player.time, player.time);
  };
  const help = $('help');
  const step = (direction) => list.step(direction, player.time);
  const deeds = {
    ' ': () => player.toggle(),
    ArrowLeft: (event) => moveTo(player.time - (event.shiftKey ? 0.1 : 1)),
    ArrowRight: (event) => moveTo(player.time + (event.shiftKey ? 0.1 : 1)),
    Home: () => moveTo(0),
    End: () => moveTo(report.seconds),
    n: () => step(1),
    p: () => step(-1),
    Enter: () => list.current && playSegment(list.current),
    i: () => playing.listenTo('input'),
    o: () => playing.listenTo('output'),
    m: () => playing.match(),
    c: () => showChannel(report.channels[(player.channel.index + 1) % report.channels.length]),
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
    match: 'm',
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

  $('tracks').dataset.side = player.side;
  await playing.showChannel(player.channel);
  document.body.dataset.ready = 'true';
}

main().catch((error) => {
  $('failure').hidden = false;
  $('failure').textContent = `This report cannot be drawn (${error.message}): open it in a newer browser.`;
  throw error;
});
