// Builds dist/ from the modules that build.sh has put there: the scripts, and their types; and the demo page.
//   node build.mjs DEMO
import {build} from 'esbuild';
import {execFileSync} from 'node:child_process';
import {cp} from 'node:fs/promises';
import {join} from 'node:path';
import {fileURLToPath} from 'node:url';

const here = (name) => fileURLToPath(new URL(name, import.meta.url));

const kCommon = {
  bundle: true,
  format: 'esm',
  target: ['es2022'],
  charset: 'ascii',
  legalComments: 'none',
};
await build({
  ...kCommon,
  entryPoints: ['browser', 'node', 'inline', 'audio-node', 'worklet'].map((name) => here(`src/${name}.ts`)),
  outdir: here('dist'),
  platform: 'neutral',
  external: ['node:*'],
  loader: {'.wasm': 'base64', '.model': 'base64'},
});
execFileSync(process.execPath, [here('node_modules/typescript/bin/tsc'), '-p', here('.')], {stdio: 'inherit'});

// In one folder, where the scripts find the package's files beside themselves.
const [demo] = process.argv.slice(2);
await build({...kCommon, entryPoints: [here('demo/main.js')], outdir: demo, minify: true});
const files = ['dist/vask.wasm', 'dist/vask-simd.wasm', 'dist/detector.model', 'dist/worklet.js'];
for (const file of [...files, 'demo/index.html', 'demo/main.css']) await cp(here(file), join(demo, file.split('/')[1]));
