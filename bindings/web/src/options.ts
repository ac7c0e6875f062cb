// The options of a stream, and the C record made of them.
import {camelCase, type Exports, type Memory, type CRecord} from './record.js';
import {Model} from './model.js';

/** The rates in Hz that streams take and give. */
export const rates = [8000, 11025, 12000, 16000, 22050, 24000, 32000, 44100, 48000] as const;

/** A rate in Hz: one of `rates`. */
export type Rate = (typeof rates)[number];

/** Throws RangeError if streams cannot have the rate of an AudioContext. */
export function checkContextRate(rate: number): asserts rate is Rate {
  if (rates.includes(rate as Rate)) return;
  throw new RangeError(
    `the AudioContext runs at ${rate} Hz, not one of ${rates.join(', ')} Hz: ` +
      'make it with new AudioContext({sampleRate: 48000})'
  );
}

/** Options of a stream, named as in vask/stream.h, which says more of each. What is left out has its default. */
export interface StreamOptions {
  /** `learned` (default): a small net. `energy`: levels and voicing against the learned noise. */
  detector?: 'learned' | 'energy';
  /** `utterances` (default): events, and their audio. `continuous`: every sample, and no events. */
  mode?: 'utterances' | 'continuous';
  /** `clean` (default): for a recogniser. `listening`: for people, with the detector `learned`. */
  audio?: 'clean' | 'raw' | 'none' | 'listening';
  /** Values for noisy rooms, with the detector `energy`. */
  preset?: 'robust';
  /** What `Vask.readModel` returned, in place of the package's own; to be kept until the stream is closed. */
  model?: Model;
  /** Of what is written, Hz; default 16000. */
  inputRate?: Rate;
  /** Of what is read, Hz; default 16000. */
  audioRate?: Rate;
  /** Seconds without speech until `may-have-ended`; 0 (default): none. */
  mayEndAfter?: number;
  /** Seconds until `nobody-spoke`; 0 (default): none. */
  startWithin?: number;
  /** Utterances are split beyond so many samples at 16 kHz; 0 (default): no limit. */
  maxSamples?: number;
  /** Most samples of audio that wait to be read; 0 (default): 10 minutes. */
  queueSamples?: number;
  /** With the audio `listening`: nothing is cut by more, dB, -60 to 0. */
  listeningFloorDb?: number;
  /** With the audio `listening`: the share of the filtered sound, 0 to 1. */
  listeningMix?: number;

  // Rules of the detector `learned`: probabilities, and lengths in seconds.
  openProbability?: number;
  open?: number;
  openLookBack?: number;
  startProbability?: number;
  closeProbability?: number;
  /** The pause that ends an utterance, seconds. */
  pause?: number;
  closeLookBack?: number;
  shortest?: number;
  meanProbability?: number;
  marginStart?: number;
  marginEnd?: number;

  // Of the detector `energy`: lengths in samples at 16 kHz.
  padStart?: number;
  padEnd?: number;
  minSamples?: number;
  minVoicedFrames?: number;
  maxTonePercent?: number;
  toneTonality?: number;

  // And its profile: lengths in frames of 10 ms, other units as in vask/profile.h.
  hangoverFrames?: number;
  voicedCheckFrames?: number;
  longSpeechFrames?: number;
  maxUnvoicedRun?: number;
  vadThreshold?: number;
  sampleShift?: number;
  energyShift?: number;
  h2lRatioMax?: number;
  yinMin?: number;
  amdfLow?: number;
  amdfHigh?: number;
  pvLow?: number;
  pvHigh?: number;
  tonalityMin?: number;
  entropyMax?: number;
  uvVoteMin?: number;
  uvEnergyOffset?: number;
}

const kWords: {[name: string]: {[word: string]: number}} = {
  detector: {energy: 0, learned: 1},
  mode: {continuous: 1, utterances: 2},
  audio: {clean: 0, raw: 1, none: 2, listening: 3},
};

const quoted = (value: unknown): string => (typeof value === 'string' ? `'${value}'` : String(value));

function numberOf(name: string, value: unknown, isFloat: boolean): number {
  const words = kWords[name];
  if (words) {
    if (typeof value === 'string' && Object.hasOwn(words, value)) return words[value]!;
    throw new RangeError(`${name} is ${quoted(value)}, not ${Object.keys(words).map(quoted).join(' or ')}`);
  }
  if (typeof value !== 'number') throw new TypeError(`${name} is ${quoted(value)}, not a number`);
  if (!isFloat && value !== (value | 0)) throw new RangeError(`${name} is ${value}, not a whole number of 32 bits`);
  return value;
}

/** The library speaks of its fields by their names in C. */
const inCamelCase = (complaint: string): string => complaint.replace(/\b[a-z0-9]+_[a-z0-9_]+/g, camelCase);

/** Fill in the record of a setup. Throws TypeError or RangeError for what is wrong with the options. */
export function fillSetup(setup: CRecord, options: StreamOptions, exports: Exports, memory: Memory): void {
  exports.vask_stream_setup_defaults(setup.pointer, setup.size);
  setup.set('detector', kWords['detector']!['learned']!);
  if (options.preset !== undefined) {
    if (options.preset !== 'robust') throw new RangeError(`preset is ${quoted(options.preset)}, not 'robust'`);
    exports.vask_stream_robust(setup.pointer + setup.offsetOf('mode')); // the first of the plain options
  }
  for (const [name, value] of Object.entries(options) as [string, unknown][]) {
    if (value === undefined || name === 'preset') continue;
    if (!setup.has(name) || name === 'size') throw new TypeError(`'${name}' is not an option of a stream`);
    if (name !== 'model') {
      setup.set(name, numberOf(name, value, setup.isFloat(name)));
    } else if (value instanceof Model) {
      setup.set(name, value.handleIn(exports));
    } else {
      throw new TypeError('model is not what readModel returned');
    }
  }
  const complaint = exports.vask_stream_setup_complaint(setup.pointer);
  if (complaint !== 0) throw new RangeError(inCamelCase(memory.text(complaint)));
}
