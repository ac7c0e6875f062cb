// All in one file, which fetches nothing.
import {loadAtOnce, loadEmbedded} from './embedded.js';
import type {LoadOptions, Vask} from './vask.js';

export * from './api.js';

/**
 * Load the library.
 *
 * @param options with or without vectors and the learned detector's model
 */
export function load(options: LoadOptions = {}): Promise<Vask> {
  return loadEmbedded(options);
}

/**
 * Load the library before returning: for workers and worklets. Browsers may refuse it on the main thread.
 *
 * @param options as for `load`
 */
export function loadSync(options: LoadOptions = {}): Vask {
  return loadAtOnce(options);
}
