// The waveform of input and output.
import WaveSurfer from 'wavesurfer.js';

import {colour} from './theme.js';

const kHeight = 132;

function heights(envelope) {
  return Float32Array.from(envelope, (value) => value / 255);
}

function channels() {
  return ['wave-input', 'wave-output'].map((name) => {
    const waveColor = colour(name);
    return {waveColor, progressColor: waveColor, overlay: true, height: kHeight};
  });
}

// Resolves when it has been drawn.
export function drawWaveform(container, report) {
  const peaks = [heights(report.values['envelope-input']), heights(report.values['envelope-output'])];
  const surfer = WaveSurfer.create({
    container,
    peaks,
    duration: report.seconds,
    height: kHeight,
    splitChannels: channels(),
    normalize: true,
    cursorWidth: 0,
    interact: false,
    dragToSeek: false,
    autoScroll: false,
  });
  return new Promise((resolve, reject) => {
    surfer.once('ready', () => resolve(surfer));
    surfer.once('error', reject);
  });
}

export function recolourWaveform(surfer) {
  surfer.setOptions({splitChannels: channels()});
}
