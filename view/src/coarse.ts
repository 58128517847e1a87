// Stand-ins of surfaces with few triangles, for the time while the eye moves.

import type { MeshData } from './data.js';

/** The surface with one vertex for each cell of a grid over its box, and without the triangles that have no
 * area then. @param cells along the longest side */
export function coarseMesh(mesh: MeshData, cells: number): MeshData {
  const cellOf = cellsOf(mesh.positions, cells);
  const vertexOfCell = new Map<number, number>();
  const kept: number[] = []; // vertices of the whole surface
  const indices: number[] = [];
  const vertexOf = (vertex: number): number => {
    const known = vertexOfCell.get(cellOf[vertex]);
    if (known !== undefined) return known;
    vertexOfCell.set(cellOf[vertex], kept.length);
    return kept.push(vertex) - 1;
  };
  const seen = new Set<string>();
  for (let i = 0; i < mesh.indices.length; i += 3) {
    const corners = [mesh.indices[i], mesh.indices[i + 1], mesh.indices[i + 2]];
    const [a, b, c] = corners.map((vertex) => cellOf[vertex]);
    if (a === b || b === c || c === a) continue;
    const key = [a, b, c].sort((one, other) => one - other).join();
    if (seen.has(key)) continue;
    seen.add(key);
    for (const vertex of corners) indices.push(vertexOf(vertex));
  }
  const pick = <T extends Float32Array | Int8Array | Uint8Array>(values: T, width: number): T => {
    const picked = new (values.constructor as new (length: number) => T)(width * kept.length);
    kept.forEach((vertex, i) => picked.set(values.subarray(width * vertex, width * vertex + width), width * i));
    return picked;
  };
  return { kind: mesh.kind, positions: pick(mesh.positions, 3), normals: mesh.normals && pick(mesh.normals, 4),
    colors: mesh.colors && pick(mesh.colors, 4), coordinates: mesh.coordinates && pick(mesh.coordinates, 2), indices: new Uint32Array(indices) };
}

/** Number of the cell that each vertex is in. */
function cellsOf(positions: Float32Array, cells: number): Uint32Array {
  const low = [Infinity, Infinity, Infinity];
  const high = [-Infinity, -Infinity, -Infinity];
  positions.forEach((value, i) => {
    low[i % 3] = Math.min(low[i % 3], value);
    high[i % 3] = Math.max(high[i % 3], value);
  });
  const side = Math.max(high[0] - low[0], high[1] - low[1], high[2] - low[2], 1e-9) / cells;
  const numbers = new Uint32Array(positions.length / 3);
  for (let i = 0; i < numbers.length; ++i)
    for (let axis = 2; axis >= 0; --axis)
      numbers[i] = numbers[i] * (cells + 1) + Math.round((positions[3 * i + axis] - low[axis]) / side);
  return numbers;
}
