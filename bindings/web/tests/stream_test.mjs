// What the package's own code adds to the library. The library's results are the replay's.
//   node --test stream_test.mjs
import assert from 'node:assert/strict';
import {readFileSync} from 'node:fs';
import {test} from 'node:test';

import {load, rates} from '../dist/node.js';
import {load as loadInline, loadSync} from '../dist/inline.js';

const kWavHeader = 44; // bytes
const wav = readFileSync(new URL('../../../samples/room.wav', import.meta.url));
const room = new Int16Array(wav.buffer.slice(wav.byteOffset + kWavHeader, wav.byteOffset + (wav.length & ~1)));
const vask = await load();

const ended = (events) => events.filter(({kind}) => kind === 'ended');

test('modules import nothing', async () => {
  for (const name of ['vask', 'vask-simd']) {
    const bytes = readFileSync(new URL(`../dist/${name}.wasm`, import.meta.url));
    assert.deepEqual(WebAssembly.Module.imports(new WebAssembly.Module(bytes)), []);
  }
});

test('the entries are one library', async () => {
  for (const other of [await load({simd: false}), await loadInline(), loadSync({simd: false, model: false})]) {
    assert.equal(other.version, vask.version);
    assert.deepEqual(other.rates, rates);
  }
});

test('an utterance has its audio, as a whole or read in part before', () => {
  for (const early of [false, true]) {
    const stream = vask.open();
    let [pieces, found] = [0, 0];
    for (let at = 0; at < room.length; at += 1600) {
      for (const event of stream.write(room.subarray(at, at + 1600))) {
        if (event.kind !== 'ended') continue;
        assert.equal(pieces + event.audio.length, event.spanEnd - event.spanStart);
        assert.equal(event.reason, 'silence');
        [pieces, found] = [0, found + 1];
      }
      if (early) pieces += stream.read().length;
    }
    assert.ok(found > 1);
    stream.close();
  }
});

test('floats are the same samples, rounded to even and limited', () => {
  const run = (samples) => {
    const stream = vask.open({mode: 'continuous', audio: 'raw'});
    const events = [...stream.write(samples), ...stream.flush()];
    assert.deepEqual(events, []);
    const audio = stream.read();
    stream.close();
    return audio;
  };
  assert.deepEqual(run(Float32Array.from(room, (x) => x / 32768)), run(room));
  const unit = 1 / 32768;
  const given = [2, 1, -1, -3, NaN, Infinity, -Infinity, 0.5 * unit, 1.5 * unit, -0.5 * unit, -2.5 * unit];
  const wanted = [32767, 32767, -32768, -32768, 0, 32767, -32768, 0, 2, 0, -2];
  assert.deepEqual([...run(Float32Array.from(given))], wanted);
});

test('what a full queue refuses is written when there is room', () => {
  const options = {audio: 'raw', mode: 'continuous', queueSamples: 80000};
  const stream = vask.open(options);
  const input = room.slice(0, 250000);
  stream.write(input);
  input.fill(0); // the caller's own again
  assert.throws(() => stream.write(room), /queue is full/);
  const first = stream.read();
  const events = [...stream.flush()];
  assert.deepEqual(events, []);
  const all = [...first, ...stream.read()];
  assert.deepEqual(Int16Array.from(all), room.slice(0, 250000));
  assert.throws(() => stream.write(room), /flushed/);
  stream.close();
});

test('closing ends what is open', () => {
  const stream = vask.open();
  const kinds = [];
  const until = room.length / 2;
  for (let at = 0; at < until; at += 320) {
    for (const {kind} of stream.write(room.subarray(at, at + 320))) kinds.push(kind);
  }
  const started = kinds.filter((kind) => kind === 'started').length;
  const last = stream.close();
  assert.equal(kinds.filter((kind) => kind !== 'started').length + last.length, started);
  assert.deepEqual(stream.close(), []);
  assert.throws(() => stream.write(room), /stream is closed/);
  assert.throws(() => stream.measure(), /stream is closed/);
});

test('streams side by side do not disturb each other, while the memory grows', () => {
  const streams = Array.from({length: 200}, () => vask.open({marginStart: 2}));
  const found = streams.map(() => []);
  for (let at = 0; at < 64000; at += 16000) {
    streams.forEach((stream, i) => found[i].push(...stream.write(room.subarray(at, at + 16000))));
  }
  streams.forEach((stream, i) => found[i].push(...stream.close()));
  assert.ok(ended(found[0]).length > 0);
  for (const events of found) assert.deepEqual(events, found[0]);
});

test('measures and probabilities', () => {
  const stream = vask.open({audio: 'none'});
  assert.equal(stream.hear().at, -1);
  [...stream.write(room.subarray(0, 32000))];
  assert.equal(stream.measure().heard, 32000);
  assert.ok(stream.measure().speech && stream.hear().speech > 0.5);
  stream.reset();
  assert.equal(stream.measure().heard, 0);
  stream.close();
  const other = vask.open({detector: 'energy'});
  assert.equal(other.hear(), null);
  other.close();
});

test('a model is read, refused, and kept to its instance', async () => {
  const bytes = readFileSync(new URL('../dist/detector.model', import.meta.url));
  const model = vask.readModel(bytes);
  assert.equal(model.digest, bytes.readUInt32LE(12)); // in the header
  vask.open({model}).close();
  const other = await load({model: false});
  assert.throws(() => other.open(), /needs its model/);
  assert.throws(() => other.open({model}), /another instance/);
  model.close();
  assert.throws(() => vask.open({model}), /closed/);
  assert.throws(() => vask.readModel(bytes.subarray(0, 5000)), /damaged/);
  assert.throws(() => vask.readModel(new Uint8Array(100)), /not a model/);
});

test('what is wrong is said', () => {
  const wrong = [
    [{rate: 48000}, TypeError, /'rate' is not an option/],
    [{size: 1}, TypeError, /'size' is not an option/],
    [{inputRate: 96000}, RangeError, /inputRate is not one of/],
    [{pause: 20}, RangeError, /pause is not/],
    [{pause: '1'}, TypeError, /pause is '1', not a number/],
    [{maxSamples: 1.5}, RangeError, /whole number/],
    [{detector: 'other'}, RangeError, /'energy' or 'learned'/],
    [{preset: 'loud'}, RangeError, /preset/],
    [{model: 1}, TypeError, /readModel/],
  ];
  for (const [options, type, message] of wrong) {
    assert.throws(() => vask.open(options), (error) => error instanceof type && message.test(error.message));
  }
  const stream = vask.open();
  for (const samples of [[1, 2], new Float64Array(2), null, 'x']) {
    assert.throws(() => stream.write(samples), /not Int16Array or Float32Array/);
  }
  assert.throws(() => stream.setPause(11), RangeError);
  stream.close();
});
