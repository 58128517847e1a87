// Makes the page: node build.mjs OUT.html
// One file with everything in it. Its policy lets nothing run but the script that is in it.

import { createHash } from 'node:crypto';
import { readFileSync, writeFileSync } from 'node:fs';
import { build } from 'esbuild';

const folder = new URL('src/', import.meta.url).pathname;

async function bundle(entry) {
  const result = await build({
    entryPoints: [folder + entry],
    bundle: true,
    minify: true,
    write: false,
    format: 'iife',
    target: 'es2022',
    legalComments: 'inline',
  });
  return result.outputFiles[0].text.trim();
}

function hashOf(text) {
  return `'sha256-${createHash('sha256').update(text).digest('base64')}'`;
}

const style = await bundle('page.css');
const script = await bundle('main.ts');
if (/<!--|<\/?script/i.test(script)) throw new Error('the script holds markup that ends it');
const values = {
  style,
  script,
  policy: `default-src 'none'; script-src ${hashOf(script)}; style-src ${hashOf(style)}; img-src data:; ` +
    "base-uri 'none'; form-action 'none'",
};
const page = readFileSync(folder + 'page.html', 'utf8').replace(/{{(\w+)}}/g, (_, name) => values[name]);
writeFileSync(process.argv[2], page);
