// The pointer over the tracks: a line with the values there, clicks, the wheel, dragging, and two fingers.
import {clock} from './format.js';

const kDragBegins = 4; // pixels: less is a click

export class Pointer {
  #down = new Map(); // x of the pointers that are down
  #dragged = false;

  constructor(tracks, plot, line, readout, view, valuesAt) {
    Object.assign(this, {tracks, plot, line, readout, view, valuesAt});
    tracks.addEventListener('pointermove', (event) => this.#move(event));
    tracks.addEventListener('pointerleave', () => this.#leave());
    tracks.addEventListener('wheel', (event) => this.#wheel(event), {passive: false});
    this.#letDrag();
  }

  // A click, with the time at its position and the element.
  on(event, listener) {
    this.tracks.addEventListener(event, (e) => {
      const x = this.#xOf(e);
      if (x >= 0 && x <= this.view.width && !this.#dragged) listener(this.view.timeAt(x), e.target);
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

  // One pointer pushes the tracks along; a second one, on a touch screen, zooms.
  #letDrag() {
    let from = 0;
    this.tracks.addEventListener('pointerdown', (event) => {
      if (event.button !== 0) return;
      if (this.#down.size === 0) this.#dragged = false;
      from = event.clientX;
      this.#down.set(event.pointerId, event.clientX);
    });
    // On the window, so that a drag may leave the tracks.
    addEventListener('pointermove', (event) => {
      const last = this.#down.get(event.pointerId);
      if (last === undefined) return;
      if (Math.abs(event.clientX - from) >= kDragBegins || this.#down.size > 1) this.#dragged = true;
      if (!this.#dragged) return;
      const other = [...this.#down.keys()].find((id) => id !== event.pointerId);
      if (other === undefined) {
        this.view.scrollBy(last - event.clientX);
      } else {
        const fixed = this.#down.get(other);
        const apart = Math.max(Math.abs(last - fixed), 10);
        const factor = Math.max(Math.abs(event.clientX - fixed), 10) / apart;
        this.view.zoom(factor, fixed - this.plot.getBoundingClientRect().left);
      }
      this.#down.set(event.pointerId, event.clientX);
    });
    for (const end of ['pointerup', 'pointercancel'])
      addEventListener(end, (event) => this.#down.delete(event.pointerId));
  }
}
