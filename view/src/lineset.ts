// Many polylines, drawn at once, each with its place in the tree.

import * as THREE from 'three';

export interface LinePiece {
  points: Float32Array;
  /** Two for each segment. */
  indices: Uint32Array;
  place: number;
  /** Red, green, blue from 0 to 255. */
  color: ArrayLike<number>;
}

const highlight = [26, 128, 255];

/** A bright form of a color that is not seen on a dark background. */
function onDark(color: ArrayLike<number>): number[] {
  const own = [color[0], color[1], color[2]];
  return Math.max(...own) < 96 ? own.map((part) => 255 - part) : own;
}

export class LineSet {
  readonly object: THREE.LineSegments;
  readonly #pieces: LinePiece[];
  readonly #firstPoints: number[] = [];
  readonly #colors: THREE.BufferAttribute;
  /** The piece of each segment that is shown. */
  #shown: number[] = [];
  #isDark = false;
  #isSelected: (place: number) => boolean = () => false;

  constructor(pieces: LinePiece[]) {
    this.#pieces = pieces;
    let count = 0;
    for (const piece of pieces) {
      this.#firstPoints.push(count);
      count += piece.points.length / 3;
    }
    const positions = new Float32Array(3 * count);
    pieces.forEach((piece, i) => positions.set(piece.points, 3 * this.#firstPoints[i]));
    this.#colors = new THREE.BufferAttribute(new Uint8Array(3 * count), 3, true);
    const geometry = new THREE.BufferGeometry();
    geometry.setAttribute('position', new THREE.BufferAttribute(positions, 3));
    geometry.setAttribute('color', this.#colors);
    this.object = new THREE.LineSegments(geometry, new THREE.LineBasicMaterial({ vertexColors: true }));
    this.object.frustumCulled = false;
    this.#paint();
    this.show(() => true);
  }

  get count(): number {
    return this.#pieces.length;
  }

  show(isVisible: (place: number) => boolean): void {
    const indices: number[] = [];
    this.#shown = [];
    this.#pieces.forEach((piece, i) => {
      if (!isVisible(piece.place)) return;
      for (const index of piece.indices) indices.push(this.#firstPoints[i] + index);
      for (let segment = 0; segment < piece.indices.length / 2; ++segment) this.#shown.push(i);
    });
    this.object.geometry.setIndex(new THREE.BufferAttribute(new Uint32Array(indices), 1));
  }

  select(isSelected: (place: number) => boolean): void {
    this.#isSelected = isSelected;
    this.#paint();
  }
  setDark(isDark: boolean): void {
    this.#isDark = isDark;
    this.#paint();
  }

  extend(box: THREE.Box3, isWanted: (place: number) => boolean): void {
    const point = new THREE.Vector3();
    for (const piece of this.#pieces)
      if (isWanted(piece.place))
        for (let i = 0; i < piece.points.length; i += 3) box.expandByPoint(point.fromArray(piece.points, i));
  }

  hits(ray: THREE.Raycaster): { place: number; point: THREE.Vector3; distance: number }[] {
    if (!this.object.visible || this.#shown.length === 0) return [];
    return ray.intersectObject(this.object, false).map(({ index, point, distance }) => ({
      place: this.#pieces[this.#shown[(index ?? 0) >> 1]].place,
      point,
      distance,
    }));
  }

  #paint(): void {
    this.#pieces.forEach((piece, i) => {
      const color = this.#isSelected(piece.place) ? highlight : this.#isDark ? onDark(piece.color) : piece.color;
      const end = this.#firstPoints[i] + piece.points.length / 3;
      for (let at = this.#firstPoints[i]; at < end; ++at)
        for (let part = 0; part < 3; ++part) this.#colors.array[3 * at + part] = color[part];
    });
    this.#colors.needsUpdate = true;
  }
}
