// Frames of the component as axes: x red, y green, z blue.

import * as THREE from 'three';
import type { LinePiece } from './lineset.js';
import type { Place } from './model.js';

const colors = [[220, 40, 40], [30, 150, 40], [50, 90, 230]];

/** Matrices of the places in millimetres from the root. */
function placements(places: readonly Place[]): THREE.Matrix4[] {
  const matrices: THREE.Matrix4[] = [];
  for (const { index, parent, relLoc } of places) {
    const own = new THREE.Matrix4().fromArray(relLoc).transpose();
    matrices.push(index === 0 ? own : own.premultiply(matrices[parent]));
  }
  return matrices;
}

/** @param origin of the data @param length of an axis, in millimetres */
export function framePieces(places: readonly Place[], origin: readonly number[], length: number): LinePiece[] {
  if (!places.some(({ row }) => row.kind === 'frame')) return [];
  const matrices = placements(places);
  const pieces: LinePiece[] = [];
  for (const { index, row } of places) {
    if (row.kind !== 'frame') continue;
    const { elements } = matrices[index];
    const at = [0, 1, 2].map((i) => elements[12 + i] - origin[i]);
    for (let axis = 0; axis < 3; ++axis) {
      const direction = new THREE.Vector3().fromArray(elements, 4 * axis).setLength(length).toArray();
      const points = new Float32Array([...at, ...at.map((start, i) => start + direction[i])]);
      pieces.push({ points, indices: new Uint32Array([0, 1]), place: index, color: colors[axis] });
    }
  }
  return pieces;
}
