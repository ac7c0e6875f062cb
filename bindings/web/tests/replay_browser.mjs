// Replays in a browser under a strict policy: on the page and in the scope of an AudioWorklet with both modules,
// and as sound through the package's own worklet.
//   node replay_browser.mjs REPLAY.txt ROOM.wav
import assert from 'node:assert/strict';

import {launch, open, serve} from './browser.mjs';

const [list, wav] = process.argv.slice(2);
const {server, origin} = await serve({'/replay.txt': list, '/room.wav': wav});
const browser = await launch();

async function main() {
  const {page, wrong} = await open(browser, `${origin}/tests/page.html`);
  const forms = {
    'page, without vectors': () => page.evaluate(() => onPage(false)),
    'page, with vectors': () => page.evaluate(() => onPage(true)),
    'worklet, without vectors': () => page.evaluate(() => inWorklet(false)),
    'worklet, with vectors': () => page.evaluate(() => inWorklet(true)),
    'sound through the worklet': () => page.evaluate(() => throughNode()),
  };
  for (const [name, run] of Object.entries(forms)) {
    const result = await run();
    if (!result.endsWith('the same bits')) return result;
    assert.ok(parseInt(result.slice('replay: '.length)) > 0, name);
    console.log(`${result} (Chromium: ${name})`);
  }
  assert.match(await page.evaluate(() => refused(96000, {})), /runs at 96000 Hz, not one of 8000, .*48000 Hz: make it/);
  assert.match(await page.evaluate(() => refused(48000, {stream: {pause: 20}})), /pause is not/);
  const {behind, different} = await page.evaluate(() => continuous({audio: 'raw'}));
  assert.ok(behind >= 0 && behind <= 800, `the output is ${behind} samples behind`);
  assert.equal(different, -1);
  assert.deepEqual(wrong, []);
  return null;
}

const found = await main().finally(async () => {
  await browser.close();
  server.close();
});
if (found) {
  console.log(found);
  process.exit(1);
}
