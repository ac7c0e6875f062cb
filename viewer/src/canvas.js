// A canvas as large as its track, in screen pixels.
export class TrackCanvas {
  constructor(container) {
    this.container = container;
    this.canvas = document.createElement('canvas');
    container.append(this.canvas);
    this.context = this.canvas.getContext('2d');
  }

  // Fits it to the track and clears it; sizes in screen pixels.
  clear() {
    const width = Math.round(this.container.clientWidth * devicePixelRatio);
    const height = Math.round(this.container.clientHeight * devicePixelRatio);
    if (this.canvas.width !== width || this.canvas.height !== height)
      Object.assign(this.canvas, {width, height});
    this.context.clearRect(0, 0, width, height);
    return {width, height};
  }
}
