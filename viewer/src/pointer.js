// The pointer over the tracks: a line with the values there, clicks, the wheel and, on a touch screen,
// dragging.
import {clock} from './format.js';

export class Pointer {
  constructor(tracks, plot, line, readout, view, valuesAt) {
    Object.assign(this, {tracks, plot, line, readout, view, valuesAt});
    tracks.addEventListener('pointermove', (event) => this.#move(event));
    tracks.addEventListener('pointerleave', () => this.#leave());
    tracks.addEventListener('wheel', (event) => this.#wheel(event), {passive: false});
    this.#letPush();
  }

  // A click, with the time at its position.
  on(event, listener) {
    this.tracks.addEventListener(event, (e) => {
      const x = this.#xOf(e);
      if (x >= 0 && x <= this.view.width) listener(this.view.timeAt(x));
    });
  }

  #xOf(event) {
    return event.clientX - this.plot.getBoundingClientRect().left;
  }

  #move(event) {
    const x = this.#xOf(event);
    if (x < 0 || x > this.view.width) return this.#leave();
    this.line.hidden = false;
    this.line.style.left = `${event.clientX - this.tracks.getBoundingClientRect().left}px`;
    const time = this.view.timeAt(x);
    this.readout.textContent = [clock(time), ...this.valuesAt(time)].join('  \u00b7  ');
  }

  #leave() {
    this.line.hidden = true;
    this.readout.textContent = '';
  }

  #wheel(event) {
    const along = event.shiftKey ? event.deltaY : event.deltaX;
    if (event.ctrlKey || event.metaKey) {
      event.preventDefault();
      this.view.zoom(Math.exp(-event.deltaY / 300), this.#xOf(event));
    } else if (Math.abs(along) > Math.abs(event.shiftKey ? 0 : event.deltaY)) {
      event.preventDefault();
      this.view.scrollBy(along);
    }
  }

  #letPush() {
    let last = null;
    this.tracks.addEventListener('pointerdown', (event) => {
      last = event.pointerType === 'touch' && !this.plot.contains(event.target) ? event.clientX : null;
    });
    this.tracks.addEventListener('pointermove', (event) => {
      if (last === null) return;
      this.view.scrollBy(last - event.clientX);
      last = event.clientX;
    });
    for (const end of ['pointerup', 'pointercancel'])
      this.tracks.addEventListener(end, () => {
        last = null;
      });
  }
}
