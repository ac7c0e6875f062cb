// The AudioWorklet's side: a processor named `vask`, for the first channel of its input, at the context's rate.
// In mode `continuous` it gives the audio to its output, a little later; else the output is silent.
import {loadAtOnce} from './embedded.js';
import {kProcessor, type FromProcessor, type ProcessorOptions, type ToProcessor} from './messages.js';
import {checkContextRate} from './options.js';
import type {Stream, StreamEvent} from './stream.js';
import type {Vask} from './vask.js';

// The instances of this scope: with vectors and without, loaded when they are first needed.
const instances = new Map<string, Vask>();

function instanceFor(load: ProcessorOptions['load']): Vask {
  const key = `${load?.simd ?? true} ${load?.model ?? true}`;
  if (!instances.has(key)) instances.set(key, loadAtOnce(load));
  return instances.get(key)!;
}

/** Samples that wait for the output: a stream delivers them by frames of 10 ms, or more. */
class Output {
  #samples = new Int16Array(0);
  #started = false;

  constructor(private readonly enough: number) {}

  add(samples: Int16Array): void {
    if (samples.length === 0) return;
    const all = new Int16Array(this.#samples.length + samples.length);
    all.set(this.#samples);
    all.set(samples, this.#samples.length);
    this.#samples = all;
  }

  fill(channels: Float32Array[]): void {
    const length = channels[0]?.length ?? 0;
    this.#started = this.#samples.length >= (this.#started ? length : this.enough + length);
    if (!this.#started) return;
    for (const channel of channels) for (let i = 0; i < length; ++i) channel[i] = this.#samples[i]! / 32768;
    this.#samples = this.#samples.subarray(length);
  }
}

class VaskProcessor extends AudioWorkletProcessor {
  #stream: Stream | null = null;
  readonly #continuous: boolean;
  readonly #output = new Output(sampleRate / 50);
  readonly #measureEvery: number; // samples
  #untilMeasured = 0;

  constructor({processorOptions = {}}: {processorOptions?: ProcessorOptions}) {
    super();
    const {load, stream = {}, measureEvery = 0} = processorOptions;
    this.#continuous = stream.mode === 'continuous';
    this.#measureEvery = measureEvery * sampleRate;
    this.port.onmessage = ({data}: MessageEvent<ToProcessor>) => this.#attempt(() => this.#take(data));
    this.#attempt(() => {
      const rate: number = sampleRate;
      checkContextRate(rate);
      const vask = instanceFor(load);
      this.#stream = vask.open({...stream, inputRate: rate, audioRate: rate});
      this.#post({type: 'ready', version: vask.version, simd: vask.simd});
    });
  }

  process([input = []]: Float32Array[][], [output = []]: Float32Array[][]): boolean {
    const samples = input[0];
    if (samples && this.#stream) this.#attempt(() => this.#write(samples));
    if (this.#continuous) this.#output.fill(output);
    return this.#stream !== null;
  }

  #write(samples: Float32Array): void {
    const stream = this.#stream!;
    this.#tell(stream.write(samples));
    if (this.#continuous) this.#output.add(stream.read());
    if (this.#measureEvery <= 0 || (this.#untilMeasured -= samples.length) > 0) return;
    this.#untilMeasured = this.#measureEvery;
    this.#post({type: 'measures', measures: stream.measure(), hearing: stream.hear()});
  }

  #take(message: ToProcessor): void {
    if (!this.#stream) return;
    if (message.type === 'pause') {
      this.#stream.setPause(message.seconds);
    } else {
      this.#tell(this.#stream.close());
      this.#stream = null;
      this.#post({type: 'finished'});
    }
  }

  #tell(events: Iterable<StreamEvent>): void {
    for (const event of events) {
      const {buffer, length} = event.audio;
      this.#post({type: 'event', event}, length > 0 ? [buffer as ArrayBuffer] : []);
    }
  }

  #post(message: FromProcessor, transfer: ArrayBuffer[] = []): void {
    this.port.postMessage(message, transfer);
  }

  #attempt(step: () => void): void {
    try {
      step();
    } catch (error) {
      this.#post({type: 'error', message: (error as Error).message});
    }
  }
}

registerProcessor(kProcessor, VaskProcessor);

/** The name of the processor. */
export const processorName = kProcessor;
