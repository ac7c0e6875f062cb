// Samples of a sound at 16 kHz, and a WAV file of samples: mono, 16 bits.
const kRate = 16000;
const kHeader = 44;

function chunkOf(bytes, name) {
  const view = new DataView(bytes);
  const code = [...name].reduce((sum, c) => sum * 256 + c.charCodeAt(0), 0);
  for (let at = 12; at + 8 <= bytes.byteLength;) {
    const size = view.getUint32(at + 4, true);
    if (view.getUint32(at) === code) return bytes.slice(at + 8, at + 8 + size);
    at += 8 + size + (size & 1);
  }
  throw new Error(`no ${name} in the sound`);
}

// The samples of a stretch of a sound file, in seconds.
export async function samplesOf(file, start, end) {
  const bytes = await file.arrayBuffer();
  const range = [start, end].map((time) => Math.round(time * kRate));
  if (file.type === 'audio/wav') return new Int16Array(chunkOf(bytes, 'data')).slice(...range);
  const decoded = await new OfflineAudioContext(1, 1, kRate).decodeAudioData(bytes);
  const samples = decoded.getChannelData(0).subarray(...range);
  return Int16Array.from(samples, (x) => Math.round(Math.min(Math.max(32768 * x, -32768), 32767)));
}

export function wavOf(samples, rate = kRate) {
  const header = new DataView(new ArrayBuffer(kHeader));
  const text = (at, name) => [...name].forEach((c, i) => header.setUint8(at + i, c.charCodeAt(0)));
  text(0, 'RIFF');
  header.setUint32(4, kHeader - 8 + samples.byteLength, true);
  text(8, 'WAVEfmt ');
  header.setUint32(16, 16, true); // bytes of what follows
  header.setUint16(20, 1, true); // integers
  header.setUint16(22, 1, true); // channel
  header.setUint32(24, rate, true);
  header.setUint32(28, 2 * rate, true); // bytes a second
  header.setUint16(32, 2, true); // bytes a sample
  header.setUint16(34, 16, true); // bits
  text(36, 'data');
  header.setUint32(40, samples.byteLength, true);
  return new Blob([header, samples], {type: 'audio/wav'});
}
