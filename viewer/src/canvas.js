// A canvas as large as its track, drawn on in CSS pixels. On paper it is drawn finer than on most screens.
const kPrintRatio = 2; // Chromium prints canvases of 2000 pixels and more too small
let printing = false;

export function setPrinting(on) {
  printing = on;
}

export class TrackCanvas {
  constructor(container, description) {
    this.container = container;
    this.canvas = document.createElement('canvas');
    this.canvas.setAttribute('role', 'img');
    this.canvas.setAttribute('aria-label', description);
    container.replaceChildren(this.canvas);
    this.context = this.canvas.getContext('2d');
  }

  // Fits it to the track and clears it; sizes in CSS pixels.
  clear() {
    const ratio = printing ? kPrintRatio : devicePixelRatio;
    const {clientWidth, clientHeight} = this.container;
    const width = Math.round(clientWidth * ratio);
    const height = Math.round(clientHeight * ratio);
    if (this.canvas.width !== width || this.canvas.height !== height)
      Object.assign(this.canvas, {width, height});
    this.context.setTransform(ratio, 0, 0, ratio, 0, 0);
    this.context.clearRect(0, 0, clientWidth, clientHeight);
    return {width: clientWidth, height: clientHeight};
  }
}

// Texts beside a track: at a share of its height from the top.
export function markAxis(container, marks) {
  container.parentElement.querySelector('.axis').replaceChildren(
    ...marks.map(([share, text]) => {
      const mark = document.createElement('span');
      mark.textContent = text;
      mark.style.top = `${100 * share}%`;
      return mark;
    })
  );
}
