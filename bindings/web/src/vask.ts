// An instance of the library: one module's memory, and any number of streams in it.
import {Model} from './model.js';
import {fillSetup, rates, type StreamOptions} from './options.js';
import {CRecord, Memory, type Exports} from './record.js';
import {kPiece, Stream, type EventKind, type Reason, type Shared} from './stream.js';

const kKinds = 6;

/** What to load. */
export interface LoadOptions {
  /** False: the module without vectors, though the machine has them. Both give the same bits. */
  simd?: boolean;
  /** False: without the model of the learned detector, for streams with the detector `energy`. */
  model?: boolean;
}

// The smallest module with a vector instruction: () => i8x16.popcnt(i32x4.splat(0)).
const kWithVectors = [
  0, 97, 115, 109, 1, 0, 0, 0, 1, 5, 1, 96, 0, 1, 123, 3, 2, 1, 0, 10, 10, 1, 8, 0, 65, 0, 253, 15, 253, 98, 11,
];

/** Whether this machine runs the module with vectors. */
export function hasVectors(): boolean {
  return WebAssembly.validate(new Uint8Array(kWithVectors));
}

/** The library. Its streams share one memory, and run one call at a time. */
export class Vask {
  readonly #shared: Shared;
  readonly #setup: CRecord;
  readonly #model: Model | null;
  /** Whether the module with vectors runs. */
  readonly simd: boolean;

  /** Use `load`. */
  constructor(module: WebAssembly.Module, simd: boolean, model: Uint8Array | null) {
    const exports = new WebAssembly.Instance(module).exports as unknown as Exports;
    exports._initialize?.();
    const memory = new Memory(exports);
    const kinds = [''];
    for (let kind = 1; kind <= kKinds; ++kind) kinds.push(memory.text(exports.vask_stream_kind_name(kind)));
    const reasons = new Map<number, Reason | null>([[0, null]]);
    const reason = (number: number): Reason | null => {
      if (!reasons.has(number)) reasons.set(number, memory.text(exports.vask_stream_reason_name(number)) as Reason);
      return reasons.get(number)!;
    };
    const record = (number: number): CRecord => new CRecord(exports, memory, number);
    this.#setup = record(0);
    this.#shared = {
      exports,
      memory,
      event: record(1),
      measures: record(2),
      hearing: record(3),
      samples: memory.allocate(kPiece * 2),
      kinds: kinds as EventKind[],
      reason,
    };
    this.simd = simd;
    this.#model = model && this.readModel(model);
  }

  /** Such as `0.3.0`. */
  get version(): string {
    return this.#shared.memory.text(this.#shared.exports.vask_version());
  }

  /** The rates in Hz that streams take and give. */
  get rates(): typeof rates {
    return rates;
  }

  /**
   * Open a stream.
   *
   * @param options what differs from the defaults
   * @throws TypeError for unknown options and wrong types, RangeError for values out of range
   */
  open(options: StreamOptions = {}): Stream {
    const {exports, memory} = this.#shared;
    const learned = (options.detector ?? 'learned') === 'learned';
    const given = learned && options.model === undefined ? this.#model : null;
    if (learned && !given && options.model === undefined) {
      throw new Error("the detector 'learned' needs its model: load with it, or give one");
    }
    fillSetup(this.#setup, given ? {...options, model: given} : options, exports, memory);
    const handle = exports.vask_stream_open_setup(this.#setup.pointer);
    if (handle === 0) throw new Error('there is no memory for another stream');
    return new Stream(this.#shared, handle);
  }

  /**
   * Read a model of the learned detector.
   *
   * @param bytes its file
   * @throws Error if it is not a model, or a damaged one
   */
  readModel(bytes: Uint8Array): Model {
    return new Model(this.#shared.exports, this.#shared.memory, bytes);
  }
}
