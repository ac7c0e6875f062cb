// The waveform of input and output, with the segments as regions.
import WaveSurfer from 'wavesurfer.js';
import Regions from 'wavesurfer.js/dist/plugins/regions.js';

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
  const regions = Regions.create();
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
    plugins: [regions],
  });
  return new Promise((resolve, reject) => {
    surfer.once('ready', () => resolve({surfer, regions}));
    surfer.once('error', reject);
  });
}

export function recolourWaveform(surfer) {
  surfer.setOptions({splitChannels: channels()});
}

// A region's label is a child of its own: the plugin compares each of its labels with all others.
function addRegion(regions, id, start, end, kind, label) {
  const {element} = regions.addRegion({id, start, end, color: `var(--${kind})`, drag: false, resize: false});
  const edge = kind === 'rejected' ? '1px dashed var(--rejected-edge)' : '1px solid var(--edge)';
  Object.assign(element.style, {overflow: 'hidden', borderRadius: 0});
  if (kind !== 'span') Object.assign(element.style, {borderLeft: edge, borderRight: edge});
  if (label === '') return;
  const text = document.createElement('span');
  text.textContent = label;
  Object.assign(text.style, {position: 'absolute', bottom: 0, left: '3px', fontSize: '11px', color: 'var(--text)'});
  element.append(text);
}

export function addSegments(regions, segments) {
  segments.forEach((segment, i) => {
    if (segment.rejected !== null) {
      addRegion(regions, `rejected-${i}`, segment.start, segment.end, 'rejected', segment.rejected);
    } else {
      addRegion(regions, `span-${segment.number}`, segment.span_start, segment.span_end, 'span', '');
      addRegion(regions, `utterance-${segment.number}`, segment.start, segment.end, 'utterance',
        String(segment.number));
    }
  });
}
