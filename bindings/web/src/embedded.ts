// The modules and the model as parts of the script.
import model64 from '../dist/detector.model';
import simd64 from '../dist/vask-simd.wasm';
import plain64 from '../dist/vask.wasm';

import {bytesOf} from './base64.js';
import {hasVectors, Vask, type LoadOptions} from './vask.js';

/** Load in one go, where that may take its time: a main thread of a browser may refuse it. */
export function loadAtOnce({simd = true, model = true}: LoadOptions = {}): Vask {
  const vectors = simd && hasVectors();
  const module = new WebAssembly.Module(bytesOf(vectors ? simd64 : plain64));
  return new Vask(module, vectors, model ? bytesOf(model64) : null);
}

export async function loadEmbedded({simd = true, model = true}: LoadOptions = {}): Promise<Vask> {
  const vectors = simd && hasVectors();
  const module = await WebAssembly.compile(bytesOf(vectors ? simd64 : plain64));
  return new Vask(module, vectors, model ? bytesOf(model64) : null);
}
