// For Node, which reads what lies beside this file.
import {readFile} from 'node:fs/promises';

import {hasVectors, Vask, type LoadOptions} from './vask.js';

export * from './api.js';

const bytesOf = async (name: string): Promise<Uint8Array<ArrayBuffer>> =>
  new Uint8Array(await readFile(new URL(name, import.meta.url)));

/**
 * Load the library.
 *
 * @param options with or without vectors and the learned detector's model
 */
export async function load({simd = true, model = true}: LoadOptions = {}): Promise<Vask> {
  const vectors = simd && hasVectors();
  const [module, weights] = await Promise.all([
    bytesOf(vectors ? './vask-simd.wasm' : './vask.wasm'),
    model ? bytesOf('./detector.model') : null,
  ]);
  return new Vask(await WebAssembly.compile(module), vectors, weights);
}
