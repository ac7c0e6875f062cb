// Models of the learned detector.
import type {Exports, Memory} from './record.js';

const kReasons: {[reason: number]: string} = {
  2: 'this is not a model, or one of a version that this library does not know',
  3: 'the model is damaged: its digest does not match, or it is cut',
  4: 'the model is too large for a stream',
  5: 'there is no memory for the model',
};

/** A model of the learned detector, for the option `model` of any number of streams. */
export class Model {
  readonly #exports: Exports;
  #handle: number;

  /** Use `Vask.readModel`. */
  constructor(exports: Exports, memory: Memory, bytes: Uint8Array) {
    const pointer = memory.allocate(bytes.length + 4); // in front of it, why the model is refused
    new Uint8Array(exports.memory.buffer).set(bytes, pointer + 4);
    this.#exports = exports;
    this.#handle = exports.vask_model_read(pointer + 4, bytes.length, pointer);
    const reason = memory.view.getInt32(pointer, true);
    exports.free(pointer);
    if (this.#handle === 0) throw new Error(kReasons[reason] ?? 'the model is refused');
  }

  /** CRC-32 of what follows the header of the file. */
  get digest(): number {
    return this.#exports.vask_model_digest(this.handleIn(this.#exports)) >>> 0;
  }

  /** Release it. No stream may use it any more. */
  close(): void {
    this.#exports.vask_model_close(this.#handle);
    this.#handle = 0;
  }

  /** @internal */
  handleIn(exports: Exports): number {
    if (this.#handle === 0) throw new Error('the model is closed');
    if (exports !== this.#exports) throw new TypeError('the model was read by another instance');
    return this.#handle;
  }
}
