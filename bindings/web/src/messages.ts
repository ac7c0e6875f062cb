// What the two sides of the AudioWorklet tell each other.
import type {StreamOptions} from './options.js';
import type {Hearing, Measures, StreamEvent} from './stream.js';
import type {LoadOptions} from './vask.js';

export const kProcessor = 'vask';

/** `processorOptions` of the node. */
export interface ProcessorOptions {
  load?: LoadOptions;
  /** Without rates: they are the context's. */
  stream?: Omit<StreamOptions, 'inputRate' | 'audioRate' | 'model'>;
  /** Seconds between two measures; 0: none. */
  measureEvery?: number;
}

export type ToProcessor = {type: 'pause'; seconds: number} | {type: 'finish'};

export type FromProcessor =
  | {type: 'ready'; version: string; simd: boolean}
  | {type: 'event'; event: StreamEvent}
  | {type: 'measures'; measures: Measures; hearing: Hearing | null}
  | {type: 'finished'}
  | {type: 'error'; message: string};
