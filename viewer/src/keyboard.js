// One key, one action.
export function listenToKeys(deeds) {
  document.addEventListener('keydown', (event) => {
    if (event.ctrlKey || event.metaKey || event.altKey || document.querySelector('dialog[open]')) return;
    if (event.target.type === 'search') {
      if (event.key === 'Escape') event.target.blur();
      return; // all others are text
    }
    const onControl = event.target.closest('button, input, summary');
    if (onControl && (event.key === ' ' || event.key === 'Enter')) return; // the control handles it itself
    const deed = deeds[event.key.length === 1 ? event.key.toLowerCase() : event.key];
    if (!deed) return;
    event.preventDefault();
    deed(event);
  });
  // A button that was clicked with the pointer does not keep the keyboard focus.
  document.addEventListener('click', (event) => {
    if (event.detail > 0) event.target.closest('button, [type=checkbox]')?.blur();
  });
}
