// The demo page, with a file and with a microphone that plays a recording.
//   node --test demo_test.mjs; with SHOTS=FOLDER it leaves pictures there
import assert from 'node:assert/strict';
import {readFileSync} from 'node:fs';
import {join} from 'node:path';
import {after, before, test} from 'node:test';

import {here, launch, open, serve} from './browser.mjs';

const kFiles = ['index.html', 'main.css', 'main.js', 'worklet.js', 'vask.wasm', 'vask-simd.wasm', 'detector.model'];
const room = here('../../../samples/room.wav');
const phone = {viewport: {width: 390, height: 800}, colorScheme: 'dark'};
let server, origin, browser;

before(async () => {
  const demo = Object.fromEntries(kFiles.map((name) => [`/demo/${name}`, here(`../../../build/web/demo/${name}`)]));
  ({server, origin} = await serve(demo));
  const device = ['--use-fake-ui-for-media-stream', '--use-fake-device-for-media-stream'];
  browser = await launch([...device, `--use-file-for-fake-audio-capture=${room}`]);
});
after(async () => {
  await browser?.close();
  server?.close();
});

const utterances = (page) => page.locator('#utterances li');

async function picture(page, name) {
  if (process.env.SHOTS) await page.screenshot({path: join(process.env.SHOTS, `${name}.png`), fullPage: true});
}

test('a file: its utterances can be played and saved', async () => {
  const {page, wrong} = await open(browser, `${origin}/demo/index.html`, {viewport: {width: 1000, height: 800}});
  await page.setInputFiles('#file', room);
  await utterances(page).nth(3).waitFor({timeout: 20000});
  const [download] = await Promise.all([page.waitForEvent('download'), page.getByText('Save').last().click()]);
  assert.equal(download.suggestedFilename(), 'room-1.wav');
  const wav = readFileSync(await download.path());
  assert.equal(wav.readUInt32LE(24), 48000);
  assert.ok(wav.length > 2 * 48000);
  const seconds = await page.evaluate(async () => {
    const audio = document.querySelector('#utterances li:last-child audio');
    if (audio.readyState < 1) await new Promise((done) => audio.addEventListener('loadedmetadata', done));
    return audio.duration;
  });
  assert.equal(seconds.toFixed(3), ((wav.length - 44) / 96000).toFixed(3));
  await picture(page, 'file');
  await page.setInputFiles('#file', {name: 'text.wav', mimeType: 'audio/wav', buffer: Buffer.from('no sound')});
  await page.getByText('text.wav is not a sound').waitFor();
  assert.deepEqual(wrong, []);
  await page.close();
});

test('the microphone: utterances come while it runs, on a phone too', async () => {
  const {page, wrong} = await open(browser, `${origin}/demo/index.html`, phone);
  await page.getByRole('button', {name: 'Microphone'}).click();
  await utterances(page).first().waitFor({timeout: 20000});
  await picture(page, 'microphone');
  const wide = await page.evaluate(() => document.documentElement.scrollWidth > innerWidth);
  assert.equal(wide, false);
  await page.getByRole('button', {name: 'Stop'}).click();
  await page.getByRole('button', {name: 'Microphone'}).waitFor();
  assert.deepEqual(wrong, []);
  await page.close();
});
