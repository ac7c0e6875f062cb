// The data that the command wrote into the page.

const elementOf = (name) => document.getElementById(`data-${name}`);

function bytesOf(name) {
  const text = elementOf(name).textContent;
  if (Uint8Array.fromBase64) return Uint8Array.fromBase64(text);
  const characters = atob(text);
  const bytes = new Uint8Array(characters.length);
  for (let i = 0; i < bytes.length; ++i) bytes[i] = characters.charCodeAt(i);
  return bytes;
}

async function valuesOf(name) {
  const inflated = new Blob([bytesOf(name)]).stream().pipeThrough(new DecompressionStream('deflate'));
  return new Uint8Array(await new Response(inflated).arrayBuffer());
}

export const kBands = 128;

// Each column was written as its difference from the previous one.
function undoDifferences(columns) {
  for (let i = kBands; i < columns.length; ++i) columns[i] += columns[i - kBands];
  return columns;
}

const kSides = ['input', 'output'];
const kTraces = ['level', 'energy', 'noise', 'speech', 'music', 'flags'].map((name) => `trace-${name}`);

// One channel, or the mix of all. What takes long to decode is decoded when it is first asked for.
class Channel {
  #values;
  #sounds = {};

  constructor(index, {channel, segments}, sound) {
    this.index = index;
    this.name = channel === 0 ? '' : `channel ${channel}`;
    this.segments = segments;
    this.soundType = sound;
  }

  async readEnvelopes() {
    const [input, output] = await Promise.all(
      kSides.map((side) => valuesOf(`envelope-${side}-${this.index}`))
    );
    this.envelopes = {input, output};
  }

  // The spectrograms and traces, by name.
  values() {
    this.#values ??= this.#readValues();
    return this.#values;
  }

  async #readValues() {
    const names = [...kSides.map((side) => `spectrogram-${side}`), ...kTraces];
    const read = async (name) => [name, await valuesOf(`${name}-${this.index}`)];
    const values = Object.fromEntries(await Promise.all(names.map(read)));
    for (const side of kSides) undoDifferences(values[`spectrogram-${side}`]);
    return values;
  }

  // The sound of 'input' or 'output' as a file.
  sound(side) {
    if (!this.#sounds[side]) {
      const name = `sound-${side}-${this.index}`;
      this.#sounds[side] = new Blob([bytesOf(name)], {type: this.soundType});
      elementOf(name).remove();
    }
    return this.#sounds[side];
  }
}

export async function readReport() {
  const report = JSON.parse(elementOf('report').textContent);
  const channels = report.channels.map((channel, i) => new Channel(i, channel, report.sound));
  await Promise.all(channels.map((channel) => channel.readEnvelopes()));
  const segments = channels
    .flatMap((channel) => channel.segments.map((segment) => ({...segment, channel})))
    .sort((a, b) => a.start - b.start);
  return {...report, channels, segments};
}
