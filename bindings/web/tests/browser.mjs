// A browser, and a server of this package's folder and of the replay's inputs under a strict policy.
import {execFileSync} from 'node:child_process';
import {readFile} from 'node:fs/promises';
import {createServer} from 'node:http';
import {extname} from 'node:path';
import {fileURLToPath} from 'node:url';

import {chromium} from 'playwright-core';

const kTypes = {
  '.html': 'text/html',
  '.css': 'text/css',
  '.js': 'text/javascript',
  '.mjs': 'text/javascript',
  '.wasm': 'application/wasm',
};
const kPolicy =
  "default-src 'none'; script-src 'self' 'wasm-unsafe-eval'; connect-src 'self'; style-src 'self'; " +
  'media-src blob:; img-src data:';
const kFlags = ['--headless', '--no-sandbox', '--disable-gpu', '--no-first-run', '--disable-background-networking'];

const root = new URL('../', import.meta.url);

/** Serves `files` by path, and all else from the package's folder. */
export async function serve(files) {
  const server = createServer(async ({url}, response) => {
    const {pathname} = new URL(url, 'http://localhost');
    try {
      const body = await readFile(files[pathname] ?? new URL(`.${pathname}`, root));
      const type = kTypes[extname(pathname)] ?? 'application/octet-stream';
      response.writeHead(200, {'Content-Type': type, 'Content-Security-Policy': kPolicy}).end(body);
    } catch {
      response.writeHead(404).end();
    }
  });
  await new Promise((resolve) => server.listen(0, '127.0.0.1', resolve));
  return {server, origin: `http://127.0.0.1:${server.address().port}`};
}

export async function launch(flags = []) {
  const executablePath = process.env.CHROMIUM ?? execFileSync('which', ['chromium'], {encoding: 'utf8'}).trim();
  return chromium.launch({executablePath, args: [...kFlags, ...flags]});
}

/** Opens a page. `wrong` collects errors, and requests that go elsewhere. */
export async function open(browser, url, options = {}) {
  const page = await browser.newPage(options);
  const wrong = [];
  const {origin} = new URL(url);
  const isOurs = (address) => /^(data|blob):/.test(address) || address.startsWith(origin);
  page.on('request', (request) => isOurs(request.url()) || wrong.push(request.url()));
  page.on('console', (message) => ['error', 'warning'].includes(message.type()) && wrong.push(message.text()));
  page.on('pageerror', (error) => wrong.push(error.message));
  await page.goto(url);
  await page.waitForSelector('body[data-ready]', {state: 'attached'});
  return {page, wrong};
}

export const here = (name) => fileURLToPath(new URL(name, import.meta.url));
