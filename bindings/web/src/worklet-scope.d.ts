// What an AudioWorklet's scope has, as far as it is used: a page's types have none of it.
declare const sampleRate: number;
declare function registerProcessor(name: string, processor: new (options: never) => AudioWorkletProcessor): void;
declare class AudioWorkletProcessor {
  readonly port: MessagePort;
}
