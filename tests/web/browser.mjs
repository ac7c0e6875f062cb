// What every test of the command's reports needs to open them in a real browser.
import assert from 'node:assert/strict';
import {execFileSync} from 'node:child_process';
import {mkdtempSync, rmSync} from 'node:fs';
import {tmpdir} from 'node:os';
import {join} from 'node:path';
import {after, before} from 'node:test';
import {pathToFileURL} from 'node:url';
import {inflateSync} from 'node:zlib';

import {chromium} from 'playwright-core';

const {VASK_COMMAND, CHROMIUM} = process.env;
const kFlags = [
  '--headless',
  '--no-sandbox',
  '--disable-gpu',
  '--disable-quic',
  '--no-first-run',
  '--disable-background-networking',
  '--disable-component-update',
  '--disable-sync',
];

export const folder = mkdtempSync(join(tmpdir(), 'vask-report-'));
let browser;
before(async () => {
  browser = await chromium.launch({executablePath: CHROMIUM, args: kFlags});
});
after(async () => {
  await browser?.close();
  rmSync(folder, {recursive: true});
});

export const vask = (...args) => execFileSync(VASK_COMMAND, args, {encoding: 'utf8'});

// What was asked for before is drawn.
const drawn = (page) =>
  page.evaluate(() => new Promise((done) => requestAnimationFrame(() => requestAnimationFrame(done))));

let pages = 0;
export function report(...args) {
  const page = join(folder, `page-${++pages}.html`);
  vask('report', ...args, '-o', page);
  return page;
}

// Opens a report. A request or an error must never occur: `check`, called at the end of a test, fails it.
export async function open(file, options = {}) {
  const page = await browser.newPage({viewport: {width: 1400, height: 1000}, ...options});
  const wrong = [];
  page.on('request', (request) => /^(data|blob|file):/.test(request.url()) || wrong.push(request.url()));
  page.on(
    'console',
    (message) => ['error', 'warning'].includes(message.type()) && wrong.push(message.text())
  );
  page.on('pageerror', (error) => wrong.push(error.message));
  const started = performance.now();
  await page.goto(pathToFileURL(file).href);
  await page.waitForSelector('body[data-ready]');
  await drawn(page);
  const check = async () => {
    assert.deepEqual(wrong, []);
    await page.close();
  };
  return {page, check, seconds: (performance.now() - started) / 1000};
}

// What the command wrote into the page, with the segments of its first channel.
export async function dataOf(page) {
  const report = await page.evaluate(() => JSON.parse(document.getElementById('data-report').textContent));
  return {...report, segments: report.channels[0].segments};
}

export async function valuesOf(page, name) {
  return inflateSync(Buffer.from(await page.textContent(`#data-${name}-0`), 'base64'));
}

// The regions drawn for a channel as times, computed from their positions on the screen.
export async function regionsOf(page, seconds, channel = 0) {
  await drawn(page);
  return page.evaluate(
    ([length, channel]) => {
      const layer = document.querySelector(`.waveform[data-channel="${channel}"] .regions`);
      const {left, width} = layer.getBoundingClientRect();
      return [...layer.children].map((element) => {
        const box = element.getBoundingClientRect();
        return {
          kind: element.dataset.kind,
          label: element.textContent,
          pixel: length / width,
          start: ((box.left - left) / width) * length,
          end: ((box.right - left) / width) * length,
        };
      });
    },
    [seconds, channel]
  );
}

export async function waitFor(condition, what) {
  for (const end = Date.now() + 10000; Date.now() < end;) {
    if (await condition()) return;
    await new Promise((done) => setTimeout(done, 20));
  }
  assert.fail(`waited in vain until ${what}`);
}
