// The waveform of input and output of one channel.
import {markAxis, TrackCanvas} from './canvas.js';
import {decimal} from './format.js';
import {colour} from './theme.js';

// The command stores heights as their logarithm, so that quiet sound is drawn as precisely as loud: 0 is
// silence, 1 to 255 are 1/32768 to 1 in equal ratios.
const kHeights = Float32Array.from({length: 256}, (_, code) =>
  code === 0 ? 0 : 2 ** ((15 * (code - 1)) / 254 - 15)
);

const loudest = (codes) => codes.reduce((most, code) => Math.max(most, code), 0);
// The largest height of several envelopes, 1 being full scale; in dB it is that of a step at least.
export const peakOf = (...envelopes) => kHeights[Math.max(1, ...envelopes.map(loudest))];
export const peakDb = (...envelopes) => 20 * Math.log10(peakOf(...envelopes));

// The largest height from each pixel to the next.
function* outline(envelope, step, {start, scale, width}) {
  for (let x = 0; x < width; ++x) {
    const first = Math.floor((start + x / scale) / step);
    const last = Math.max(Math.floor((start + (x + 1) / scale) / step), first + 1);
    let code = 0;
    for (let i = first; i < last && i < envelope.length; ++i) if (envelope[i] > code) code = envelope[i];
    yield [x, kHeights[code]];
  }
}

export function drawEnvelope(context, envelope, {step, top, view, height}) {
  for (const [x, share] of outline(envelope, step, view)) {
    const tall = (share / top) * height;
    if (share > 0) context.fillRect(x, (height - tall) / 2, 1, Math.max(tall, 1));
  }
}

export class Waveform {
  // top: the height that fills the track
  constructor(container, {envelopes, step, top, description}) {
    Object.assign(this, {envelopes, step, top});
    this.track = new TrackCanvas(container, description);
    const db = decimal(20 * Math.log10(top), 0);
    const half = decimal(20 * Math.log10(top / 2), 0);
    const marks = [0, 0.25, 0.5, 0.75, 1].map((share, i) => [share, [db, half, '\u2212\u221e', half, db][i]]);
    markAxis(container, marks);
  }

  draw(view) {
    const {height} = this.track.clear();
    for (const side of ['input', 'output']) {
      this.track.context.fillStyle = colour(`wave-${side}`);
      drawEnvelope(this.track.context, this.envelopes[side], {step: this.step, top: this.top, view, height});
    }
  }
}
