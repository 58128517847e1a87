// The page in a real browser: node browser.test.mjs JTW FOLDER GEAR
// JTW is the program, with the page beside it; FOLDER takes the pages and screenshots; GEAR is a model. Exit
// code 77 where there is no browser.

import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { createHash } from 'node:crypto';
import { copyFileSync, existsSync, mkdirSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { after, before, test } from 'node:test';
import { launch } from './chromium.mjs';

const [jtw, folder, gear] = process.argv.slice(2);
rmSync(folder, { recursive: true, force: true });
mkdirSync(folder, { recursive: true });

const run = (...words) => execFileSync(jtw, [...words, '--quiet'], { cwd: folder, encoding: 'utf8' });
const hostile = '<img src=x onerror="document.title=1">';

/** A box of 10 x 20 x 40 mm, and its double beside it, 30 mm along x; a note. */
function makeComponent(name) {
  const corners = [0, 1, 2, 3, 4, 5, 6, 7].map((i) => `v ${(i & 1) * 10} ${((i >> 1) & 1) * 20} ${(i >> 2) * 40}`);
  const faces = ['1 3 4 2', '5 6 8 7', '1 2 6 5', '3 7 8 4', '1 5 7 3', '2 4 8 6'].map((face) => `f ${face}`);
  writeFileSync(`${folder}/Box.obj`, ['o Box', ...corners, ...faces, ''].join('\n'));
  run('import', 'Box.obj', name);
  run('set', name, '2', 'name=Box', 'color=#c02020');
  run('clone', name, '2', '--key', '3', 'name=Twin', 'loc=30,0,0', 'color=#20a020');
  run('add', name, 'block', '--key', '6', '--parent', '1', '--name', 'Stand', '--loc', '15,-5,10,0,0,90');
  run('add', name, 'annotation', '--key', '4', '--parent', '1', '--type', 'Note', '--name', 'Hint', '--text', 'mind the gap');
  run('add', name, 'frame', '--key', '5', '--parent', '6', '--name', hostile, '--loc', '5,0,0');
}

let browser;
let page;
const noise = [];

async function open(file) {
  await page.goto(`file://${folder}/${file}`);
  await page.waitForSelector('html[data-state]');
}
const status = () => page.textContent('#status');
const selected = () => page.locator('[role=treeitem][aria-selected=true] .name').allTextContents();
const digest = (bytes) => createHash('sha256').update(bytes).digest('hex');
/** The picture once it no longer changes, without the ring of the focus. */
async function picture() {
  await page.waitForSelector('canvas[data-state=still]');
  await page.evaluate(() => document.activeElement?.blur());
  for (let last = ''; ; ) {
    // A busy machine may show an older picture for a while: what was drawn is waited for.
    await page.evaluate(async () => {
      const frame = () => new Promise((done) => requestAnimationFrame(done));
      await frame();
      await frame();
      document.querySelector('#canvas').getContext('webgl2').finish();
      await frame();
      await frame();
    });
    const next = digest(await page.locator('#picture').screenshot());
    if (next === last) return next;
    last = next;
  }
}
/** Where a point of the boxes is seen from the front, in pixels of the page. */
async function fromFront(x, z) {
  const box = await page.locator('#canvas').boundingBox();
  const scale = 0.92 * Math.min(box.width / 40, box.height / 40);
  return [box.x + box.width / 2 + (x - 20) * scale, box.y + box.height / 2 - (z - 20) * scale];
}

before(async () => {
  makeComponent('cell.kpak');
  run('view', 'cell.kpak');
  browser = await launch();
  page = await browser.newPage({ viewport: { width: 1200, height: 700 } });
  page.on('console', (message) => noise.push(message.text()));
  page.on('pageerror', (error) => noise.push(error.message));
  page.on('request', (request) => {
    if (!/^(file:|data:,$)/.test(request.url())) noise.push(`fetches ${request.url()}`);
  });
});
after(() => browser?.close());

test('tree and picture select each other', async () => {
  await open('cell.html');
  assert.deepEqual(await page.locator('[role=treeitem] .name').allTextContents(), ['cell', 'Box', 'Twin', 'Stand', 'Hint']);
  await page.keyboard.press('p'); // the note is in front of the box
  await page.keyboard.press('2');
  await page.mouse.click(...(await fromFront(35, 20)));
  assert.deepEqual(await selected(), ['Twin']);
  assert.match(await page.textContent('#properties'), /Position30 mm, 0 mm, 0 mm/);
  await page.mouse.click(...(await fromFront(20, 20))); // between them
  assert.deepEqual(await selected(), []);
  const plain = await picture();
  await page.getByRole('treeitem', { name: 'Box' }).click();
  assert.equal(await status(), 'Selected: entity Box');
  assert.notEqual(await picture(), plain);
});

test('what is hidden is neither seen nor hit', async () => {
  await open('cell.html');
  await page.keyboard.press('p');
  await page.keyboard.press('2');
  const all = await picture();
  await page.getByRole('button', { name: 'Hide Twin' }).click();
  const [x, y] = await fromFront(35, 20);
  await page.mouse.click(x, y);
  assert.deepEqual(await selected(), []);
  assert.notEqual(await picture(), all);
  await page.keyboard.press('a');
  assert.equal(await picture(), all);
  await page.mouse.click(x, y);
  await page.keyboard.press('i');
  await page.keyboard.press('Escape');
  await page.mouse.click(...(await fromFront(5, 20)));
  assert.deepEqual(await selected(), []);
});

test('a frame is where the objects above it place it', async () => {
  await open('cell.html');
  await page.keyboard.press('p');
  await page.keyboard.press('2');
  await page.mouse.click(...(await fromFront(15, 10.4))); // its z axis; turned, 5 along its block's x are along y
  assert.deepEqual(await selected(), [hostile]);
  assert.match(await page.textContent('#properties'), /Path\/cell\/Stand\//);
  await page.keyboard.press('r');
  await page.mouse.click(...(await fromFront(15, 10.4)));
  assert.deepEqual(await selected(), []);
});

test('the distance of two corners is exact, in any unit', async () => {
  await open('cell.html');
  await page.keyboard.press('p');
  await page.keyboard.press('2');
  await page.getByRole('button', { name: 'Measure' }).click();
  const near = async (x, z, dx, dy) => (await fromFront(x, z)).map((at, i) => at + [dx, dy][i]);
  await page.mouse.click(...(await near(0, 0, 3, -3)));
  await page.mouse.click(...(await near(40, 40, -3, 3)));
  assert.equal(await status(), 'Distance: 56.5685 mm, x 40 mm  y 0 mm  z 40 mm');
  await page.getByLabel('Unit').selectOption('Inches');
  assert.match(await page.locator('#distance').textContent(), /^2.22711 in/);
});

test('a section cuts the picture and what is hit', async () => {
  await open('cell.html');
  await page.keyboard.press('p');
  await page.keyboard.press('2');
  const whole = await picture();
  await page.keyboard.press('x');
  assert.notEqual(await picture(), whole);
  const place = await fromFront(35, 20);
  await page.mouse.click(...place);
  assert.deepEqual(await selected(), []);
  await page.getByLabel('other side').check();
  await page.mouse.click(...place);
  assert.deepEqual(await selected(), ['Twin']);
});

test('the keyboard alone is enough', async () => {
  await open('cell.html');
  const tree = page.getByRole('tree', { name: 'Objects' });
  await tree.focus();
  await page.keyboard.press('ArrowDown');
  await page.keyboard.press('ArrowDown');
  await page.keyboard.press('Enter');
  assert.deepEqual(await selected(), ['Twin']);
  assert.equal(await tree.getAttribute('aria-activedescendant'), 'place-2');
  await page.keyboard.press('ArrowLeft');
  await page.keyboard.press('ArrowLeft');
  assert.equal(await page.getByRole('treeitem', { expanded: false }).count(), 1);
  assert.equal(await page.getByRole('treeitem').count(), 1);
  await page.keyboard.press('/');
  await page.keyboard.type('gap MIND');
  assert.equal(await status(), '1 object found');
  await page.keyboard.press('Enter');
  assert.deepEqual(await selected(), ['Hint']);
  await page.keyboard.press('Escape');
  const before = await picture();
  await page.locator('#canvas').focus();
  await page.keyboard.press('ArrowLeft');
  assert.notEqual(await picture(), before);
  const light = await picture();
  await page.keyboard.press('t');
  assert.notEqual(await picture(), light);
  await page.screenshot({ path: `${folder}/cell.png` });
});

test('a comparison names what changed', async () => {
  makeComponent('new.kpak');
  run('mv', 'new.kpak', '3', '--parent', '1');
  run('set', 'new.kpak', '3', 'loc=30,0,25');
  run('rm', 'new.kpak', '2');
  run('view', 'new.kpak', '--compare', 'cell.kpak');
  await open('new.html');
  assert.match(await page.locator('#legend').innerText(), /removed 1\s+moved 1/);
  await page.getByRole('treeitem', { name: 'Removed' }).click();
  await page.locator('#tree').press('ArrowRight');
  assert.deepEqual(await page.locator('[role=treeitem] .badge').allTextContents(), ['moved', 'removed']);
  await page.screenshot({ path: `${folder}/new.png` });
});

test('a page with damaged data says so', async () => {
  const text = readFileSync(`${folder}/cell.html`, 'utf8');
  const at = text.indexOf('id="data">') + 200;
  writeFileSync(`${folder}/damaged.html`, `${text.slice(0, at)}AAAA${text.slice(at + 4)}`);
  await open('damaged.html');
  assert.match(await page.getByRole('alert').textContent(), /^The model cannot be shown: /);
});

test('the engine is up', async (context) => {
  const model = '/usr/share/assimp/models/glTF2/2CylinderEngine-glTF-Binary/2CylinderEngine.glb';
  if (!existsSync(model)) return context.skip('no model');
  run('import', model, 'engine.kpak');
  run('view', 'engine.kpak');
  await open('engine.html');
  assert.match(await status(), /83 objects, 110,336 triangles/);
  await page.screenshot({ path: `${folder}/engine.png` });
});

test('images lie on surfaces', async (context) => {
  const model = '/usr/share/assimp/models/glTF2/BoxTextured-glTF-Binary/BoxTextured.glb';
  if (!existsSync(model)) return context.skip('no model');
  run('import', model, 'image.kpak');
  run('view', 'image.kpak');
  run('view', 'image.kpak', '--textures', 'off', '-o', 'plain.html');
  await open('plain.html');
  const plain = await picture();
  await open('image.html');
  assert.notEqual(await picture(), plain);
  await page.screenshot({ path: `${folder}/image.png` });
});

test('two thousand parts, a million triangles', async (context) => {
  const items = Array.from({ length: 2000 }, (_, i) => ({ source: 'Wheel.obj', name: `Wheel ${i}`,
    place: { translate: [(i % 20) * 70, (Math.floor(i / 20) % 10) * 90, Math.floor(i / 200) * 40] } }));
  copyFileSync(gear, `${folder}/Wheel.obj`);
  writeFileSync(`${folder}/hall.json`, JSON.stringify({ schema: 'jtw.plan/1', name: 'Hall', items }));
  run('assemble', 'hall.json', 'hall.jt');
  run('view', 'hall.jt');
  const start = performance.now();
  await open('hall.html');
  assert.match(await status(), /1,024,000 triangles/);
  const up = performance.now() - start;
  assert.ok(up < 20_000, `up after ${up} ms`); // three seconds on a machine that does nothing else
  const pictures = await page.evaluate(async () => {
    const canvas = document.getElementById('canvas');
    const gl = canvas.getContext('webgl2');
    const turn = async () => {
      canvas.dispatchEvent(new KeyboardEvent('keydown', { key: 'ArrowLeft', bubbles: true }));
      await new Promise((drawn) => requestAnimationFrame(drawn));
      gl.readPixels(0, 0, 1, 1, gl.RGBA, gl.UNSIGNED_BYTE, new Uint8Array(4));
    };
    await turn(); // the first picture prepares the others
    const start = performance.now();
    let count = 0;
    for (; performance.now() - start < 2000; ++count) await turn();
    return count / 2;
  });
  context.diagnostic(`up after ${Math.round(up)} ms, ${pictures} pictures a second while it turns`);
  await page.waitForSelector('canvas[data-state=still]');
  await page.screenshot({ path: `${folder}/hall.png` });
});

test('nothing was fetched, and the console is empty', () => {
  assert.deepEqual(noise, []);
});
