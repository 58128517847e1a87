// The model as objects of the graphics library.

import * as THREE from 'three';
import { coarseMesh } from './coarse.js';
import type { MeshData, PageData } from './data.js';
import { framePieces } from './frames.js';
import { LineSet, type LinePiece } from './lineset.js';
import { surfaceMaterial } from './materials.js';
import type { Model } from './model.js';

/** What a ray meets first. */
export interface Hit {
  place: number;
  point: THREE.Vector3;
  distance: number;
  /** The corner of the triangle that is nearest to the point; null for lines and points. */
  corner: THREE.Vector3 | null;
}

/** A batch of surfaces that are drawn at once. Of each instance: its item, and its geometries. */
interface Batch {
  mesh: THREE.BatchedMesh;
  items: number[];
  fine: number[];
  coarse: number[];
}

const opaque = 254; // alphas from here on
const frameShare = 0.04; // of the size of everything
const usualSize = 1000; // millimetres, where there is nothing
const coarseTriangles = 60_000; // of everything, about
const highlight = new THREE.Vector4(0.1, 0.5, 1, 1);

export class Drawing {
  readonly group = new THREE.Group();
  readonly annotations: LineSet;
  readonly frames: LineSet;
  readonly #data: PageData;
  readonly #model: Model;
  readonly #places: number[];
  readonly #boxes: THREE.Box3[];
  readonly #batches: Batch[] = [];
  readonly #lines: LineSet;
  readonly #dots: { cloud: THREE.Points; item: number }[] = [];
  readonly #lineSets: LineSet[];
  #isCoarse = false;
  triangleCount = 0;

  constructor(data: PageData, model: Model) {
    this.#data = data;
    this.#model = model;
    this.#places = Array.from(data.itemPlaces, (place) => model.placeOf(place));
    this.#boxes = this.#placedBoxes();
    this.#lines = new LineSet(this.#linePieces());
    this.annotations = new LineSet(this.#annotationPieces());
    const all = new THREE.Box3();
    for (const box of this.#boxes) all.union(box);
    const size = all.isEmpty() ? usualSize : all.getSize(new THREE.Vector3()).length();
    this.frames = new LineSet(framePieces(model.places, data.origin, frameShare * size));
    this.#lineSets = [this.#lines, this.annotations, this.frames];
    this.#addSurfaces();
    this.#addDots();
    for (const set of this.#lineSets) this.group.add(set.object);
    this.showVisible();
  }

  /** The box of what is visible, and of these places only; empty when there is nothing. */
  boxOf(first: number, end: number): THREE.Box3 {
    const box = new THREE.Box3();
    this.#places.forEach((place, item) => {
      if (place >= first && place < end && this.#model.isVisible(place)) box.union(this.#boxes[item]);
    });
    const isWanted = (place: number) => place >= first && place < end && this.#model.isVisible(place);
    if (this.annotations.object.visible) this.annotations.extend(box, isWanted);
    // The size of frames says nothing: they count where there is nothing else.
    if (box.isEmpty()) this.frames.extend(box, isWanted);
    return box;
  }

  /** To be called when visibility changed. */
  showVisible(): void {
    for (const { mesh, items } of this.#batches)
      items.forEach((item, instance) => mesh.setVisibleAt(instance, this.#model.isVisible(this.#places[item])));
    for (const { cloud, item } of this.#dots) cloud.visible = this.#model.isVisible(this.#places[item]);
    for (const set of this.#lineSets) set.show((place) => this.#model.isVisible(place));
  }

  /** To be called when the selection changed. */
  showSelection(): void {
    for (const { mesh, items } of this.#batches)
      items.forEach((item, instance) => mesh.setColorAt(instance, this.#colorOf(item)));
    for (const { cloud, item } of this.#dots) {
      const { x, y, z } = this.#colorOf(item);
      (cloud.material as THREE.PointsMaterial).color.setRGB(x, y, z);
    }
    for (const set of this.#lineSets) set.select((place) => this.#model.isSelected(place));
  }

  /** Draws stand-ins with few triangles, or everything. */
  setCoarse(isCoarse: boolean): void {
    if (isCoarse === this.#isCoarse) return;
    this.#isCoarse = isCoarse;
    for (const { mesh, fine, coarse } of this.#batches)
      (isCoarse ? coarse : fine).forEach((geometry, instance) => mesh.setGeometryIdAt(instance, geometry));
  }

  /** Dark lines become bright ones on a dark background. */
  setDark(isDark: boolean): void {
    for (const set of this.#lineSets) set.setDark(isDark);
  }

  /** @param isCut true for points that a section takes away */
  pick(ray: THREE.Raycaster, isCut: (point: THREE.Vector3) => boolean): Hit | null {
    const hits: Hit[] = [];
    for (const { mesh, items } of this.#batches)
      for (const found of ray.intersectObject(mesh, false)) {
        if (found.batchId === undefined || isCut(found.point)) continue;
        hits.push({ place: this.#places[items[found.batchId]], point: found.point, distance: found.distance,
          corner: cornerNear(mesh, found) });
      }
    for (const set of this.#lineSets)
      for (const { place, point, distance } of set.hits(ray))
        if (!isCut(point)) hits.push({ place, point, distance: distance - (ray.params.Line.threshold ?? 0), corner: null });
    for (const { cloud, item } of this.#dots)
      if (cloud.visible)
        for (const { point, distance } of ray.intersectObject(cloud, false))
          if (!isCut(point)) hits.push({ place: this.#places[item], point, distance, corner: null });
    return hits.reduce<Hit | null>((best, hit) => (best && best.distance <= hit.distance ? best : hit), null);
  }

  #matrixOf(item: number): THREE.Matrix4 {
    const m = this.#data.itemMatrices.subarray(12 * item, 12 * item + 12);
    return new THREE.Matrix4().set(m[0], m[3], m[6], m[9], m[1], m[4], m[7], m[10], m[2], m[5], m[8], m[11], 0, 0, 0, 1);
  }

  #meshOf(item: number): MeshData {
    return this.#data.meshes[this.#data.itemMeshes[item]];
  }

  #hasVertexColors(item: number): boolean {
    return this.#data.itemFlags[4 * item] !== 0 && this.#meshOf(item).colors !== null;
  }

  #isOpaque(item: number): boolean {
    if (this.#data.textures[this.#data.textureOf(item)]?.translucent) return false;
    return this.#data.itemColors[4 * item + 3] >= opaque || this.#hasVertexColors(item);
  }

  #colorOf(item: number): THREE.Vector4 {
    if (this.#model.isSelected(this.#places[item])) return highlight;
    if (this.#hasVertexColors(item)) return new THREE.Vector4(1, 1, 1, 1);
    const [r, g, b, a] = this.#data.itemColors.subarray(4 * item, 4 * item + 4);
    return new THREE.Vector4(r / 255, g / 255, b / 255, a / 255);
  }

  #placedBoxes(): THREE.Box3[] {
    const boxes = this.#data.meshes.map((mesh) => {
      const box = new THREE.Box3();
      if (mesh.indices.length > 0) box.setFromArray(mesh.positions);
      return box;
    });
    return this.#places.map((_, item) =>
      boxes[this.#data.itemMeshes[item]].clone().applyMatrix4(this.#matrixOf(item)));
  }

  /** Surfaces by what they need of a material. */
  #addSurfaces(): void {
    for (let item = 0; item < this.#data.itemCount; ++item)
      if (this.#meshOf(item).kind === 'triangles') this.triangleCount += this.#meshOf(item).indices.length / 3;
    const groups = new Map<string, number[]>();
    for (let item = 0; item < this.#data.itemCount; ++item) {
      const mesh = this.#meshOf(item);
      if (mesh.kind !== 'triangles' || mesh.indices.length === 0) continue;
      const key = `${this.#isOpaque(item) ? 0 : 1}${this.#hasVertexColors(item) ? 1 : 0}${this.#data.textureOf(item)}`;
      const group = groups.get(key);
      if (group) group.push(item);
      else groups.set(key, [item]);
    }
    for (const key of [...groups.keys()].sort())
      this.#addBatch(groups.get(key) ?? [], key[0] === '0', key[1] === '1', Number(key.slice(2)));
  }

  #addBatch(items: number[], isOpaque: boolean, hasColors: boolean, texture: number): void {
    const used = [...new Set(items.map((item) => this.#data.itemMeshes[item]))];
    const fine = used.map((number) =>
      texture < 0 ? this.#data.meshes[number] : this.#data.meshWithTexture(number, texture));
    const coarse = fine.map((mesh) => (mesh.indices.length > 150 ? coarseMesh(mesh, this.#cells()) : mesh));
    const all = [...fine, ...coarse.filter((mesh, i) => mesh !== fine[i])];
    const vertices = all.reduce((sum, mesh) => sum + mesh.positions.length / 3, 0);
    const corners = all.reduce((sum, mesh) => sum + mesh.indices.length, 0);
    const material = surfaceMaterial(isOpaque, hasColors, this.#data.textures[texture] ?? null);
    const batched = new THREE.BatchedMesh(items.length, vertices, corners, material);
    const fineIds = fine.map((mesh) => batched.addGeometry(geometryOf(mesh, hasColors)));
    const coarseIds = coarse.map((mesh, i) =>
      mesh === fine[i] || mesh.indices.length === 0 ? fineIds[i] : batched.addGeometry(geometryOf(mesh, hasColors)));
    const order = new Map(used.map((number, i) => [number, i]));
    const orderOf = (item: number) => order.get(this.#data.itemMeshes[item]) as number;
    for (const item of items) {
      const instance = batched.addInstance(fineIds[orderOf(item)]);
      batched.setMatrixAt(instance, this.#matrixOf(item));
      batched.setColorAt(instance, this.#colorOf(item));
    }
    // Glass is mixed from the back to the front; what is opaque needs no order.
    batched.sortObjects = !isOpaque;
    batched.frustumCulled = false;
    this.#batches.push({ mesh: batched, items, fine: items.map((item) => fineIds[orderOf(item)]),
      coarse: items.map((item) => coarseIds[orderOf(item)]) });
    this.group.add(batched);
  }

  /** The cells of stand-ins along the longest side: a closed surface has some eight triangles for the square of it. */
  #cells(): number {
    return Math.max(3, Math.floor(Math.sqrt(coarseTriangles / Math.max(this.#data.itemCount, 1) / 8)));
  }

  #linePieces(): LinePiece[] {
    const pieces: LinePiece[] = [];
    for (let item = 0; item < this.#data.itemCount; ++item) {
      const mesh = this.#meshOf(item);
      if (mesh.kind !== 'lines' || mesh.indices.length === 0) continue;
      const points = new THREE.BufferAttribute(mesh.positions.slice(), 3).applyMatrix4(this.#matrixOf(item));
      pieces.push({ points: points.array as Float32Array, indices: mesh.indices, place: this.#places[item],
        color: this.#data.itemColors.subarray(4 * item, 4 * item + 4) });
    }
    return pieces;
  }

  #annotationPieces(): LinePiece[] {
    const data = this.#data;
    return Array.from(data.annotationEnds, (end, line) => {
      const first = line === 0 ? 0 : data.annotationEnds[line - 1];
      const indices = new Uint32Array(2 * (end - first - 1));
      for (let i = 0; i < indices.length; ++i) indices[i] = (i + 1) >> 1;
      return { points: data.annotationPoints.subarray(3 * first, 3 * end), indices,
        place: data.annotationPlaces[line], color: data.annotationColors.subarray(4 * line, 4 * line + 4) };
    });
  }

  #addDots(): void {
    for (let item = 0; item < this.#data.itemCount; ++item) {
      const mesh = this.#meshOf(item);
      if (mesh.kind !== 'points' || mesh.indices.length === 0) continue;
      const geometry = new THREE.BufferGeometry();
      geometry.setAttribute('position', new THREE.BufferAttribute(mesh.positions, 3));
      geometry.setIndex(new THREE.BufferAttribute(mesh.indices, 1));
      const size = Math.max(3, this.#data.itemFlags[4 * item + 3]);
      const cloud = new THREE.Points(geometry, new THREE.PointsMaterial({ size, sizeAttenuation: false }));
      const { x, y, z } = this.#colorOf(item);
      cloud.material.color.setRGB(x, y, z);
      cloud.applyMatrix4(this.#matrixOf(item));
      this.#dots.push({ cloud, item });
      this.group.add(cloud);
    }
  }
}

function geometryOf(mesh: MeshData, hasColors: boolean): THREE.BufferGeometry {
  const geometry = new THREE.BufferGeometry();
  const count = mesh.positions.length / 3;
  geometry.setAttribute('position', new THREE.BufferAttribute(mesh.positions, 3));
  // All geometries of a batch have the same attributes; normals of 0 mean flat shading.
  geometry.setAttribute('normal', new THREE.BufferAttribute(mesh.normals ?? new Int8Array(4 * count), 4, true));
  if (hasColors && mesh.colors) geometry.setAttribute('color', new THREE.BufferAttribute(mesh.colors, 4, true));
  if (mesh.coordinates) geometry.setAttribute('uv', new THREE.BufferAttribute(mesh.coordinates, 2));
  geometry.setIndex(new THREE.BufferAttribute(mesh.indices, 1));
  return geometry;
}

function cornerNear(mesh: THREE.BatchedMesh, found: THREE.Intersection): THREE.Vector3 | null {
  if (!found.face || found.batchId === undefined) return null;
  const matrix = mesh.getMatrixAt(found.batchId, new THREE.Matrix4());
  const positions = mesh.geometry.getAttribute('position');
  let nearest: THREE.Vector3 | null = null;
  for (const vertex of [found.face.a, found.face.b, found.face.c]) {
    const corner = new THREE.Vector3().fromBufferAttribute(positions, vertex).applyMatrix4(matrix);
    if (!nearest || corner.distanceTo(found.point) < nearest.distanceTo(found.point)) nearest = corner;
  }
  return nearest;
}
