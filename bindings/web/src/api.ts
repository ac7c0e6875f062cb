// What every entry of the package exports beside `load`.
export type {LoadOptions} from './vask.js';
export {Vask} from './vask.js';
export {Model} from './model.js';
export {rates, type Rate, type StreamOptions} from './options.js';
export {Stream, type EventKind, type Hearing, type Measures, type Reason, type StreamEvent} from './stream.js';
export type {Samples} from './samples.js';
