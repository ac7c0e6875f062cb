// Lines over time.
import {markAxis, TrackCanvas} from './canvas.js';
import {decimal} from './format.js';
import {colour} from './theme.js';
import {roundTimes} from './times.js';

const kNone = 255; // not measured
const kRoom = 24; // pixels between two values of the axis at least
const kDistances = [0.25, 0.5, 1, 2, 5, 10, 20, 50, 100];

export function decibels(values, stepsPerDb, lowest = 0) {
  return Array.from(values, (value) => (value === kNone ? null : value / stepsPerDb + lowest));
}

export function shares(values, stepsOfOne) {
  return Array.from(values, (value) => (value === kNone ? null : value / stepsOfOne));
}

// The values that fall on one pixel are drawn as a stroke from their least to their largest.
function trace(context, values, step, {start, end, scale}, yOf) {
  const last = Math.min(Math.ceil(end / step) + 1, values.length);
  const xOf = (t) => ((t + 0.5) * step - start) * scale;
  let open = false;
  let t = Math.max(Math.floor(start / step) - 1, 0);
  context.beginPath();
  while (t < last) {
    const x = xOf(t);
    let [least, most] = [Infinity, -Infinity];
    let ending = null;
    do {
      const value = values[t++];
      if (value != null) {
        least = Math.min(least, value);
        most = Math.max(most, value);
      }
      ending = value;
    } while (t < last && Math.floor(xOf(t)) === Math.floor(x));
    if (most >= least) {
      if (open) context.lineTo(x, yOf(most));
      else context.moveTo(x, yOf(most));
      if (least < most) {
        context.lineTo(x, yOf(least));
        context.lineTo(x, yOf(ending ?? least));
      }
    }
    open = ending != null;
  }
  context.stroke();
}

export class Chart {
  // lines: a list of {values, name, dash}, name being that of a colour and dash, if there is one, the lengths
  // of a stroke and of a gap, in pixels; with `value` in place of `values` it is level. range: [lowest, highest]
  constructor(container, {step, lines, range, description}) {
    Object.assign(this, {step, lines, range});
    this.track = new TrackCanvas(container, description);
    const [lowest, highest] = range;
    const distance =
      kDistances.find((d) => (d / (highest - lowest)) * container.clientHeight >= kRoom) ?? 100;
    this.grid = [];
    for (let i = Math.ceil(lowest / distance); i * distance <= highest; ++i) this.grid.push(i * distance);
    const decimals = distance < 0.5 ? 2 : distance < 1 ? 1 : 0;
    markAxis(
      container,
      this.grid.map((value) => [1 - (value - lowest) / (highest - lowest), decimal(value, decimals)])
    );
  }

  draw(view) {
    const {width, height} = this.track.clear();
    const {context} = this.track;
    const [lowest, highest] = this.range;
    const yOf = (value) => (1 - (value - lowest) / (highest - lowest)) * height;
    context.fillStyle = colour('line');
    for (const time of roundTimes(view).times) context.fillRect(Math.round(view.xOf(time)), 0, 1, height);
    for (const value of this.grid)
      context.fillRect(0, Math.min(Math.round(yOf(value)), height - 1), width, 1);
    context.lineWidth = 1.25;
    for (const {values, value, name, dash} of this.lines) {
      context.strokeStyle = colour(name);
      context.setLineDash(dash ?? []);
      if (values) {
        trace(context, values, this.step, view, yOf);
      } else {
        context.beginPath();
        context.moveTo(0, yOf(value));
        context.lineTo(width, yOf(value));
        context.stroke();
      }
    }
    context.setLineDash([]);
  }
}
