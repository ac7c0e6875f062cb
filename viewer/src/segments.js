// The list of segments, and which of them is selected.
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

export class SegmentList {
  #rows = [];
  #listeners = [];

  // share: what `voiced` of a segment means
  constructor(body, segments, share, hasSound) {
    this.segments = segments;
    this.selected = -1;
    for (const segment of segments) {
      const row = body.insertRow();
      const rejected = segment.rejected !== null;
      const name = rejected ? 'rejected segment' : `utterance ${segment.number}`;
      row.className = rejected ? 'rejected' : 'utterance';
      cell(row, rejected ? 'rejected' : segment.number);
      cell(row, clock(segment.start));
      cell(row, clock(segment.end), '\u2013');
      cell(row, `${(segment.end - segment.start).toFixed(2)} s`);
      cell(row, `${clock(segment.span_start)}\u2009\u2013\u2009${clock(segment.span_end)}`, 'delivered');
      cell(row, `${Math.round(100 * segment.voiced)} %`, share);
      cell(row, `${decimal(segment.level)} dB`);
      cell(row, inWords(segment.rejected ?? segment.ended));
      const listen = cell(row, '');
      if (hasSound) listen.append(button('Output', 'output', `Play the output of ${name}`));
      if (hasSound) listen.append(button('Input', 'input', `Play the input of ${name}`));
      listen.append(button('Show', 'show', `Show ${name}`));
      this.#rows.push(row);
    }
    body.addEventListener('click', (event) => {
      const index = this.#rows.indexOf(event.target.closest('tr'));
      if (index < 0) return;
      this.select(index, event.target.closest('button')?.dataset.action ?? 'select');
    });
  }

  // The listener gets the segment and the action: 'select', 'show', 'input' or 'output'.
  onAction(listener) {
    this.#listeners.push(listener);
  }

  get current() {
    return this.segments[this.selected];
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

  indexAt(time) {
    const within = (segment) => time >= segment.start && time < segment.end;
    const around = (segment) => time >= segment.span_start && time < segment.span_end;
    const index = this.segments.findIndex(within);
    return index >= 0 ? index : this.segments.findIndex(around);
  }
}
