// node run.mjs PEER FOLDER OUT.json [AUDIO]
//
// Runs a peer over the recordings of a folder (16 kHz, 16 bits, mono). OUT.json: {"hop": seconds, "cost":
// microseconds of processor time for 10 ms, "values": {name: [probability of speech, …]}}. With AUDIO what the
// peer makes of each recording is written there.
//
// A peer is a module PEER.mjs with hop (samples) and async open(), which gives {frame, close}. frame takes hop
// samples between -1 and 1 and gives (a promise of) {probability, audio}; audio may be left out.
import { mkdirSync, readdirSync, readFileSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';

const RATE = 16000;
const HEADER = 44;

function read(path) {
  const file = readFileSync(path);
  if (file.toString('latin1', 36, 40) !== 'data' || file.readUInt32LE(24) !== RATE) throw new Error(`${path} is not as expected`);
  const count = (file.length - HEADER) >> 1;
  return Float32Array.from({ length: count }, (_, i) => file.readInt16LE(HEADER + 2 * i) / 32768);
}

function write(path, samples, like) {
  const file = Buffer.alloc(HEADER + 2 * samples.length);
  like.copy(file, 0, 0, HEADER);
  samples.forEach((x, i) => file.writeInt16LE(Math.max(-32768, Math.min(32767, Math.round(x * 32768))), HEADER + 2 * i));
  writeFileSync(path, file);
}

const [peer, folder, out, audioFolder] = process.argv.slice(2);
const { open, hop } = await import(`./${peer}.mjs`);
if (audioFolder) mkdirSync(audioFolder, { recursive: true });
const values = {};
let spent = 0, heard = 0;
for (const name of readdirSync(folder).filter((file) => file.endsWith('.wav')).sort()) {
  const samples = read(join(folder, name));
  const audio = new Float32Array(samples.length);
  const list = [];
  const instance = await open();
  const start = process.cpuUsage();
  for (let at = 0; at + hop <= samples.length; at += hop) {
    const result = await instance.frame(samples.subarray(at, at + hop));
    list.push(Math.round(result.probability * 1e5) / 1e5);
    if (result.audio) audio.set(result.audio, at);
  }
  const used = process.cpuUsage(start);
  spent += used.user + used.system;
  heard += samples.length / RATE;
  instance.close();
  values[name.slice(0, -4)] = list;
  if (audioFolder) write(join(audioFolder, name), audio, readFileSync(join(folder, name)));
}
writeFileSync(out, JSON.stringify({ hop: hop / RATE, cost: spent / heard / 100, values }));
process.exit(0);
