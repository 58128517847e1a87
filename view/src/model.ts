// The tree of objects, and what of it is selected, hidden or found.

import { Change, PageData, type FurtherPlace, type ObjectRow } from './data.js';

/** An object in one of its places. Places are numbered parents first, so that what is below one
 * follows it, up to `end`. */
export interface Place {
  index: number;
  depth: number;
  parent: number;
  end: number;
  children: number[];
  name: string;
  /** The object, which its other places share. */
  row: ObjectRow;
  address: string | null;
  /** Number of the object's first place; its own for that. */
  same: number;
  /** Relative to the parent, row by row, for column vectors, in millimetres. */
  relLoc: number[];
  change: Change;
}

/** Calls its listeners in the order in which they came. */
export class Signal {
  readonly #listeners: (() => void)[] = [];
  on(listener: () => void): void {
    this.#listeners.push(listener);
  }
  emit(): void {
    for (const listener of this.#listeners) listener();
  }
}

const identity = [1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1];
const removedGroup = { kind: 'removed', key: null, address: null, name: 'Removed', unit: null, displayed: null,
  relLoc: identity, color: { r: 0, g: 0, b: 0, a: 1, default: true } };

function isFurther(row: ObjectRow | FurtherPlace): row is FurtherPlace {
  return 'same' in row;
}

export class Model {
  readonly places: Place[] = [];
  /** The place of each number that items have. */
  readonly #placeOfItem: (number | undefined)[] = [];
  readonly selectionChanged = new Signal();
  readonly visibilityChanged = new Signal();
  #selected = -1;
  readonly #hidden: Uint8Array;
  /** 1 for places that are hidden, or below such. */
  readonly #isOff: Uint8Array;

  constructor(data: PageData) {
    for (const row of data.nodes) {
      if (isFurther(row)) {
        const first = this.places[row.same];
        this.#add(row.depth, first.row, row.same, row.name ?? first.name, row.address, row.relLoc ?? identity);
      } else {
        this.#add(row.depth, row, this.places.length, nameOf(row), row.address, row.relLoc);
      }
    }
    this.#addRemoved(data);
    this.#close();
    this.#noteChanges(data);
    this.#hidden = new Uint8Array(this.places.length);
    this.#isOff = new Uint8Array(this.places.length);
  }

  /** Where an item of the data is listed. */
  placeOf(number: number): number {
    return this.#placeOfItem[number] ?? number;
  }

  get selected(): number {
    return this.#selected;
  }
  /** @param index of a place; -1: nothing */
  select(index: number): void {
    if (index === this.#selected) return;
    this.#selected = index;
    this.selectionChanged.emit();
  }
  isSelected(index: number): boolean {
    const place = this.places[this.#selected];
    return place !== undefined && index >= place.index && index < place.end;
  }

  isVisible(index: number): boolean {
    return this.#isOff[index] === 0;
  }
  isHiddenItself(index: number): boolean {
    return this.#hidden[index] !== 0;
  }
  setHidden(index: number, hidden: boolean): void {
    if (!hidden && this.#isOff[index] !== 0) this.#openWayTo(index);
    this.#hidden[index] = hidden ? 1 : 0;
    this.#settle();
  }
  /** Hides everything but that place and what is below it. */
  isolate(index: number): void {
    this.#hidden.fill(0);
    this.#hideBeside(index, 0);
    this.#settle();
  }
  showAll(): void {
    this.#hidden.fill(0);
    this.#settle();
  }

  /** Places whose texts have all words of the query. */
  find(query: string): number[] {
    const words = query.toLowerCase().split(/\s+/).filter((word) => word !== '');
    if (words.length === 0) return [];
    return this.places
      .filter((place) => {
        const text = searchText(place);
        return words.every((word) => text.includes(word));
      })
      .map((place) => place.index);
  }

  /** Names from the component down. */
  path(index: number): string {
    const names: string[] = [];
    for (let at = index; ; at = this.places[at].parent) {
      names.unshift(this.places[at].name);
      if (at === 0) return '/' + names.join('/');
    }
  }

  /** Takes what is hidden above a place back, but for what is beside the way to it. */
  #openWayTo(index: number): void {
    let top = index;
    for (let at = index; at > 0; at = this.places[at].parent) {
      const { parent } = this.places[at];
      if (this.#hidden[parent] !== 0) top = parent;
      this.#hidden[at] = 0;
    }
    this.#hidden[0] = 0;
    this.#hideBeside(index, top);
  }
  #hideBeside(index: number, top: number): void {
    for (let at = index; at > top; at = this.places[at].parent)
      for (const child of this.places[this.places[at].parent].children) if (child !== at) this.#hidden[child] = 1;
  }

  #add(depth: number, row: ObjectRow, same: number, name: string, address: string | null, relLoc: number[]): number {
    const index = this.places.length;
    let parent = index - 1;
    while (parent > 0 && this.places[parent].depth >= depth) parent = this.places[parent].parent;
    this.places.push({ index, depth, parent: Math.max(parent, 0), end: index + 1, children: [], name, row, address,
      same, relLoc, change: Change.none });
    if (index > 0) this.places[Math.max(parent, 0)].children.push(index);
    return index;
  }

  /** What the other file alone has, under a row of its own. */
  #addRemoved(data: PageData): void {
    const first = data.nodes.length;
    const gone = new Set(data.itemPlaces.filter((place) => place >= first));
    if (gone.size === 0) return;
    this.#add(1, { ...removedGroup, depth: 1 } as unknown as ObjectRow, this.places.length, 'Removed', null, identity);
    for (const place of [...gone].sort((a, b) => a - b)) {
      const own = data.nodesBefore[place - first];
      const row = isFurther(own) ? (data.nodesBefore[own.same] as ObjectRow) : own;
      this.#placeOfItem[place] = this.#add(2, row, this.places.length, own.name ?? nameOf(row), null, identity);
    }
  }

  #close(): void {
    for (let i = this.places.length - 1; i > 0; --i) {
      const above = this.places[this.places[i].parent];
      above.end = Math.max(above.end, this.places[i].end);
    }
  }

  #noteChanges(data: PageData): void {
    for (let i = 0; i < data.itemCount; ++i) {
      const change = data.itemFlags[4 * i + 1] as Change;
      const place = this.places[this.placeOf(data.itemPlaces[i])];
      if (change !== Change.wasThere && change > place.change) place.change = change;
    }
  }

  #settle(): void {
    this.places.forEach((place, i) => {
      this.#isOff[i] = this.#hidden[i] | (i > 0 ? this.#isOff[place.parent] : 0);
    });
    this.visibilityChanged.emit();
  }
}

function nameOf(row: ObjectRow): string {
  return row.name ?? `${row.kind} ${row.address ?? ''}`.trim();
}

function searchText(place: Place): string {
  const { row } = place;
  const parts = [place.name, row.kind, place.address ?? '', row.typeName ?? '', ...(row.text ?? [])];
  for (const values of [row.properties, row.metadata])
    for (const value of Object.values(values ?? {})) if (typeof value === 'string') parts.push(value);
  return parts.join('\n').toLowerCase();
}
