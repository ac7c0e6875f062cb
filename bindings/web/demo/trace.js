// Level and probability of the last seconds, and where utterances are open.
import {colour} from '../../../viewer/src/theme.js';

const kSeconds = 10;
const kLowest = -80; // dB

export class Trace {
  #points = [];
  #waits = false;

  constructor(canvas) {
    this.canvas = canvas;
    new ResizeObserver(() => this.draw()).observe(canvas);
  }

  clear() {
    this.#points = [];
    this.draw();
  }

  add({heard, levelDb, open}, hearing, rate) {
    const time = heard / rate;
    this.#points.push({time, level: 1 - Math.max(levelDb, kLowest) / kLowest, speech: hearing?.speech ?? 0, open});
    while (this.#points[0].time < time - kSeconds) this.#points.shift();
    this.draw();
  }

  draw() {
    if (this.#waits) return;
    this.#waits = true;
    requestAnimationFrame(() => {
      this.#waits = false;
      this.#paint();
    });
  }

  #paint() {
    const {canvas} = this;
    const [width, height] = [canvas.clientWidth, canvas.clientHeight];
    canvas.width = width * devicePixelRatio;
    canvas.height = height * devicePixelRatio;
    const context = canvas.getContext('2d');
    context.scale(devicePixelRatio, devicePixelRatio);
    const points = this.#points;
    const end = Math.max(points.at(-1)?.time ?? 0, kSeconds);
    const x = (time) => width * (1 - (end - time) / kSeconds);
    const y = (value) => height - 4 - value * (height - 8);

    context.fillStyle = colour('utterance');
    points.forEach(({time, open}, i) => {
      const before = points[i - 1];
      if (open && before) context.fillRect(x(before.time), 0, x(time) - x(before.time), height);
    });
    context.fillStyle = colour('quiet');
    context.font = '11px system-ui, sans-serif';
    for (const level of [-20, -40, -60]) context.fillText(`${level}`, 4, y(1 - level / kLowest) + 4);
    for (const name of ['level', 'speech']) {
      context.strokeStyle = colour(name);
      context.lineWidth = 1.5;
      context.beginPath();
      for (const point of points) context.lineTo(x(point.time), y(point[name]));
      context.stroke();
    }
  }
}
