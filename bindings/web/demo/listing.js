// The utterances, newest first: to be played, and saved as WAV.
import {wavOf} from '../../../viewer/src/wav.js';

const made = (name, properties) => Object.assign(document.createElement(name), properties);

export class Listing {
  #count = 0;

  constructor(list, none) {
    this.list = list;
    this.none = none;
  }

  add({start, end, audio, levelDb}, rate, source) {
    this.none.hidden = true;
    const url = URL.createObjectURL(wavOf(audio, rate));
    const times = `${(start / rate).toFixed(2)} to ${(end / rate).toFixed(2)} s`;
    const name = `${source}-${++this.#count}.wav`;
    const item = made('li', {});
    item.append(
      made('strong', {textContent: this.#count}),
      made('span', {textContent: times}),
      made('span', {textContent: `${levelDb.toFixed(0)} dB`}),
      made('audio', {controls: true, src: url}),
      made('a', {href: url, download: name, textContent: 'Save'})
    );
    this.list.prepend(item);
  }
}
