// Makes the page.
//   node build.mjs OUT.html     one file with everything in it, for data of one model
//   node build.mjs --reader DIR a folder for a server of files, whose page opens the files that are dropped on it;
//                               DIR has the reader already: reader.js and reader.wasm
// A policy in the page lets nothing run but its own script, and nothing be sent.

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

function filled(values) {
  return readFileSync(folder + 'page.html', 'utf8').replace(/{{(\w+)}}/g, (_, name) => values[name]);
}

const style = await bundle('page.css');
const script = await bundle('main.ts');
if (/<!--|<\/?script/i.test(script)) throw new Error('the script holds markup that ends it');
const rest = "img-src data:; base-uri 'none'; form-action 'none'";
if (process.argv[2] === '--reader') {
  const out = process.argv[3];
  writeFileSync(`${out}/page.css`, style);
  writeFileSync(`${out}/page.js`, script);
  writeFileSync(`${out}/worker.js`, await bundle('worker.ts'));
  const page = filled({
    attributes: ' data-reader',
    style: '<link rel="stylesheet" href="page.css">',
    script: '<script src="page.js"></script>',
    policy: `default-src 'none'; script-src 'self' 'wasm-unsafe-eval'; worker-src 'self'; connect-src 'self'; style-src 'self'; ${rest}`,
  });
  writeFileSync(`${out}/index.html`, page.replace('<!--jtw-page-data-->', ''));
} else {
  const page = filled({
    attributes: '',
    style: `<style>${style}</style>`,
    script: `<script>${script}</script>`,
    policy: `default-src 'none'; script-src ${hashOf(script)}; style-src ${hashOf(style)}; ${rest}`,
  });
  writeFileSync(process.argv[2], page);
}
