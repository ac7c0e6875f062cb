// The C records in the module's memory: the module itself says where their fields are.

/** What a module exports. Pointers and sizes are numbers of bytes. */
export interface Exports {
  readonly memory: WebAssembly.Memory;
  _initialize?(): void;
  malloc(bytes: number): number;
  free(pointer: number): void;
  vask_web_record(number: number): number;
  vask_version(): number;
  vask_model_read(bytes: number, length: number, reason: number): number;
  vask_model_close(model: number): void;
  vask_model_digest(model: number): number;
  vask_stream_kind_name(kind: number): number;
  vask_stream_reason_name(reason: number): number;
  vask_stream_robust(options: number): void;
  vask_stream_setup_defaults(setup: number, size: number): void;
  vask_stream_setup_complaint(setup: number): number;
  vask_stream_open_setup(setup: number): number;
  vask_stream_write(stream: number, samples: number, n: number): number;
  vask_stream_flush(stream: number): number;
  vask_stream_next(stream: number, event: number): number;
  vask_stream_read(stream: number, samples: number, max: number): number;
  vask_stream_available(stream: number): number;
  vask_stream_measure(stream: number, measures: number): number;
  vask_stream_hear(stream: number, hearing: number): number;
  vask_stream_set_pause(stream: number, seconds: number): number;
  vask_stream_reset(stream: number): void;
  vask_stream_close(stream: number): void;
}

interface Field {
  readonly type: string; // i int32, l int64, f float, p pointer
  readonly offset: number;
}

export const camelCase = (name: string): string =>
  name.replace(/_([a-z0-9])/g, (_, letter: string) => letter.toUpperCase());

/** The module's memory, which moves when it grows. */
export class Memory {
  #view: DataView;

  constructor(private readonly exports: Exports) {
    this.#view = new DataView(exports.memory.buffer);
  }

  get view(): DataView {
    const {buffer} = this.exports.memory;
    if (this.#view.buffer !== buffer) this.#view = new DataView(buffer);
    return this.#view;
  }

  samples(pointer: number, length: number): Int16Array {
    return new Int16Array(this.exports.memory.buffer, pointer, length);
  }

  text(pointer: number): string {
    let text = '';
    for (let code; (code = this.view.getUint8(pointer++)) !== 0;) text += String.fromCharCode(code);
    return text;
  }

  allocate(bytes: number): number {
    const pointer = this.exports.malloc(bytes);
    if (pointer === 0) throw new Error(`there is no memory for ${bytes} bytes`);
    return pointer;
  }
}

/** One kind of record, and storage for one of it. Fields have the names of C in camel case. */
export class CRecord {
  readonly pointer: number;
  readonly size: number;
  readonly #fields = new Map<string, Field>();

  constructor(exports: Exports, private readonly memory: Memory, number: number) {
    const record = exports.vask_web_record(number);
    const {view} = memory;
    this.size = view.getUint32(record + 4, true);
    for (let at = view.getUint32(record, true); view.getUint32(at, true) !== 0; at += 12) {
      const name = camelCase(memory.text(view.getUint32(at, true)));
      const type = String.fromCharCode(view.getUint32(at + 4, true));
      this.#fields.set(name, {type, offset: view.getUint32(at + 8, true)});
    }
    this.pointer = memory.allocate(this.size);
  }

  has(name: string): boolean {
    return this.#fields.has(name);
  }

  set(name: string, value: number): void {
    const {type, offset} = this.#fields.get(name)!;
    if (type === 'f') this.memory.view.setFloat32(this.pointer + offset, value, true);
    else this.memory.view.setInt32(this.pointer + offset, value, true);
  }

  offsetOf(name: string): number {
    return this.#fields.get(name)!.offset;
  }

  isFloat(name: string): boolean {
    return this.#fields.get(name)!.type === 'f';
  }

  /** All fields, but for `size`. */
  values(): {[name: string]: number} {
    const result: {[name: string]: number} = {};
    const {view} = this.memory;
    for (const [name, {type, offset}] of this.#fields) {
      if (name === 'size') continue;
      const at = this.pointer + offset;
      if (type === 'f') result[name] = view.getFloat32(at, true);
      else if (type === 'l') result[name] = Number(view.getBigInt64(at, true));
      else result[name] = view.getInt32(at, true);
    }
    return result;
  }
}
