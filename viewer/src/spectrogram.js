// A spectrogram of the visible part, from the columns that the command computed.
import {markAxis, TrackCanvas} from './canvas.js';
import {decimal} from './format.js';
import {palette} from './palette.js';
import {kBands} from './report.js';

const kColours = palette();
const kRangeDb = 70;

// The colours in a row, from dark to bright.
function colourBar() {
  const bar = document.createElement('canvas');
  Object.assign(bar, {width: 256, height: 1});
  bar.setAttribute('role', 'img');
  bar.setAttribute('aria-label', 'colours from dark to bright');
  bar.getContext('2d').putImageData(new ImageData(new Uint8ClampedArray(kColours.buffer), 256, 1), 0, 0);
  return bar;
}

// The level below which 99.9 % of all values lie, so that input and output share one scale. For silence it is
// low.
export function brightest(columns) {
  const counts = new Uint32Array(256);
  for (const value of columns) ++counts[value];
  let left = columns.length / 1000;
  let level = 255;
  while (level > kRangeDb && (left -= counts[level]) > 0) --level;
  return level;
}

export class Spectrogram {
  #image = document.createElement('canvas');

  // top: the brightest level in steps; lowest: dB of step 0
  constructor(container, {columns, step, top, lowest, side}) {
    this.columns = columns;
    this.count = columns.length / kBands;
    this.step = step; // seconds per column
    this.colours = Uint32Array.from({length: 256}, (_, value) => {
      const share = (value - top + kRangeDb) / kRangeDb;
      return kColours[Math.round(255 * Math.min(Math.max(share, 0), 1))];
    });
    const [darkest, brightest] = [top - kRangeDb + lowest, top + lowest].map((db) => decimal(db, 0));
    this.track = new TrackCanvas(
      container,
      `Spectrogram of the ${side}, 0 to 8 kHz, from black at ${darkest} dB to light yellow at ${brightest} dB`
    );
    markAxis(
      container,
      [2, 4, 6].map((khz) => [1 - khz / 8, khz])
    );
    const scale = document.querySelector(`.label.side-${side} .scale`);
    scale.replaceChildren(`${darkest} `, colourBar(), ` ${brightest} dB`);
  }

  draw(view) {
    const {columns} = this;
    const {width, height} = this.track.clear();
    const first = Math.min(Math.floor(view.start / this.step), this.count);
    const last = Math.min(Math.ceil(view.end / this.step), this.count);
    if (last <= first || width === 0) return;
    const across = Math.min(last - first, this.track.canvas.width); // image columns; each shows the loudest it covers
    this.#image.width = across;
    this.#image.height = kBands;
    const context = this.#image.getContext('2d');
    const image = context.createImageData(across, kBands);
    const pixels = new Uint32Array(image.data.buffer);
    const loudest = new Uint8Array(kBands);
    for (let x = 0; x < across; ++x) {
      const from = first + Math.floor((x * (last - first)) / across);
      const to = first + Math.floor(((x + 1) * (last - first)) / across);
      loudest.fill(0);
      for (let i = from * kBands; i < to * kBands; i += kBands) {
        for (let b = 0; b < kBands; ++b) {
          if (columns[i + b] > loudest[b]) loudest[b] = columns[i + b];
        }
      }
      for (let b = 0; b < kBands; ++b) pixels[(kBands - 1 - b) * across + x] = this.colours[loudest[b]];
    }
    context.putImageData(image, 0, 0);
    const {scale} = view;
    this.track.context.drawImage(
      this.#image,
      (first * this.step - view.start) * scale,
      0,
      (last - first) * this.step * scale,
      height
    );
  }
}
