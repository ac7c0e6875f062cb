// The page's side of the AudioWorklet.
import {kProcessor, type FromProcessor, type ProcessorOptions, type ToProcessor} from './messages.js';
import {checkContextRate} from './options.js';
import type {Hearing, Measures, StreamEvent} from './stream.js';

export type {ProcessorOptions} from './messages.js';
export type {StreamOptions} from './options.js';
export type {EventKind, Hearing, Measures, Reason, StreamEvent} from './stream.js';

/** An AudioWorkletNode that listens to its input's first channel. */
export class VaskNode {
  /** Connect the source to it and, in mode `continuous`, it to where the audio goes. */
  readonly node: AudioWorkletNode;
  onevent: ((event: StreamEvent) => void) | null = null;
  onmeasures: ((measures: Measures, hearing: Hearing | null) => void) | null = null;
  onerror: ((error: Error) => void) | null = null;
  /** Whether the module with vectors runs. */
  simd = false;
  #finished: (() => void)[] = [];

  private constructor(node: AudioWorkletNode) {
    this.node = node;
  }

  /**
   * Add the worklet to a context, and make a node.
   *
   * @param context runs at one of the nine rates
   * @param options of the stream, and how often to measure
   * @param worklet where the package's worklet.js is, if not beside this file
   * @throws RangeError for another rate, Error for what is wrong with the options
   */
  static async create(
    context: BaseAudioContext,
    options: ProcessorOptions = {},
    worklet: string | URL = new URL('./worklet.js', import.meta.url)
  ): Promise<VaskNode> {
    checkContextRate(context.sampleRate);
    await context.audioWorklet.addModule(worklet);
    const node = new AudioWorkletNode(context, kProcessor, {numberOfInputs: 1, processorOptions: options});
    const made = new VaskNode(node);
    await new Promise<void>((resolve, reject) => {
      made.onerror = reject;
      node.onprocessorerror = () => made.onerror?.(new Error('the AudioWorklet has failed'));
      node.port.onmessage = ({data}: MessageEvent<FromProcessor>) => {
        if (data.type === 'ready') resolve();
        made.#take(data);
      };
    });
    made.onerror = null;
    return made;
  }

  /** Change the pause that ends an utterance, in seconds. */
  setPause(seconds: number): void {
    this.#post({type: 'pause', seconds});
  }

  /** End the input and release the stream. Resolves when the last events have come. */
  finish(): Promise<void> {
    return new Promise((resolve) => {
      this.#finished.push(resolve);
      this.#post({type: 'finish'});
    });
  }

  #post(message: ToProcessor): void {
    this.node.port.postMessage(message);
  }

  #take(message: FromProcessor): void {
    switch (message.type) {
      case 'ready':
        this.simd = message.simd;
        break;
      case 'event':
        this.onevent?.(message.event);
        break;
      case 'measures':
        this.onmeasures?.(message.measures, message.hearing);
        break;
      case 'finished':
        for (const resolve of this.#finished.splice(0)) resolve();
        break;
      case 'error':
        this.onerror?.(new Error(message.message));
    }
  }
}
