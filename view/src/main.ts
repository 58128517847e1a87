// Puts the page together: what its controls and keys do.

import * as THREE from 'three';
import { decodePage, type PageData } from './data.js';
import { Drawing } from './drawing.js';
import type { LineSet } from './lineset.js';
import { Measure } from './measure.js';
import { Model } from './model.js';
import { acceptFiles, readFiles } from './open.js';
import { showProperties } from './properties.js';
import { startTheme } from './theme.js';
import { TreeView } from './tree.js';
import { lengthText, unitNamed, units } from './units.js';
import { Viewer, type Axis } from './viewer.js';

function element<T extends HTMLElement>(id: string): T {
  return document.getElementById(id) as T;
}

const counted = (count: number, noun: string) => `${count.toLocaleString('en')} ${noun}${count === 1 ? '' : 's'}`;

/** Shows data in the page, which is as it was loaded. */
class App {
  readonly #end = new AbortController();
  readonly #model: Model;
  readonly #viewer = new Viewer(element('canvas'));
  readonly #drawing: Drawing;
  readonly #tree: TreeView;
  readonly #measure: Measure;
  #unit;
  #found: number[] = [];
  #isMeasuring = false;
  #pressedAt = { x: 0, y: 0 };

  constructor(data: PageData) {
    this.#model = new Model(data);
    this.#drawing = new Drawing(data, this.#model);
    this.#tree = new TreeView(element('tree'), this.#model);
    this.#measure = new Measure(this.#viewer);
    this.#unit = unitNamed(this.#model.places[0].row.unit);
    document.title = `${data.document}: Jtw`;
    element('title').textContent = data.document;
    this.#fillControls(data);
    this.#listen();
    startTheme(element<HTMLButtonElement>('theme'), (isDark) => {
      this.#drawing.setDark(isDark);
      this.#viewer.draw();
    });
    this.#viewer.show(this.#drawing);
    this.#showProperties();
    const objects = this.#model.places.filter((place) => place.same === place.index).length;
    this.#say(`${counted(objects, 'object')}, ${counted(this.#drawing.triangleCount, 'triangle')}`);
  }

  /** To be called before the page is put back. */
  dispose(): void {
    this.#end.abort();
    this.#viewer.dispose();
  }

  #fillControls(data: PageData): void {
    for (const { name, sign } of units)
      element<HTMLSelectElement>('unit').add(new Option(sign, name, false, name === this.#unit.name));
    element('pmi').hidden = this.#drawing.annotations.count === 0;
    element('frames').hidden = this.#drawing.frames.count === 0;
    const legend = element('legend');
    if (!data.comparison) return;
    legend.hidden = false;
    for (const [name, count] of Object.entries(data.comparison)) {
      const entry = document.createElement('li');
      entry.className = `badge ${name}`;
      entry.textContent = `${name} ${count}`;
      legend.append(entry);
    }
  }

  #listen(): void {
    this.#model.selectionChanged.on(() => this.#onSelection());
    this.#model.visibilityChanged.on(() => {
      this.#drawing.showVisible();
      this.#viewer.draw();
    });
    this.#tree.activated.on(() => this.#fit());
    this.#viewer.drawn.on(() => this.#placeDistance());
    const { canvas } = this.#viewer;
    canvas.addEventListener('pointerdown', ({ clientX, clientY }) => (this.#pressedAt = { x: clientX, y: clientY }));
    canvas.addEventListener('click', (event) => this.#onPick(event));
    canvas.addEventListener('dblclick', () => this.#fit());
    canvas.addEventListener('keydown', (event) => this.#onCanvasKey(event));
    document.addEventListener('keydown', (event) => this.#onKey(event), { signal: this.#end.signal });
    const buttons: Record<string, () => void> = {
      fit: () => this.#fit(),
      hide: () => this.#toggleHidden(),
      isolate: () => this.#isolate(),
      'show-all': () => this.#model.showAll(),
      measure: () => this.#setMeasuring(!this.#isMeasuring),
      pmi: () => this.#toggle('pmi', this.#drawing.annotations),
      frames: () => this.#toggle('frames', this.#drawing.frames),
      help: () => element<HTMLDialogElement>('keys').showModal(),
    };
    for (const [id, act] of Object.entries(buttons)) element(id).addEventListener('click', act);
    element('view').addEventListener('change', () => this.#viewer.lookFrom(element<HTMLSelectElement>('view').value));
    element('unit').addEventListener('change', () => this.#setUnit(element<HTMLSelectElement>('unit').value));
    for (const id of ['section-axis', 'section-at', 'section-flip'])
      element(id).addEventListener('input', () => this.#cut());
    const search = element<HTMLInputElement>('search');
    search.addEventListener('input', () => this.#search(search.value));
    search.addEventListener('keydown', (event) => this.#onSearchKey(event));
  }

  #say(text: string): void {
    element('status').textContent = text;
  }

  #onSelection(): void {
    this.#drawing.showSelection();
    this.#viewer.draw();
    this.#showProperties();
    const place = this.#model.places[this.#model.selected];
    this.#say(place ? `Selected: ${place.row.kind} ${place.name}` : 'Nothing is selected.');
  }

  #showProperties(): void {
    showProperties(element('properties'), this.#model, this.#unit);
  }

  #setUnit(name: string): void {
    this.#unit = unitNamed(name);
    this.#showProperties();
    this.#showDistance();
  }

  // --- What is seen

  #fit(): void {
    const place = this.#model.places[this.#model.selected];
    const own = place ? this.#drawing.boxOf(place.index, place.end) : new THREE.Box3();
    this.#viewer.fit(own.isEmpty() ? this.#drawing.boxOf(0, Infinity) : own);
  }

  #toggleHidden(): void {
    const index = this.#model.selected >= 0 ? this.#model.selected : this.#tree.active;
    this.#model.setHidden(index, this.#model.isVisible(index));
    const { name } = this.#model.places[index];
    this.#say(`${name} is ${this.#model.isVisible(index) ? 'shown' : 'hidden'}.`);
  }

  #isolate(): void {
    if (this.#model.selected < 0) return;
    this.#model.isolate(this.#model.selected);
    this.#say(`Only ${this.#model.places[this.#model.selected].name} is shown.`);
  }

  #toggle(id: string, { object }: LineSet): void {
    object.visible = !object.visible;
    element(id).setAttribute('aria-pressed', String(object.visible));
    this.#viewer.draw();
  }

  #cut(): void {
    const axis = element<HTMLSelectElement>('section-axis').value as Axis | '';
    element('section-place').hidden = element('section-side').hidden = axis === '';
    const share = element<HTMLInputElement>('section-at').valueAsNumber / 1000;
    this.#viewer.cut(axis || 'x', axis ? share : null, element<HTMLInputElement>('section-flip').checked);
  }

  #cutAcross(axis: Axis): void {
    const select = element<HTMLSelectElement>('section-axis');
    select.value = select.value === axis ? '' : axis;
    this.#cut();
    this.#say(select.value ? `Section across ${axis}` : 'No section');
  }

  // --- Picking

  #onPick(event: MouseEvent): void {
    const wasDragged = Math.hypot(event.clientX - this.#pressedAt.x, event.clientY - this.#pressedAt.y) > 4;
    if (wasDragged) return;
    const box = this.#viewer.canvas.getBoundingClientRect();
    const hit = this.#viewer.pick(event.clientX - box.left, event.clientY - box.top);
    if (!this.#isMeasuring) {
      this.#model.select(hit?.place ?? -1);
    } else if (hit) {
      this.#measure.add(hit);
      this.#showDistance();
    }
  }

  #setMeasuring(on: boolean): void {
    this.#isMeasuring = on;
    element('measure').setAttribute('aria-pressed', String(on));
    this.#measure.clear();
    this.#showDistance();
    this.#say(on ? 'Measure: click two points.' : '');
  }

  #showDistance(): void {
    const output = element<HTMLOutputElement>('distance');
    const difference = this.#measure.difference();
    output.hidden = !difference;
    if (!difference) return;
    const text = (length: number) => lengthText(length, this.#unit, 6);
    output.value = `${text(difference.length())}\n${['x', 'y', 'z']
      .map((axis) => `${axis} ${text(difference[axis as Axis])}`).join('  ')}`;
    this.#say(`Distance: ${output.value.replace('\n', ', ')}`);
    this.#placeDistance();
  }

  #placeDistance(): void {
    const [a, b] = this.#measure.points;
    if (!b) return;
    const { x, y } = this.#viewer.onCanvas(a.clone().add(b).multiplyScalar(0.5));
    const output = element('distance');
    output.style.left = `${x}px`;
    output.style.top = `${y}px`;
  }

  // --- Search and keys

  #search(query: string): void {
    this.#found = this.#model.find(query);
    this.#tree.filter(query.trim() === '' ? null : this.#found);
    this.#say(query.trim() === '' ? '' : `${counted(this.#found.length, 'object')} found`);
  }

  #onSearchKey(event: KeyboardEvent): void {
    if (event.key === 'Escape') {
      element<HTMLInputElement>('search').value = '';
      this.#search('');
      element('tree').focus();
    } else if (event.key === 'Enter' && this.#found.length > 0) {
      const next = this.#found.find((index) => index > this.#model.selected) ?? this.#found[0];
      this.#model.select(next);
      this.#fit();
    }
  }

  #onCanvasKey(event: KeyboardEvent): void {
    const step = 0.1;
    const moves: Record<string, () => void> = {
      ArrowLeft: () => this.#viewer.turn(-step, 0),
      ArrowRight: () => this.#viewer.turn(step, 0),
      ArrowUp: () => this.#viewer.turn(0, step),
      ArrowDown: () => this.#viewer.turn(0, -step),
      '+': () => this.#viewer.zoomBy(1.2),
      '=': () => this.#viewer.zoomBy(1.2),
      '-': () => this.#viewer.zoomBy(1 / 1.2),
    };
    const move = moves[event.key];
    if (!move || event.ctrlKey || event.metaKey) return;
    event.preventDefault();
    move();
  }

  #onKey(event: KeyboardEvent): void {
    if (event.ctrlKey || event.altKey || event.metaKey || event.defaultPrevented) return;
    if ((event.target as Element).closest('input, select, dialog')) return;
    const views = ['iso', 'front', 'back', 'left', 'right', 'top', 'bottom'];
    const acts: Record<string, () => void> = {
      '/': () => element('search').focus(),
      f: () => this.#fit(),
      h: () => this.#toggleHidden(),
      i: () => this.#isolate(),
      a: () => this.#model.showAll(),
      m: () => this.#setMeasuring(!this.#isMeasuring),
      p: () => this.#toggle('pmi', this.#drawing.annotations),
      r: () => this.#toggle('frames', this.#drawing.frames),
      t: () => element('theme').click(),
      x: () => this.#cutAcross('x'),
      y: () => this.#cutAcross('y'),
      z: () => this.#cutAcross('z'),
      '?': () => element<HTMLDialogElement>('keys').showModal(),
      Escape: () => {
        if (this.#isMeasuring) this.#setMeasuring(false);
        else this.#model.select(-1);
      },
    };
    views.forEach((view, i) => {
      acts[String(i + 1)] = () => {
        element<HTMLSelectElement>('view').value = view;
        this.#viewer.lookFrom(view);
      };
    });
    const act = acts[event.key.length === 1 ? event.key.toLowerCase() : event.key];
    if (!act) return;
    event.preventDefault();
    act();
  }
}

/** What is on the page: nothing, a model, or the reason why there is none. */
class Page {
  readonly #empty = document.body.cloneNode(true);
  readonly #hasReader = 'reader' in document.documentElement.dataset;
  #app: App | null = null;
  #accepts = false;

  start(): void {
    const text = element('data').textContent ?? '';
    if (!this.#hasReader) void this.#show(async () => text);
    else this.#offer('Drop a JT file here, or open one. It is read in this browser; nothing is sent.');
  }

  /** @param textOf what a page holds as its data */
  async #show(textOf: () => Promise<string>, warnings: string[] = []): Promise<void> {
    const message = element('message');
    try {
      const text = await textOf();
      if (!/^[A-Za-z0-9+/]/.test(text)) throw new Error('There is no model in this page.');
      this.#app = new App(await decodePage(text));
      message.hidden = true;
      if (warnings.length > 0) element('status').textContent = warnings.join(' ');
      this.#setState('ready');
    } catch (error) {
      this.#fail(error instanceof Error ? error.message : String(error));
    }
  }

  #fail(reason: string): void {
    element('message').hidden = false;
    element('message').textContent = `The model cannot be shown: ${reason}`;
    this.#setState('failed');
  }

  #setState(state: string): void {
    document.documentElement.dataset.state = state;
  }

  #offer(message: string): void {
    element('open').hidden = false;
    element('message').textContent = message;
    this.#setState('empty');
    if (!this.#accepts) acceptFiles((files) => void this.#open(files));
    this.#accepts = true;
    element('file').addEventListener('change', () => void this.#open([...(element<HTMLInputElement>('file').files ?? [])]));
  }

  async #open(files: File[]): Promise<void> {
    if (files.length === 0 || document.documentElement.dataset.state === 'reading') return;
    this.#app?.dispose();
    this.#app = null;
    document.body.replaceChildren(...this.#empty.cloneNode(true).childNodes);
    this.#offer(`Reading ${files[0].name}…`);
    this.#setState('reading');
    try {
      const { page, warnings, error, time } = await readFiles(files);
      document.documentElement.dataset.readTime = String(time);
      if (error) this.#fail(error);
      else await this.#show(async () => page ?? '', warnings);
    } catch (error) {
      this.#fail(error instanceof Error ? error.message : String(error));
    }
  }
}

new Page().start();
