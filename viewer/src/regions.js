// The segments on a waveform: a layer as wide as the recording, in which they are placed by percentages, so
// that moving and zooming change one element, however many there are.
import {inWords} from './format.js';

function region(kind, start, end, label, seconds) {
  const element = document.createElement('div');
  element.dataset.kind = kind;
  element.style.left = `${(100 * start) / seconds}%`;
  element.style.width = `${(100 * (Math.min(end, seconds) - start)) / seconds}%`;
  const text = document.createElement('span');
  text.textContent = label;
  element.append(text);
  return element;
}

export class Regions {
  constructor(container, segments, seconds) {
    this.seconds = seconds;
    this.layer = document.createElement('div');
    this.layer.className = 'regions';
    this.layer.setAttribute('aria-hidden', 'true'); // the list says the same
    for (const {number, start, end, span_start, span_end, rejected} of segments) {
      if (rejected === null) {
        this.layer.append(region('span', span_start, span_end, '', seconds));
        this.layer.append(region('utterance', start, end, number, seconds));
      } else {
        this.layer.append(region('rejected', start, end, inWords(rejected), seconds));
      }
    }
    container.append(this.layer);
  }

  draw(view) {
    this.layer.style.left = `${view.xOf(0)}px`;
    this.layer.style.width = `${this.seconds * view.scale}px`;
  }
}
