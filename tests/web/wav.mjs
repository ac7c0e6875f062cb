// 16 kHz 16-bit WAV files: mono, unless more channels are interleaved.
import {readFileSync, writeFileSync} from 'node:fs';

export const kRate = 16000;
const kHeader = 44;

export function saveWav(path, samples, channels = 1) {
  const header = Buffer.alloc(kHeader);
  const bytes = samples.byteLength;
  [
    [0, 'RIFF'],
    [8, 'WAVEfmt '],
    [36, 'data'],
  ].forEach(([at, text]) => header.write(text, at));
  [
    [4, 36 + bytes],
    [16, 16],
    [24, kRate],
    [28, 2 * kRate * channels],
    [40, bytes],
  ].forEach(([at, n]) => header.writeUInt32LE(n, at));
  [
    [20, 1],
    [22, channels],
    [32, 2 * channels],
    [34, 16],
  ].forEach(([at, n]) => header.writeUInt16LE(n, at));
  writeFileSync(path, Buffer.concat([header, Buffer.from(samples.buffer, samples.byteOffset, bytes)]));
}

export function wavSamples(file) {
  return new Int16Array(file.buffer.slice(file.byteOffset + kHeader, file.byteOffset + file.length));
}

export const loadWav = (path) => wavSamples(readFileSync(path));
