// Light or dark: follows the system until the user chooses.
const kKey = 'vask-report-theme';
const system = matchMedia('(prefers-color-scheme: dark)');

function remembered() {
  try {
    return localStorage.getItem(kKey);
  } catch {
    return null; // a browser may store nothing for local files
  }
}

export function colour(name) {
  return getComputedStyle(document.documentElement).getPropertyValue(`--${name}`).trim();
}

export class Theme {
  #chosen = remembered();
  #listeners = [];

  constructor(button) {
    this.button = button;
    button.addEventListener('click', () => this.toggle());
    system.addEventListener('change', () => this.#apply());
    this.#apply();
  }

  onChange(listener) {
    this.#listeners.push(listener);
  }

  toggle() {
    this.#chosen = document.documentElement.dataset.theme === 'dark' ? 'light' : 'dark';
    try {
      localStorage.setItem(kKey, this.#chosen);
    } catch {
      // then the choice lasts until the page is closed
    }
    this.#apply();
  }

  #apply() {
    const theme = this.#chosen ?? (system.matches ? 'dark' : 'light');
    document.documentElement.dataset.theme = theme;
    this.button.textContent = theme === 'dark' ? 'Light' : 'Dark';
    for (const listener of this.#listeners) listener();
  }
}
