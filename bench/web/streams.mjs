// How long streams take in WebAssembly beside the native library: medians of runs by turns, as ratios.
//   node bench/web/streams.mjs PROGRAM SECONDS ROOM.wav
// PROGRAM is streams.c, linked with the native library; bindings/web/build.sh has built the package.
import {execFileSync} from 'node:child_process';
import {readFileSync} from 'node:fs';

import {load} from '../../bindings/web/dist/node.js';

const kRate = 16000;
const kHeaderBytes = 44;
const kPiece = 320; // samples
const kRounds = 5;
const kRuns = {
  'energy, clean': {detector: 'energy'},
  'learned, none': {audio: 'none'},
  'learned, listening': {audio: 'listening'},
};

const [program, seconds, wav] = process.argv.slice(2);
const room = new Int16Array(readFileSync(wav).buffer.slice(kHeaderBytes));

function run(vask, options) {
  const stream = vask.open(options);
  const started = process.cpuUsage();
  for (let written = 0; written < seconds * kRate; written += kPiece) {
    const at = written % (room.length - kPiece);
    for (const event of stream.write(room.subarray(at, at + kPiece))) void (event.audio, stream.read());
  }
  const {user} = process.cpuUsage(started);
  stream.close();
  return user / 1e6;
}

const median = (values) => [...values].sort((a, b) => a - b)[values.length >> 1];
const modules = {plain: await load({simd: false}), vectors: await load()};
const times = {};
for (let round = 0; round <= kRounds; ++round) {
  const native = execFileSync(program, [seconds, wav], {encoding: 'utf8'}).trim().split('\n');
  for (const line of native) {
    const [name, time] = line.split(': ');
    const now = {native: Number(time)};
    for (const [kind, vask] of Object.entries(modules)) now[kind] = run(vask, kRuns[name]);
    if (round === 0) continue; // the modules are compiled while they run
    for (const [kind, value] of Object.entries(now)) ((times[name] ??= {})[kind] ??= []).push(value);
  }
}
for (const [name, {native, plain, vectors}] of Object.entries(times)) {
  const ratio = (values) => (median(values) / median(native)).toFixed(2);
  console.log(`${name}: plain ${ratio(plain)}, vectors ${ratio(vectors)} times the native time`);
}
