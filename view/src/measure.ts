// The distance between two points that are clicked.

import * as THREE from 'three';
import type { Hit } from './drawing.js';
import type { Viewer } from './viewer.js';

const snap = 10; // pixels to a corner

export class Measure {
  readonly #viewer: Viewer;
  readonly #line = new THREE.LineSegments(
    new THREE.BufferGeometry(),
    new THREE.LineBasicMaterial({ color: 0xff3060, depthTest: false }),
  );
  readonly #dots = new THREE.Points(
    this.#line.geometry,
    new THREE.PointsMaterial({ color: 0xff3060, size: 7, sizeAttenuation: false, depthTest: false }),
  );
  points: THREE.Vector3[] = [];

  constructor(viewer: Viewer) {
    this.#viewer = viewer;
    this.#line.renderOrder = this.#dots.renderOrder = 1;
    this.#line.frustumCulled = this.#dots.frustumCulled = false;
    viewer.scene.add(this.#line, this.#dots);
    this.clear();
  }

  /** Takes a point: the corner near by, or where the surface was hit. The third begins anew. */
  add({ corner, point }: Hit): void {
    if (this.points.length === 2) this.points = [];
    const isNear = corner && corner.distanceTo(point) < snap * this.#viewer.millimetresOfPixel();
    this.points.push(isNear ? corner : point);
    this.#show();
  }

  clear(): void {
    this.points = [];
    this.#show();
  }

  /** From the first point to the second one, in millimetres; null before there are two. */
  difference(): THREE.Vector3 | null {
    return this.points.length === 2 ? this.points[1].clone().sub(this.points[0]) : null;
  }

  #show(): void {
    this.#line.geometry.setAttribute('position', new THREE.Float32BufferAttribute(
      this.points.flatMap(({ x, y, z }) => [x, y, z]), 3));
    this.#viewer.draw();
  }
}
