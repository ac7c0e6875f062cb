// The list of segments: which are shown, and which is selected.
import {clock, decimal, inWords} from './format.js';

function cell(row, text, name = '') {
  const td = row.insertCell();
  td.textContent = text;
  if (name !== '') td.dataset.name = name;
  return td;
}

function button(label, action, description) {
  const element = document.createElement('button');
  element.type = 'button';
  element.textContent = label;
  element.dataset.action = action;
  element.setAttribute('aria-label', description);
  return element;
}

// Whether a row satisfies a word of the filter: ">2" and "<0.5" are lengths in seconds.
function satisfies(word, segment, text) {
  const [, sign, seconds] = word.match(/^([<>])(\d*\.?\d+)s?$/) ?? [];
  if (!sign) return text.includes(word);
  const length = segment.end - segment.start;
  return sign === '>' ? length > Number(seconds) : length < Number(seconds);
}

export class SegmentList {
  #rows = [];
  #listeners = [];

  // share: what `voiced` of a segment means
  constructor(body, {segments, channels}, share, hasSound) {
    this.segments = segments;
    this.selected = -1;
    for (const segment of segments) {
      const row = body.insertRow();
      const rejected = segment.rejected !== null;
      const name = rejected ? 'rejected segment' : `utterance ${segment.number}`;
      row.className = rejected ? 'rejected' : 'utterance';
      cell(row, rejected ? 'rejected' : segment.number);
      if (channels.length > 1) cell(row, segment.channel.name.replace('channel ', ''), 'channel');
      cell(row, clock(segment.start));
      cell(row, clock(segment.end), '\u2013');
      cell(row, `${(segment.end - segment.start).toFixed(2)} s`);
      const span = `${clock(segment.span_start)}\u2009\u2013\u2009${clock(segment.span_end)}`;
      cell(row, span, 'delivered').className = 'wide';
      cell(row, `${Math.round(100 * segment.voiced)} %`, share);
      cell(row, `${decimal(segment.level)} dB`);
      cell(row, inWords(segment.rejected ?? segment.ended)).className = 'reason';
      const listen = cell(row, '');
      listen.className = 'buttons';
      if (hasSound) listen.append(button('Output', 'output', `Play the output of ${name}`));
      if (hasSound) listen.append(button('Input', 'input', `Play the input of ${name}`));
      listen.append(button('Show', 'show', `Show ${name}`));
      if (hasSound) listen.append(button('Save', 'save', `Save ${name} as a WAV file`));
      this.#rows.push(row);
    }
    body.addEventListener('click', (event) => {
      const index = this.#rows.indexOf(event.target.closest('tr'));
      if (index < 0) return;
      this.select(index, event.target.closest('button')?.dataset.action ?? 'select');
    });
  }

  // The listener gets the segment and the action: 'select', 'show', 'save', 'input' or 'output'.
  onAction(listener) {
    this.#listeners.push(listener);
  }

  get current() {
    return this.segments[this.selected];
  }

  // Shows the rows that satisfy every word of the filter, and returns their segments.
  filter(text, withRejected) {
    const words = text
      .toLowerCase()
      .split(/\s+/)
      .filter((word) => word !== '');
    return this.segments.filter((segment, i) => {
      const cells = [...this.#rows[i].querySelectorAll('td:not(.buttons)')].map((td) => td.textContent);
      const row = cells.join(' ').toLowerCase();
      const shown =
        (withRejected || segment.rejected === null) && words.every((word) => satisfies(word, segment, row));
      this.#rows[i].hidden = !shown;
      return shown;
    });
  }

  select(index, action = 'select') {
    this.#rows[this.selected]?.removeAttribute('aria-current');
    this.selected = index;
    this.#rows[index].setAttribute('aria-current', 'true');
    for (const listener of this.#listeners) listener(this.current, action);
  }

  // The utterance before or after a time, skipping rejected segments.
  step(direction, time) {
    const places = this.segments.map((_, i) => i).filter((i) => this.segments[i].rejected === null);
    const index =
      direction > 0
        ? places.find((i) => this.segments[i].start > time + 1e-3)
        : places.findLast((i) => this.segments[i].start < time - 1e-3);
    if (index !== undefined) this.select(index);
  }

  indexAt(time, channel) {
    const within = (segment) => time >= segment.start && time < segment.end;
    const around = (segment) => time >= segment.span_start && time < segment.span_end;
    const find = (where) =>
      this.segments.findIndex((segment) => segment.channel === channel && where(segment));
    const index = find(within);
    return index >= 0 ? index : find(around);
  }
}
