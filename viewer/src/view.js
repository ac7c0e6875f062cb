// The part of the recording that all tracks show. The waveform holds it as its scroll position and zoom; the
// other tracks are notified when it changes.
const kClosest = 2000; // pixels per second

export class View {
  #listeners = [];
  #waiting = false;

  constructor(surfer, seconds) {
    this.surfer = surfer;
    this.seconds = seconds;
    for (const event of ['scroll', 'zoom', 'redraw', 'resize']) surfer.on(event, () => this.#changed());
  }

  onChange(listener) {
    this.#listeners.push(listener);
  }

  get width() {
    // pixels
    return this.surfer.getWidth();
  }
  get scale() {
    // pixels per second
    return Math.max(this.surfer.getWrapper().clientWidth, 1) / this.seconds;
  }
  get start() {
    return this.surfer.getScroll() / this.scale;
  }
  get end() {
    return Math.min(this.start + this.width / this.scale, this.seconds);
  }

  xOf(time) {
    return (time - this.start) * this.scale;
  }
  timeAt(x) {
    return Math.min(Math.max(this.start + x / this.scale, 0), this.seconds);
  }

  // Zooms by a factor, keeping what is at `x` in place.
  zoom(factor, x = this.width / 2) {
    const time = this.timeAt(x);
    const whole = this.width / this.seconds;
    const scale = Math.min(Math.max(this.scale * factor, whole), Math.max(kClosest, whole));
    this.surfer.zoom(scale <= whole ? 0 : scale);
    this.surfer.setScroll(time * this.scale - x);
    this.#changed();
  }

  fit() {
    this.zoom(0);
  }

  scrollBy(pixels) {
    this.surfer.setScroll(this.surfer.getScroll() + pixels);
  }

  // Zooms so that the span fills the middle.
  frame(start, end) {
    this.zoom((0.6 * this.width) / (end - start) / this.scale);
    this.surfer.setScroll(((start + end) / 2) * this.scale - this.width / 2);
    this.#changed();
  }

  // Scrolls, and zooms out if necessary, until the span is visible.
  reveal(start, end) {
    const margin = (0.1 * this.width) / this.scale;
    if (start >= this.start && end <= this.end) return;
    if ((end - start) * this.scale > 0.8 * this.width)
      this.zoom((0.8 * this.width) / ((end - start) * this.scale));
    this.surfer.setScroll((start - margin) * this.scale);
    this.#changed();
  }

  #changed() {
    if (this.#waiting) return;
    this.#waiting = true;
    requestAnimationFrame(() => {
      this.#waiting = false;
      for (const listener of this.#listeners) listener();
    });
  }
}
