// For browsers and others that fetch what lies beside this file.
import {hasVectors, Vask, type LoadOptions} from './vask.js';

export * from './api.js';

async function bytesOf(url: URL): Promise<Uint8Array<ArrayBuffer>> {
  const response = await fetch(url);
  if (!response.ok) throw new Error(`${url.href} cannot be fetched: ${response.status} ${response.statusText}`);
  return new Uint8Array(await response.arrayBuffer());
}

/**
 * Load the library.
 *
 * @param options with or without vectors and the learned detector's model
 * @throws Error if a file of the package cannot be fetched
 */
export async function load({simd = true, model = true}: LoadOptions = {}): Promise<Vask> {
  const vectors = simd && hasVectors();
  const [module, weights] = await Promise.all([
    bytesOf(vectors ? new URL('./vask-simd.wasm', import.meta.url) : new URL('./vask.wasm', import.meta.url)),
    model ? bytesOf(new URL('./detector.model', import.meta.url)) : null,
  ]);
  return new Vask(await WebAssembly.compile(module), vectors, weights);
}
