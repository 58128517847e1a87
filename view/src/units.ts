// Lengths as people read them. Everything inside is in millimetres.

export interface Unit {
  name: string;
  sign: string;
  millimetres: number;
}

/** Names are those that the program has for units. */
export const units: readonly Unit[] = [
  { name: 'Micrometers', sign: 'µm', millimetres: 0.001 },
  { name: 'Millimeters', sign: 'mm', millimetres: 1 },
  { name: 'Centimeters', sign: 'cm', millimetres: 10 },
  { name: 'Decimeters', sign: 'dm', millimetres: 100 },
  { name: 'Meters', sign: 'm', millimetres: 1000 },
  { name: 'Kilometers', sign: 'km', millimetres: 1e6 },
  { name: 'Inches', sign: 'in', millimetres: 25.4 },
  { name: 'Feet', sign: 'ft', millimetres: 304.8 },
  { name: 'Yards', sign: 'yd', millimetres: 914.4 },
  { name: 'Miles', sign: 'mi', millimetres: 1609344 },
];

/** Millimetres where a file names no unit. */
export function unitNamed(name: string | null): Unit {
  return units.find((unit) => unit.name === name) ?? units[1];
}

const digitsOfSingles = 7;

/** A number of millimetres in that unit. */
export function lengthText(millimetres: number, unit: Unit, digits = digitsOfSingles): string {
  return `${numberText(millimetres / unit.millimetres, digits)} ${unit.sign}`;
}

/** Without zeros at the end. */
export function numberText(value: number, digits = digitsOfSingles): string {
  return String(Number(value.toPrecision(digits)));
}
