// The segments on the waveform. They are placed in its scrolled element by percentages of its width, so
// scrolling and zooming move them without any script, however many there are.
import {inWords} from './format.js';

// Segments too narrow for an edge or a label are drawn without it.
const kStyle = `
  div { position: absolute; top: 0; bottom: 0; overflow: hidden; container-type: inline-size; }
  div[data-kind=span] { background: var(--span); }
  div[data-kind=utterance] { background: var(--utterance); }
  div[data-kind=rejected] { background: var(--rejected); }
  span { position: absolute; inset: 0; display: flex; align-items: flex-end; padding-left: 3px;
    font-size: 11px; white-space: nowrap; color: var(--text); }
  div[data-kind=utterance] span { border: solid var(--edge); border-width: 0 1px; }
  div[data-kind=rejected] span { border: dashed var(--rejected-edge); border-width: 0 1px; }
  @container (max-width: 12px) { span { font-size: 0; } }
  @container (max-width: 5px) { span { display: none; } }`;

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

export function addRegions(parent, segments, seconds) {
  const root = document.createElement('div');
  root.id = 'regions';
  Object.assign(root.style, {position: 'absolute', inset: 0, zIndex: 5, pointerEvents: 'none'});
  const shadow = root.attachShadow({mode: 'open'});
  const style = document.createElement('style');
  style.textContent = kStyle;
  shadow.append(style);
  for (const {number, start, end, span_start, span_end, rejected} of segments) {
    if (rejected === null) shadow.append(region('span', span_start, span_end, '', seconds));
    shadow.append(
      region(
        rejected === null ? 'utterance' : 'rejected',
        start,
        end,
        rejected === null ? number : inWords(rejected),
        seconds
      )
    );
  }
  parent.append(root);
}
