// Paper: a width of its own and light colours, so that every track covers the same time wherever the page
// was opened, and sharp.
import {setPrinting} from './canvas.js';

export function preparePrinting(redraw) {
  const details = document.querySelector('details');
  let open = false;
  addEventListener('beforeprint', () => {
    open = details.open;
    details.open = true;
    document.documentElement.dataset.printing = 'true';
    setPrinting(true);
    redraw();
  });
  addEventListener('afterprint', () => {
    details.open = open;
    delete document.documentElement.dataset.printing;
    setPrinting(false);
    redraw();
  });
}
