// Round times for the ruler and for the grid of the tracks, and the ruler itself.
import {TrackCanvas} from './canvas.js';
import {clock} from './format.js';
import {colour} from './theme.js';

const kDistances = [
  0.001, 0.002, 0.005, 0.01, 0.02, 0.05, 0.1, 0.2, 0.5, 1, 2, 5, 10, 15, 30, 60, 120, 300, 600, 900, 1800,
  3600, 7200,
];
const kRoom = 80; // pixels between two times at least

export function roundTimes(view) {
  const distance = kDistances.find((d) => d * view.scale >= kRoom) ?? kDistances.at(-1);
  const times = [];
  for (let i = Math.ceil(view.start / distance); i * distance <= view.end; ++i) times.push(i * distance);
  return {distance, times};
}

export class Ruler {
  constructor(container) {
    this.track = new TrackCanvas(container, 'Time axis');
  }

  draw(view) {
    const {width, height} = this.track.clear();
    const {context} = this.track;
    const {distance, times} = roundTimes(view);
    const decimals =
      [0, 1, 2].find((n) => Math.abs(distance * 10 ** n - Math.round(distance * 10 ** n)) < 1e-6) ?? 3;
    context.font = '11px system-ui, sans-serif';
    for (const time of times) {
      const text = clock(time, decimals);
      const half = context.measureText(text).width / 2;
      const x = view.xOf(time);
      context.fillStyle = colour('line');
      context.fillRect(Math.round(x), height - 4, 1, 4);
      context.fillStyle = colour('quiet');
      context.fillText(text, Math.min(Math.max(x - half, 0), width - 2 * half), height - 7);
    }
  }
}
