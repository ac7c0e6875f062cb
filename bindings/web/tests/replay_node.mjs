// Replays in Node, with both modules and from the single file.
//   node replay_node.mjs REPLAY.txt ROOM.wav
import {readFile} from 'node:fs/promises';

import {load as loadInline} from '../dist/inline.js';
import {load} from '../dist/node.js';
import {casesOf, replay} from './replay.mjs';

const kWavHeader = 44; // bytes

const [list, wav] = await Promise.all(process.argv.slice(2).map((name) => readFile(name)));
const room = new Int16Array(wav.buffer.slice(wav.byteOffset + kWavHeader, wav.byteOffset + (wav.length & ~1)));
const cases = casesOf(list.toString(), room);
const forms = {
  'without vectors': await load({simd: false}),
  'with vectors': await load(),
  'from one file': await loadInline(),
};
for (const [name, vask] of Object.entries(forms)) {
  const result = replay(vask, cases);
  console.log(result.endsWith('the same bits') ? `${result} (Node, ${name})` : result);
  if (!result.endsWith('the same bits')) process.exit(1);
}
console.log(`replay: ${cases.length} cases, the same bits`);
