// The tree of objects as a list of rows, of which only those in sight exist: a component may have
// 200,000 of them. The focus stays on the tree itself; `aria-activedescendant` names the row.

import { Change } from './data.js';
import { Signal, type Model } from './model.js';

const rowHeight = 26;
const changeNames: Record<number, string> = {
  [Change.added]: 'added',
  [Change.removed]: 'removed',
  [Change.moved]: 'moved',
  [Change.changed]: 'changed',
};

export class TreeView {
  /** A row was chosen twice: to be looked at. */
  readonly activated = new Signal();
  readonly #element: HTMLElement;
  readonly #spacer = document.createElement('div');
  readonly #model: Model;
  readonly #isOpen: Uint8Array;
  #found: Set<number> | null = null; // places to show, of a search
  #rows: number[] = [];
  #active = 0;

  constructor(element: HTMLElement, model: Model) {
    this.#element = element;
    this.#model = model;
    this.#isOpen = new Uint8Array(model.places.length);
    this.#isOpen[0] = 1;
    this.#spacer.className = 'rows';
    this.#spacer.setAttribute('role', 'presentation');
    element.replaceChildren(this.#spacer);
    element.addEventListener('scroll', () => this.#render());
    element.addEventListener('keydown', (event) => this.#onKey(event));
    element.addEventListener('click', (event) => this.#onClick(event));
    element.addEventListener('dblclick', (event) => {
      if (!(event.target as Element).closest('button')) this.activated.emit();
    });
    new ResizeObserver(() => this.#render()).observe(element);
    model.selectionChanged.on(() => this.reveal(model.selected));
    model.visibilityChanged.on(() => this.#render());
    this.#list();
  }

  /** Opens what a place is under, and scrolls to it. */
  reveal(index: number): void {
    if (index >= 0) {
      for (let at = index; at > 0; ) {
        at = this.#model.places[at].parent;
        this.#isOpen[at] = 1;
      }
      if (this.#found && !this.#found.has(index)) this.#found = null;
      this.#list();
      this.#activate(index);
    }
    this.#render();
  }

  /** Shows these places and what they are under only; null: all. */
  filter(found: number[] | null): void {
    this.#found = found && new Set(found);
    for (const index of found ?? [])
      for (let at = index; at > 0; ) {
        at = this.#model.places[at].parent;
        this.#isOpen[at] = 1;
        this.#found?.add(at);
      }
    this.#element.scrollTop = 0;
    this.#list();
  }

  #list(): void {
    const { places } = this.#model;
    this.#rows = [];
    for (let i = 0; i < places.length; ) {
      const isShown = !this.#found || this.#found.has(i);
      if (isShown) this.#rows.push(i);
      i = isShown && this.#isOpen[i] ? i + 1 : places[i].end;
    }
    this.#spacer.style.height = `${this.#rows.length * rowHeight}px`;
    this.#render();
  }

  #render(): void {
    const first = Math.max(0, Math.floor(this.#element.scrollTop / rowHeight) - 4);
    const count = Math.ceil(this.#element.clientHeight / rowHeight) + 8;
    const rows = this.#rows.slice(first, first + count).map((index, i) => this.#row(index, first + i));
    this.#spacer.replaceChildren(...rows);
    const isThere = this.#rows.slice(first, first + count).includes(this.#active);
    if (isThere) this.#element.setAttribute('aria-activedescendant', `place-${this.#active}`);
    else this.#element.removeAttribute('aria-activedescendant');
  }

  #row(index: number, position: number): HTMLElement {
    const place = this.#model.places[index];
    const siblings = index === 0 ? [0] : this.#model.places[place.parent].children;
    const row = document.createElement('div');
    row.id = `place-${index}`;
    row.className = 'row';
    row.setAttribute('role', 'treeitem');
    row.setAttribute('aria-level', String(place.depth + 1));
    row.setAttribute('aria-setsize', String(siblings.length));
    row.setAttribute('aria-posinset', String(siblings.indexOf(index) + 1));
    row.setAttribute('aria-selected', String(index === this.#model.selected));
    if (place.children.length > 0) row.setAttribute('aria-expanded', String(this.#isOpen[index] !== 0));
    row.classList.toggle('active', index === this.#active);
    row.classList.toggle('off', !this.#model.isVisible(index));
    row.style.top = `${position * rowHeight}px`;
    row.style.paddingInlineStart = `${Math.min(place.depth, 30) * 14 + 4}px`;
    row.append(this.#toggle(index), label(place.name, 'name'), this.#badge(place.change), label(place.row.kind, 'kind'),
      this.#eye(index));
    return row;
  }

  #toggle(index: number): HTMLElement {
    const toggle = label(this.#model.places[index].children.length === 0 ? '' : this.#isOpen[index] ? '▾' : '▸', 'toggle');
    toggle.setAttribute('aria-hidden', 'true');
    return toggle;
  }

  #badge(change: Change): HTMLElement | string {
    const name = changeNames[change];
    return name ? label(name, `badge ${name}`) : '';
  }

  #eye(index: number): HTMLElement {
    const isVisible = this.#model.isVisible(index);
    const eye = document.createElement('button');
    eye.type = 'button';
    eye.className = 'eye';
    eye.tabIndex = -1;
    eye.textContent = isVisible ? '●' : '○';
    eye.title = isVisible ? 'Hide' : 'Show';
    eye.setAttribute('aria-label', `${eye.title} ${this.#model.places[index].name}`);
    return eye;
  }

  #onClick(event: MouseEvent): void {
    const target = event.target as Element;
    const row = target.closest('.row');
    if (!row) return;
    const index = Number(row.id.slice('place-'.length));
    if (target.closest('.eye')) {
      this.#model.setHidden(index, this.#model.isVisible(index));
      this.#element.focus();
      return;
    }
    if (target.closest('.toggle') && this.#model.places[index].children.length > 0) {
      this.#setOpen(index, !this.#isOpen[index]);
      return;
    }
    this.#activate(index);
    this.#model.select(index);
    this.#render();
  }

  #setOpen(index: number, open: boolean): void {
    this.#isOpen[index] = open ? 1 : 0;
    const isHidden = !open && this.#active > index && this.#active < this.#model.places[index].end;
    if (isHidden) this.#active = index;
    this.#list();
  }

  #activate(index: number): void {
    this.#active = index;
    const at = this.#rows.indexOf(index);
    if (at < 0) return;
    const { scrollTop, clientHeight } = this.#element;
    if (at * rowHeight < scrollTop) this.#element.scrollTop = at * rowHeight;
    else if ((at + 1) * rowHeight > scrollTop + clientHeight)
      this.#element.scrollTop = (at + 1) * rowHeight - clientHeight;
  }

  #onKey(event: KeyboardEvent): void {
    if (event.ctrlKey || event.altKey || event.metaKey) return;
    const at = Math.max(this.#rows.indexOf(this.#active), 0);
    const place = this.#model.places[this.#rows[at]];
    const page = Math.max(1, Math.floor(this.#element.clientHeight / rowHeight) - 1);
    const goTo = (row: number) => this.#activate(this.#rows[Math.min(Math.max(row, 0), this.#rows.length - 1)]);
    switch (event.key) {
      case 'ArrowDown': goTo(at + 1); break;
      case 'ArrowUp': goTo(at - 1); break;
      case 'PageDown': goTo(at + page); break;
      case 'PageUp': goTo(at - page); break;
      case 'Home': goTo(0); break;
      case 'End': goTo(this.#rows.length - 1); break;
      case 'ArrowRight':
        if (place.children.length > 0 && !this.#isOpen[place.index]) this.#setOpen(place.index, true);
        else if (place.children.length > 0) goTo(at + 1);
        break;
      case 'ArrowLeft':
        if (place.children.length > 0 && this.#isOpen[place.index]) this.#setOpen(place.index, false);
        else this.#activate(place.parent);
        break;
      case 'Enter':
      case ' ':
        if (event.key === 'Enter' && this.#model.selected === place.index) this.activated.emit();
        this.#model.select(place.index);
        break;
      default: return;
    }
    event.preventDefault();
    event.stopPropagation();
    this.#render();
  }

  /** The row that keys act on. */
  get active(): number {
    return this.#active;
  }
}

function label(text: string, className: string): HTMLElement {
  const element = document.createElement('span');
  element.className = className;
  element.textContent = text;
  return element;
}
