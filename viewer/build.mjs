// Builds the page that the command fills in: one file, minified.
//   node build.mjs                writes tools/vask/jobs/report/template.html
//   node build.mjs --output FILE  writes FILE
//   node build.mjs --check        fails if that file differs from what would be written
import {execFileSync} from 'node:child_process';
import {existsSync, mkdtempSync, readFileSync, rmSync, writeFileSync} from 'node:fs';
import {tmpdir} from 'node:os';
import {join} from 'node:path';
import {fileURLToPath} from 'node:url';
import {parseArgs} from 'node:util';

const here = (name) => fileURLToPath(new URL(name, import.meta.url));
const kTarget = here('../tools/vask/jobs/report/template.html');

// npm's program, or the one on the path, as Debian's package has it.
const local = here('node_modules/.bin/esbuild');
const kEsbuild = existsSync(local) ? local : 'esbuild';

function bundle() {
  const folder = mkdtempSync(join(tmpdir(), 'viewer-'));
  try {
    const flags = ['--bundle', '--minify', '--format=iife', '--target=chrome110,firefox115,safari16.4', '--charset=ascii'];
    execFileSync(kEsbuild, ['src/main.js', ...flags, '--legal-comments=none', '--log-level=warning', `--outdir=${folder}`], {
      cwd: here('.'),
      stdio: 'inherit',
    });
    const textOf = (name) => readFileSync(join(folder, name), 'utf8').trim();
    return {script: textOf('main.js'), style: textOf('main.css')};
  } finally {
    rmSync(folder, {recursive: true});
  }
}

function page() {
  const {script, style} = bundle();
  const html = readFileSync(here('index.html'), 'utf8');
  // As functions, so that a "$" in the text has no meaning. "</script" ends a script wherever it occurs.
  return html
    .replace('/*style*/', () => style)
    .replace('/*script*/', () => script.replaceAll('</script', '<\\/script'));
}

const {values: options} = parseArgs({options: {check: {type: 'boolean'}, output: {type: 'string', default: kTarget}}});
const built = page();
if (!options.check) {
  writeFileSync(options.output, built);
} else if (built !== readFileSync(options.output, 'utf8')) {
  console.error('tools/vask/jobs/report/template.html is not what viewer/ builds: run npm run build there');
  process.exitCode = 1;
}
