// Two rows of bars: where frames were speech, and where they were voiced.
import {TrackCanvas} from './canvas.js';
import {colour} from './theme.js';

const kRows = [
  {bit: 1, name: 'speech'},
  {bit: 2, name: 'voiced'},
];

export class Decision {
  constructor(container, flags, step) {
    this.flags = flags;
    this.step = step;
    this.track = new TrackCanvas(
      container,
      'Where the detector decided for speech, and where it was voiced or likely'
    );
  }

  draw(view) {
    const {height} = this.track.clear();
    const {scale} = view;
    const last = Math.min(Math.ceil(view.end / this.step), this.flags.length);
    kRows.forEach(({bit, name}, row) => {
      this.track.context.fillStyle = colour(name);
      for (let t = Math.floor(view.start / this.step); t < last; ++t) {
        if (!(this.flags[t] & bit)) continue;
        const from = t;
        while (t < last && this.flags[t] & bit) ++t;
        this.track.context.fillRect(
          (from * this.step - view.start) * scale,
          (row / 2 + 0.08) * height,
          Math.max((t - from) * this.step * scale, 1),
          0.34 * height
        );
      }
    });
  }
}
