// The data that the command wrote into the page.

function textOf(id) {
  return document.getElementById(id)?.textContent ?? '';
}

function bytesOf(id) {
  const text = textOf(id);
  if (Uint8Array.fromBase64) return Uint8Array.fromBase64(text);
  const characters = atob(text);
  const bytes = new Uint8Array(characters.length);
  for (let i = 0; i < bytes.length; ++i) bytes[i] = characters.charCodeAt(i);
  return bytes;
}

async function valuesOf(id) {
  const inflated = new Blob([bytesOf(id)]).stream().pipeThrough(new DecompressionStream('deflate'));
  return new Uint8Array(await new Response(inflated).arrayBuffer());
}

export const kBands = 128;

// Each column was written as its difference to the one before.
function undoDifferences(columns) {
  for (let i = kBands; i < columns.length; ++i) columns[i] += columns[i - kBands];
  return columns;
}

export async function readReport() {
  const report = JSON.parse(textOf('report'));
  const ids = ['envelope-input', 'envelope-output', 'spectrogram-input', 'spectrogram-output', 'trace-level',
    'trace-energy', 'trace-noise', 'trace-flags'];
  const values = Object.fromEntries(await Promise.all(ids.map(async (id) => [id, await valuesOf(id)])));
  for (const id of ['spectrogram-input', 'spectrogram-output']) undoDifferences(values[id]);
  return {...report, values};
}

// The sound of 'input' or 'output' as an address that a player takes. Decoding an hour takes a moment, so it is
// done when somebody wants to listen.
export function soundUrl(report, name) {
  const id = `sound-${name}`;
  const url = URL.createObjectURL(new Blob([bytesOf(id)], {type: report.sound}));
  document.getElementById(id).remove();
  return url;
}
