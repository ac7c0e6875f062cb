// Replays a list of inputs: the same events and the same audio, to the bit. Runs in Node and in browsers.
import {generators} from './generators.mjs';

const kWords = {
  detector: ['energy', 'learned'],
  mode: ['', 'continuous', 'utterances'],
  audio: ['clean', 'raw', 'none', 'listening'],
};

const camelCase = (name) => name.replace(/_([a-z0-9])/g, (_, letter) => letter.toUpperCase());
const hex = (number) => number.toString(16).padStart(8, '0');

function bitsOf(value) {
  return hex(new Uint32Array(Float32Array.of(value).buffer)[0]);
}

export function lineOf(event) {
  const {kind, reason, segment, continues, start, end, spanStart, spanEnd, heard, voicedFrames} = event;
  const numbers = [segment, Number(continues), start, end, spanStart, spanEnd, heard, voicedFrames];
  return ['event', kind, reason ?? 'none', ...numbers, bitsOf(event.voiced), bitsOf(event.levelDb)].join(' ');
}

export class Checksum {
  #crc = 0xffffffff;
  #count = 0;
  add(samples) {
    for (const byte of new Uint8Array(samples.buffer, samples.byteOffset, samples.byteLength)) {
      this.#crc ^= byte;
      for (let bit = 0; bit < 8; ++bit) this.#crc = (this.#crc >>> 1) ^ (this.#crc & 1 ? 0xedb88320 : 0);
    }
    this.#count += samples.length;
  }
  get line() {
    return `audio ${this.#count} ${hex(~this.#crc >>> 0)}`;
  }
}

/** The cases of a list. room: the samples of its recording. */
export function casesOf(list, room) {
  const signals = generators(room);
  const cases = [];
  for (const line of list.split('\n')) {
    const [word, ...rest] = line.trim().split(/\s+/);
    const now = cases.at(-1);
    if (!word || word.startsWith('#')) continue;
    if (word === 'case') {
      cases.push({name: rest[0], options: {detector: 'energy'}, inputs: [], pieces: [], pauses: [], expected: []});
    } else if (word === 'set') {
      const name = camelCase(rest[0].split('.').at(-1));
      now.options[name] = kWords[name] ? kWords[name][rest[1]] : Number(rest[1]);
    } else if (word === 'input') {
      now.inputs.push(signals[rest[0]](...rest.slice(1).map(Number)));
    } else if (word === 'pieces') {
      now.pieces = rest.map(Number);
    } else if (word === 'pause') {
      now.pauses.push({at: Number(rest[0]), seconds: Number(rest[1])});
    } else {
      now.expected.push(line.trim());
    }
  }
  if (cases.length === 0) throw new Error('the list has no cases');
  return cases;
}

export function inputOf({inputs}) {
  const all = new Int16Array(inputs.reduce((sum, {length}) => sum + length, 0));
  let at = 0;
  for (const input of inputs) {
    all.set(input, at);
    at += input.length;
  }
  return all;
}

// Writes a case's input piece by piece and at last flushes. Gives the events of each step.
function* steps(stream, {pieces, pauses, ...rest}) {
  const input = inputOf(rest);
  const waiting = [...pauses];
  for (let at = 0, turn = 0; at < input.length; ++turn) {
    while (waiting.length > 0 && at >= waiting[0].at) stream.setPause(waiting.shift().seconds);
    const end = Math.min(at + pieces[turn % pieces.length], input.length);
    yield stream.write(input.subarray(at, end));
    at = end;
  }
  yield stream.flush();
}

function* linesOf(vask, one) {
  const stream = vask.open(one.options);
  const checksum = new Checksum();
  for (const events of steps(stream, one)) {
    for (const event of events) {
      yield lineOf(event);
      checksum.add(event.audio);
      if (one.options.mode !== 'continuous') checksum.add(stream.read());
    }
    if (one.options.mode === 'continuous') checksum.add(stream.read());
  }
  stream.close();
  yield checksum.line;
  yield 'end';
}

/** What is wrong with the lines of a case; null: nothing. */
export function difference({name, expected}, lines) {
  let at = 0;
  for (const line of lines) {
    const wanted = expected[at++];
    if (line !== wanted) return `replay: case ${name} differs: expected ${wanted}, got ${line}`;
  }
  return null;
}

/** Replays all cases. The last line says how it went. */
export function replay(vask, cases) {
  for (const one of cases) {
    const found = difference(one, linesOf(vask, one));
    if (found) return found;
  }
  return `replay: ${cases.length} cases, the same bits`;
}
