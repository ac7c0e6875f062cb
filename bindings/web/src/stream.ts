// One stream: samples in, events and audio out.
import type {Exports, Memory, CRecord} from './record.js';
import {checkSamples, copySamples, type Samples} from './samples.js';

/** What happens to a segment. */
export type EventKind = 'started' | 'ended' | 'rejected' | 'may-have-ended' | 'went-on' | 'nobody-spoke';

/** How an utterance ended, or why a segment was rejected. */
export type Reason =
  'silence' | 'long-noise' | 'input-end' | 'split' | 'too-short' | 'too-little-voice' | 'tones';

/** What happened, and where in the input. Positions are samples of the input, at its own rate. */
export interface StreamEvent {
  readonly kind: EventKind;
  /** Null but at an end or a rejection. */
  readonly reason: Reason | null;
  /** From 1; rejected ones count too. 0: nobody spoke. */
  readonly segment: number;
  /** It continues where the previous segment was split. */
  readonly continues: boolean;
  readonly start: number;
  /** One past the detected end; -1 where none is known. */
  readonly end: number;
  readonly spanStart: number;
  /** One past what is delivered; -1 but at an end or a rejection. */
  readonly spanEnd: number;
  /** Samples of the input that had been processed when this was decided. */
  readonly heard: number;
  readonly voicedFrames: number;
  /** Share of the frames from start to end. */
  readonly voiced: number;
  /** dB full scale. */
  readonly levelDb: number;
  /** At an end the utterance's audio, less what `read` has taken before: int16 at `audioRate`; else empty. */
  readonly audio: Int16Array;
}

/** The newest frame, for meters and traces. */
export interface Measures {
  readonly heard: number;
  readonly detectorAt: number;
  readonly levelDb: number;
  readonly energyDb: number;
  readonly noiseDb: number;
  readonly speech: boolean;
  readonly voiced: boolean;
  readonly open: boolean;
}

/** What the learned detector makes of the newest step of 0.02 s: probabilities. */
export interface Hearing {
  readonly at: number;
  readonly speech: number;
  readonly speech100msAgo: number;
  readonly speech200msAgo: number;
  readonly utterance: number;
  readonly music: number;
  readonly highGain: number;
}

/** What the streams of an instance share: it runs one call at a time. */
export interface Shared {
  readonly exports: Exports;
  readonly memory: Memory;
  readonly event: CRecord;
  readonly measures: CRecord;
  readonly hearing: CRecord;
  /** Room for `kPiece` samples. */
  readonly samples: number;
  readonly kinds: readonly EventKind[];
  reason(number: number): Reason | null;
}

export const kPiece = 4096; // samples

const kNoMemory = -3;

const none = new Int16Array(0);

/** A stream. Close it when it is no longer needed: its memory is the module's own, and nothing else frees it. */
export class Stream {
  readonly #shared: Shared;
  #handle: number;
  #rest: Samples = none; // what the queue had no room for
  #end: 'open' | 'ending' | 'over' = 'open'; // whether the end of the input comes after it, or has come
  readonly #events: Iterable<StreamEvent> = {[Symbol.iterator]: () => this.#take()};

  /** Use `Vask.open`. */
  constructor(shared: Shared, handle: number) {
    this.#shared = shared;
    this.#handle = handle;
  }

  /**
   * Write input.
   *
   * Everything is processed at once. Iterating over the result takes the events; those that are left are in
   * the result of the next call. In the loop, `read` takes the audio of the segment whose event was taken last.
   *
   * @param samples n samples of one channel at `inputRate`: int16, or floats from -1 to 1
   * @returns the events
   * @throws Error if the queue of audio and events is still full from before
   */
  write(samples: Samples): Iterable<StreamEvent> {
    checkSamples(samples);
    this.#opened();
    if (this.#rest.length > 0) {
      throw new Error('the queue is full: take the events and the audio of the last write first');
    }
    if (this.#end !== 'open') throw new Error('the stream is flushed: reset it first');
    this.#rest = samples;
    this.#push();
    // The caller may use its array again.
    this.#rest = this.#rest.length > 0 ? this.#rest.slice() : none;
    return this.#events;
  }

  /**
   * End the input. What was held back comes out; an open segment becomes an utterance or is rejected.
   *
   * @returns the events, as `write` does
   */
  flush(): Iterable<StreamEvent> {
    this.#opened();
    if (this.#end === 'open') this.#end = 'ending';
    this.#push();
    return this.#events;
  }

  /**
   * Take audio: int16 at `audioRate`.
   *
   * In mode `utterances` that of the segment whose event was taken last, after `started` what is certain so
   * far; in mode `continuous` all that has come out.
   *
   * @returns a copy of n samples, 0 if there are none
   */
  read(): Int16Array {
    const pieces: Int16Array[] = [];
    do {
      for (let piece; (piece = this.#readPiece()).length > 0;) pieces.push(piece);
    } while (this.#waits() && (this.#push() || this.available > 0));
    if (pieces.length === 1) return pieces[0]!;
    const all = new Int16Array(pieces.reduce((sum, {length}) => sum + length, 0));
    let at = 0;
    for (const piece of pieces) {
      all.set(piece, at);
      at += piece.length;
    }
    return all;
  }

  /** Samples that `read` could take now. */
  get available(): number {
    return this.#shared.exports.vask_stream_available(this.#opened());
  }

  /** Get the measures of the newest frame. */
  measure(): Measures {
    const {exports, measures} = this.#shared;
    exports.vask_stream_measure(this.#opened(), measures.pointer);
    const {speech, voiced, open, ...rest} = measures.values();
    return {...rest, speech: speech === 1, voiced: voiced === 1, open: open === 1} as Measures;
  }

  /**
   * Get what the learned detector makes of the newest step.
   *
   * @returns probabilities; null if the stream has the other detector
   */
  hear(): Hearing | null {
    const {exports, hearing} = this.#shared;
    hearing.set('size', hearing.size);
    if (exports.vask_stream_hear(this.#opened(), hearing.pointer) !== 0) return null;
    return hearing.values() as unknown as Hearing;
  }

  /**
   * Change the pause that ends an utterance while the stream runs.
   *
   * @param seconds 0.02 to 10 with the detector `learned`, 0 to 30 with `energy`
   * @throws RangeError beyond that, or if the queue has no room for such a pause
   */
  setPause(seconds: number): void {
    if (this.#shared.exports.vask_stream_set_pause(this.#opened(), seconds) !== 0) {
      throw new RangeError(`a pause of ${seconds} s is out of range for this stream`);
    }
  }

  /** Go back to the state in which it was opened: position 0, nothing heard, audio and events dropped. */
  reset(): void {
    this.#shared.exports.vask_stream_reset(this.#opened());
    this.#rest = none;
    this.#end = 'open';
  }

  /**
   * Flush, and release everything. A second call does nothing.
   *
   * @returns what came out at the end: every start is followed by an end or a rejection
   */
  close(): StreamEvent[] {
    if (this.#handle === 0) return [];
    const events = [...this.flush()];
    this.#shared.exports.vask_stream_close(this.#handle);
    this.#handle = 0;
    return events;
  }

  #opened(): number {
    if (this.#handle === 0) throw new Error('the stream is closed');
    return this.#handle;
  }

  // The queue had no room for all that was written, or for all that the end has brought.
  #waits(): boolean {
    return this.#rest.length > 0 || this.#end === 'ending';
  }

  // Write what waits. True: some of it was taken.
  #push(): boolean {
    const {exports, memory, samples} = this.#shared;
    const handle = this.#opened();
    const before = this.#rest.length;
    let result = 0;
    while (this.#rest.length > 0) {
      const piece = this.#rest.subarray(0, kPiece);
      copySamples(piece, memory.samples(samples, piece.length));
      result = exports.vask_stream_write(handle, samples, piece.length);
      if (result <= 0) break;
      this.#rest = this.#rest.subarray(result);
    }
    if (this.#rest.length === 0 && this.#end === 'ending') {
      result = exports.vask_stream_flush(handle);
      if (result === 0) this.#end = 'over';
    }
    if (result === kNoMemory) throw new Error('there is no memory for the audio that waits to be read');
    return this.#rest.length < before || this.#end === 'over';
  }

  #readPiece(): Int16Array {
    const {exports, memory, samples} = this.#shared;
    const n = exports.vask_stream_read(this.#opened(), samples, kPiece);
    return n > 0 ? memory.samples(samples, n).slice() : none;
  }

  #next(): StreamEvent | null {
    const {exports, event, kinds, reason} = this.#shared;
    if (exports.vask_stream_next(this.#opened(), event.pointer) !== 1) return null;
    const values = event.values();
    const kind = kinds[values['kind']!]!;
    const taken = {...values, kind, reason: reason(values['reason']!), continues: values['continues'] === 1};
    return {...taken, audio: kind === 'ended' ? this.#readSegment() : none} as unknown as StreamEvent;
  }

  // What has been delivered of the ended utterance, all of it.
  #readSegment(): Int16Array {
    const {exports} = this.#shared;
    const all = new Int16Array(exports.vask_stream_available(this.#opened()));
    for (let at = 0, piece; (piece = this.#readPiece()).length > 0; at += piece.length) all.set(piece, at);
    return all;
  }

  *#take(): Generator<StreamEvent, void, undefined> {
    for (let more = true; more;) {
      let any = false;
      for (let event; this.#handle !== 0 && (event = this.#next()) !== null;) {
        any = true;
        yield event;
      }
      more = this.#handle !== 0 && this.#waits() && (this.#push() || any);
    }
  }
}
