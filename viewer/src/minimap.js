// The whole recording in a strip, with the part that is shown: pressing or dragging in it moves that.
import {TrackCanvas} from './canvas.js';
import {colour} from './theme.js';
import {drawEnvelope} from './waveform.js';

export class Minimap {
  constructor(container, report, top, view) {
    Object.assign(this, {report, top});
    this.track = new TrackCanvas(container, 'The whole recording, and the part of it that is shown');
    this.window = document.createElement('div');
    this.window.className = 'window';
    this.player = document.createElement('div');
    this.player.className = 'player';
    container.append(this.window, this.player);
    let pressed = false;
    const move = (event) => {
      const {left, width} = container.getBoundingClientRect();
      view.centre(((event.clientX - left) / width) * report.seconds);
    };
    container.addEventListener('pointerdown', (event) => {
      pressed = true;
      container.setPointerCapture(event.pointerId);
      move(event);
    });
    container.addEventListener('pointermove', (event) => pressed && move(event));
    for (const end of ['pointerup', 'pointercancel'])
      container.addEventListener(end, () => (pressed = false));
  }

  showPlayer(time) {
    this.player.style.left = `${(100 * time) / this.report.seconds}%`;
  }

  draw(view) {
    const {seconds, segments, channels, envelope_step: step} = this.report;
    const {width, height} = this.track.clear();
    const {context} = this.track;
    const whole = {start: 0, scale: width / view.seconds, width};
    context.fillStyle = colour('wave-output');
    for (const {envelopes} of channels)
      drawEnvelope(context, envelopes.input, {step, top: this.top, view: whole, height: height - 6});
    for (const {start, end, rejected} of segments) {
      context.fillStyle = colour(rejected === null ? 'edge' : 'rejected-edge');
      context.fillRect(start * whole.scale, height - 4, Math.max((end - start) * whole.scale, 1), 4);
    }
    this.window.hidden = !view.zoomed;
    this.window.style.left = `${(100 * view.start) / seconds}%`;
    this.window.style.width = `${(100 * (view.end - view.start)) / seconds}%`;
  }
}
