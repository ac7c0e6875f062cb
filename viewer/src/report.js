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

export async function readReport() {
  const report = JSON.parse(elementOf('report').textContent);
  const names = [
    'envelope-input',
    'envelope-output',
    'spectrogram-input',
    'spectrogram-output',
    'trace-level',
    'trace-energy',
    'trace-noise',
    'trace-speech',
    'trace-music',
    'trace-flags',
  ];
  const values = Object.fromEntries(
    await Promise.all(names.map(async (name) => [name, await valuesOf(name)]))
  );
  for (const side of ['input', 'output']) undoDifferences(values[`spectrogram-${side}`]);
  return {...report, values};
}

// The sound of 'input' or 'output' as a URL for the player. Decoding an hour takes a moment, so it is done
// only when it is to be played.
export function soundUrl(report, side) {
  const name = `sound-${side}`;
  const url = URL.createObjectURL(new Blob([bytesOf(name)], {type: report.sound}));
  elementOf(name).remove();
  return url;
}
