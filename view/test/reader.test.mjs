// The page that opens JT files in the browser: node reader.test.mjs JTW SITE FOLDER GEAR
// JTW is the program, SITE the folder that view/wasm/build made; FOLDER takes files and screenshots; GEAR is a
// model. Exit code 77 where there is no browser.

import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import { copyFileSync, mkdirSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { createServer } from 'node:http';
import { after, before, test } from 'node:test';
import { launch } from './chromium.mjs';

const [jtw, site, folder, gear] = process.argv.slice(2);
rmSync(folder, { recursive: true, force: true });
mkdirSync(folder, { recursive: true });

const run = (...words) => spawnSync(jtw, words, { cwd: folder, encoding: 'utf8' });
const types = { html: 'text/html', js: 'text/javascript', css: 'text/css', wasm: 'application/wasm' };

let server;
let browser;
let page;
const noise = [];

async function open(...names) {
  await page.locator('#file').setInputFiles(names.map((name) => `${folder}/${name}`));
  await page.waitForSelector('html[data-state=ready], html[data-state=failed]', { timeout: 60_000 });
}

before(async () => {
  copyFileSync(gear, `${folder}/Wheel.obj`);
  const items = Array.from({ length: 500 }, (_, i) => ({ source: 'Wheel.obj', name: `Wheel ${i}`, place: { translate: [70 * i, 0, 0] } }));
  writeFileSync(`${folder}/hall.json`, JSON.stringify({ schema: 'jtw.plan/1', name: 'Hall', items }));
  for (const version of ['9.5', '10.0']) assert.equal(run('assemble', 'hall.json', `hall-${version}.jt`, '--version', version).status, 0);
  server = createServer((request, response) => {
    const name = request.url === '/' ? 'index.html' : request.url.slice(1);
    if (!/^[a-z]+\.[a-z]+$/.test(name)) noise.push(`asks for ${request.url}`);
    response.setHeader('Content-Type', types[name.split('.')[1]] ?? 'text/plain');
    response.end(readFileSync(`${site}/${name}`));
  });
  await new Promise((listening) => server.listen(0, '127.0.0.1', listening));
  browser = await launch();
  page = await browser.newPage({ viewport: { width: 1200, height: 700 } });
  page.on('console', (message) => noise.push(message.text()));
  page.on('pageerror', (error) => noise.push(error.message));
  page.on('request', (request) => {
    if (request.method() !== 'GET') noise.push(`sends ${request.url()}`);
  });
  await page.goto(`http://127.0.0.1:${server.address().port}/`);
});
after(async () => {
  await browser?.close();
  server?.close();
});

test('a file is shown as the program shows it', async (context) => {
  for (const name of ['hall-9.5.jt', 'hall-10.0.jt']) {
    const started = performance.now();
    await open(name);
    const up = performance.now() - started;
    assert.equal(await page.locator('#message').isVisible(), false, await page.textContent('#message'));
    assert.match(await page.textContent('#status'), /256,000 triangles/);
    assert.equal(await page.textContent('#title'), name);
    const begun = performance.now();
    run('view', name, '-o', 'native.html', '-j', '1');
    const native = performance.now() - begun;
    const time = Number(await page.evaluate(() => document.documentElement.dataset.readTime));
    context.diagnostic(`${name}: read in ${Math.round(time)} ms, by the program in ${Math.round(native)} ms, up after ${Math.round(up)} ms`);
  }
  await page.getByRole('tree').press('ArrowDown');
  await page.getByRole('tree').press('Enter');
  assert.equal(await page.locator('[role=treeitem][aria-selected=true]').count(), 1);
  await page.screenshot({ path: `${folder}/reader.png` });
});

test('damage is the same error as that of the program', async () => {
  const whole = readFileSync(`${folder}/hall-9.5.jt`);
  const cases = { 'cut.jt': whole.subarray(0, 900), 'none.jt': Buffer.from('no JT file at all'), 'empty.jt': Buffer.alloc(0) };
  const turned = Buffer.from(whole);
  turned.fill(0x5a, 180, 300);
  cases['turned.jt'] = turned;
  for (const [name, bytes] of Object.entries(cases)) {
    writeFileSync(`${folder}/${name}`, bytes);
    const { status, stderr } = run('view', name, '-o', 'native.html');
    assert.equal(status, 3, name);
    await open(name);
    const shown = (await page.getByRole('alert').textContent()).replace('The model cannot be shown: ', '');
    assert.equal(shown, stderr.replace('jtw: error: ', '').trim());
  }
  await open('hall-10.0.jt'); // and the page is not spoiled
  assert.match(await page.textContent('#status'), /256,000 triangles/);
});

test('nothing was sent, and the console is empty', () => assert.deepEqual(noise, []));
