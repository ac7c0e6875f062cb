// All that is drawn over time: a waveform of every channel, and the details of one of them.
import {Chart, decibels} from './chart.js';
import {Decision} from './decision.js';
import {detectorOf} from './detector.js';
import {decimal} from './format.js';
import {Minimap} from './minimap.js';
import {Regions} from './regions.js';
import {brightest, Spectrogram} from './spectrogram.js';
import {Ruler} from './times.js';
import {peakOf, Waveform} from './waveform.js';

const $ = (id) => document.getElementById(id);

function addWaveform(report, channel, top) {
  const track = document.createElement('div');
  track.className = 'track waveform';
  track.dataset.channel = channel.index;
  track.append(
    ...['axis', 'plot'].map((className) => Object.assign(document.createElement('div'), {className}))
  );
  track.firstChild.setAttribute('aria-hidden', 'true');
  $('waveforms').append(track);
  const plot = track.lastChild;
  const found = channel.segments.filter(({rejected}) => rejected === null).length;
  const description = `Waveform of input and output${channel.name && `, ${channel.name}`}; utterances: ${found}`;
  const waveform = new Waveform(plot, {
    envelopes: channel.envelopes,
    step: report.envelope_step,
    top,
    description,
  });
  if (report.channels.length > 1)
    plot.append(Object.assign(document.createElement('b'), {textContent: channel.name}));
  return [waveform, new Regions(plot, channel.segments, report.seconds)];
}

export class Tracks {
  #details = [];

  constructor(report, view) {
    this.report = report;
    const top = peakOf(...report.channels.flatMap(({envelopes}) => Object.values(envelopes)));
    this.minimap = new Minimap($('minimap'), report, top, view);
    this.overall = [
      this.minimap,
      new Ruler($('ruler')),
      ...report.channels.flatMap((channel) => addWaveform(report, channel, top)),
    ];
  }

  // The spectrograms and the detector's view of a channel.
  async show(channel) {
    const {report} = this;
    const values = await channel.values();
    const step = report.trace_step;
    const detector = detectorOf(values, report);
    const top = brightest(values['spectrogram-input']);
    const level = decibels(values['trace-level'], report.trace_steps_per_db, report.level_lowest);
    const lowest = level.reduce((least, value) => Math.min(least, value ?? 0), -10);
    const spectrogram = (side) =>
      new Spectrogram($(`spectrogram-${side}`), {
        columns: values[`spectrogram-${side}`],
        step: report.spectrogram_step,
        lowest: report.spectrogram_lowest,
        top,
        side,
      });
    const levels = {
      step,
      lines: [{values: level, name: 'energy'}],
      range: [Math.floor(lowest / 10) * 10, 0],
      description: 'Level of the input in dB full scale',
    };
    Object.assign(this, {values, level, detector});
    for (const track of document.querySelectorAll('.waveform'))
      track.classList.toggle('shown', track.dataset.channel === String(channel.index));
    this.#details = [
      spectrogram('input'),
      spectrogram('output'),
      new Chart($('level'), levels),
      new Chart($('detector'), {step, ...detector}),
      new Decision($('decision'), values['trace-flags'], step),
    ];
  }

  draw(view) {
    for (const track of [...this.overall, ...this.#details]) track.draw(view);
  }

  valuesAt(time) {
    const t = Math.floor(time / this.report.trace_step);
    return [
      ...(this.level[t] == null ? [] : [`level ${decimal(this.level[t])} dBFS`]),
      ...this.detector.measuredAt(t),
      ...this.detector.decidedBy(this.values['trace-flags'][t] ?? 0),
    ];
  }
}
