// Replays in the scope of an AudioWorklet.
import {loadSync} from '../dist/inline.js';
import {casesOf, replay} from './replay.mjs';

registerProcessor(
  'replay',
  class extends AudioWorkletProcessor {
    constructor() {
      super();
      this.port.onmessage = ({data: {list, room, simd}}) => {
        try {
          this.port.postMessage(replay(loadSync({simd}), casesOf(list, room)));
        } catch (error) {
          this.port.postMessage(`replay: ${error.stack}`);
        }
      };
    }
    process() {
      return true;
    }
  }
);
