// Builds the page that the command fills in: one file, minified.
//   node build.mjs          writes tools/vask/jobs/report/template.html
//   node build.mjs --check  fails if that file differs from what would be written
import {build} from 'esbuild';
import {readFile, writeFile} from 'node:fs/promises';
import {fileURLToPath} from 'node:url';

const here = (name) => fileURLToPath(new URL(name, import.meta.url));
const kTarget = here('../tools/vask/jobs/report/template.html');

async function bundle() {
  const result = await build({
    entryPoints: [here('src/main.js')],
    absWorkingDir: here('.'),
    bundle: true,
    minify: true,
    write: false,
    outdir: here('out'),
    format: 'iife',
    target: ['chrome110', 'firefox115', 'safari16.4'],
    charset: 'ascii',
    legalComments: 'none',
  });
  const textOf = (ending) => result.outputFiles.find(({path}) => path.endsWith(ending)).text.trim();
  return {script: textOf('.js'), style: textOf('.css')};
}

async function page() {
  const {script, style} = await bundle();
  const html = await readFile(here('index.html'), 'utf8');
  // As functions, so that a "$" in the text has no meaning. "</script" ends a script wherever it occurs.
  return html
    .replace('/*style*/', () => style)
    .replace('/*script*/', () => script.replaceAll('</script', '<\\/script'));
}

const built = await page();
if (!process.argv.includes('--check')) {
  await writeFile(kTarget, built);
} else if (built !== (await readFile(kTarget, 'utf8'))) {
  console.error('tools/vask/jobs/report/template.html is not what viewer/ builds: run npm run build there');
  process.exitCode = 1;
}
