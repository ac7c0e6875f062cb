// The part of the recording that all tracks show. They are notified when it changes.
const kClosest = 2000; // pixels per second

export class View {
  #listeners = [];
  #waiting = false;
  #start = 0;
  #span; // seconds that are visible

  // plot: an element as wide as the tracks; widest: the most seconds to begin with
  constructor(plot, seconds, widest = Infinity) {
    this.plot = plot;
    this.seconds = Math.max(seconds, 1e-3);
    this.#span = Math.min(this.seconds, widest);
    new ResizeObserver(() => this.#changed()).observe(plot);
  }

  onChange(listener) {
    this.#listeners.push(listener);
  }

  get width() {
    return Math.max(this.plot.clientWidth, 1); // pixels
  }
  get scale() {
    return this.width / this.#span; // pixels per second
  }
  get start() {
    return this.#start;
  }
  get end() {
    return this.#start + this.#span;
  }

  xOf(time) {
    return (time - this.#start) * this.scale;
  }
  timeAt(x) {
    return Math.min(Math.max(this.#start + x / this.scale, 0), this.seconds);
  }
  // Whether a part of the recording is out of sight.
  get zoomed() {
    return this.#span < this.seconds;
  }

  // Zooms by a factor, keeping what is at `x` in place.
  zoom(factor, x = this.width / 2) {
    const time = this.timeAt(x);
    this.#show(time, x, this.#span / factor);
  }

  fit() {
    this.#show(0, 0, this.seconds);
  }

  scrollBy(pixels) {
    this.#show(this.#start + pixels / this.scale, 0, this.#span);
  }

  centre(time) {
    this.#show(time, this.width / 2, this.#span);
  }

  // Zooms so that the span fills the middle.
  frame(start, end) {
    this.#show((start + end) / 2, this.width / 2, (end - start) / 0.6);
  }

  // Scrolls, and zooms out if necessary, until the span is visible.
  reveal(start, end) {
    if (start >= this.start && end <= this.end) return;
    const span = Math.max(this.#span, (end - start) / 0.8);
    this.#show(start, 0.1 * this.width, span);
  }

  // `time` at `x`, with `span` seconds in all, as far as the recording goes.
  #show(time, x, span) {
    this.#span = Math.min(Math.max(span, this.width / kClosest), this.seconds);
    this.#start = Math.min(Math.max(time - x / this.scale, 0), this.seconds - this.#span);
    this.#changed();
  }

  #changed() {
    if (this.#waiting) return;
    this.#waiting = true;
    requestAnimationFrame(() => {
      this.#waiting = false;
      this.redraw();
    });
  }

  redraw() {
    for (const listener of this.#listeners) listener();
  }
}
