// What is known of the selected object, as a table.

import type { Model, Place } from './model.js';
import { lengthText, numberText, type Unit } from './units.js';

type Rows = [string, string][];

function valueText(value: unknown): string {
  if (value === null || value === undefined) return '';
  if (typeof value === 'number') return numberText(value);
  return typeof value === 'object' ? JSON.stringify(value) : String(value);
}

/** Degrees about the fixed axes x, y and z, one after the other. */
function angles(m: number[]): [number, number, number] {
  const length = (column: number) => Math.hypot(m[column], m[4 + column], m[8 + column]) || 1;
  const at = (row: number, column: number) => m[4 * row + column] / length(column);
  const degrees = (radians: number) => (radians * 180) / Math.PI;
  const y = Math.asin(Math.min(1, Math.max(-1, -at(2, 0))));
  if (Math.abs(at(2, 0)) > 1 - 1e-7) return [0, degrees(y), degrees(Math.atan2(-at(0, 1), at(1, 1)))];
  return [degrees(Math.atan2(at(2, 1), at(2, 2))), degrees(y), degrees(Math.atan2(at(1, 0), at(0, 0)))];
}

function colorText({ r, g, b, a }: { r: number; g: number; b: number; a: number }): string {
  const byte = (share: number) => Math.round(255 * share).toString(16).padStart(2, '0');
  return `#${byte(r)}${byte(g)}${byte(b)}${a < 1 ? byte(a) : ''}`;
}

function ownRows(model: Model, place: Place, unit: Unit): Rows {
  const { row, relLoc } = place;
  const [x, y, z] = [relLoc[3], relLoc[7], relLoc[11]];
  const places = model.places.filter((other) => other.same === place.same).length;
  return [
    ['Name', place.name],
    ['Kind', row.typeName ? `${row.kind}, ${row.typeName}` : row.kind],
    ['Key', valueText(row.key)],
    ['Address', place.address === String(row.key) ? '' : (place.address ?? '')],
    ['Path', model.path(place.index)],
    ['Places', places > 1 ? String(places) : ''],
    ['Text', (row.text ?? []).join('\n')],
    ['Position', [x, y, z].map((part) => lengthText(part, unit)).join(', ')],
    ['Rotation', angles(relLoc).map((angle) => `${numberText(Number(angle.toFixed(4)))}°`).join(', ')],
    ['Unit of the file', row.unit ?? ''],
    ['Color', row.color.default ? '' : colorText(row.color)],
    ['Displayed', row.displayed === false ? 'no: not in the picture' : ''],
    ['Attributes', valueText(row.attributes)],
    ['Unique id', valueText(row.uniqueId)],
    ['Attachment', valueText(row.attachment)],
  ];
}

function section(title: string, rows: Rows): HTMLElement[] {
  const filled = rows.filter(([, value]) => value !== '');
  if (filled.length === 0) return [];
  const heading = document.createElement('h3');
  heading.textContent = title;
  const table = document.createElement('table');
  for (const [name, value] of filled) {
    const row = table.insertRow();
    const head = document.createElement('th');
    head.scope = 'row';
    head.textContent = name;
    row.append(head);
    row.insertCell().textContent = value;
  }
  return [heading, table];
}

/** Fills the element anew; texts from files are never taken as markup. */
export function showProperties(element: HTMLElement, model: Model, unit: Unit): void {
  const place = model.places[model.selected];
  if (!place) {
    const hint = document.createElement('p');
    hint.textContent = 'Nothing is selected.';
    element.replaceChildren(hint);
    return;
  }
  const entries = (values: Record<string, unknown> | null | undefined): Rows =>
    Object.entries(values ?? {}).map(([name, value]) => [name, valueText(value)]);
  element.replaceChildren(
    ...section('Object', ownRows(model, place, unit)),
    ...section('Properties', entries(place.row.properties)),
    ...section('Metadata', entries(place.row.metadata)),
  );
}
