// The picture: camera, what moves it, and when it is drawn again.

import * as THREE from 'three';
import { OrbitControls } from 'three/examples/jsm/controls/OrbitControls.js';
import type { Drawing, Hit } from './drawing.js';
import { Signal } from './model.js';

export type Axis = 'x' | 'y' | 'z';

const slow = 30; // milliseconds of a picture

/** Directions from the middle to the eye. */
const views: Record<string, [number, number, number]> = {
  iso: [1, -1, 0.8],
  front: [0, -1, 0],
  back: [0, 1, 0],
  left: [-1, 0, 0],
  right: [1, 0, 0],
  top: [0, 0, 1],
  bottom: [0, 0, -1],
};

// Numbers from files are colors of the screen already.
THREE.ColorManagement.enabled = false;

export class Viewer {
  readonly canvas: HTMLCanvasElement;
  readonly camera = new THREE.OrthographicCamera();
  readonly scene = new THREE.Scene();
  /** After each picture. */
  readonly drawn = new Signal();
  readonly #renderer: THREE.WebGLRenderer;
  readonly #controls: OrbitControls;
  readonly #section = new THREE.Plane();
  #drawing: Drawing | null = null;
  #isAsked = false;
  #size = 1; // of the model, in millimetres
  /** How long a picture with everything takes, with one sample a pixel, in milliseconds. */
  #pictureTime = 0;
  #cutAxis: Axis | null = null;
  #cutsAbove = true;
  #isMoving = false;
  #rest = 0; // timer

  constructor(canvas: HTMLCanvasElement) {
    this.canvas = canvas;
    this.#renderer = new THREE.WebGLRenderer({ canvas, alpha: true });
    this.#renderer.outputColorSpace = THREE.LinearSRGBColorSpace;
    this.camera.up.set(0, 0, 1);
    this.#controls = new OrbitControls(this.camera, canvas);
    this.#controls.enableDamping = false;
    this.#controls.zoomToCursor = true;
    this.#controls.addEventListener('change', () => this.#move());
    new ResizeObserver(() => this.#resize()).observe(canvas);
    canvas.addEventListener('webglcontextrestored', () => this.draw());
  }

  show(drawing: Drawing): void {
    this.#drawing = drawing;
    this.scene.add(drawing.group);
    this.#resize();
    this.lookFrom('iso');
    this.#isMoving = false; // that was no motion that anybody sees
    this.#measureTime();
    this.canvas.dataset.state = 'still';
  }

  /** Gives what it holds of the graphics processor back. */
  dispose(): void {
    clearTimeout(this.#rest);
    this.#isAsked = false;
    this.#controls.dispose();
    this.#renderer.dispose();
    this.#renderer.forceContextLoss();
  }

  /** Draws at the next chance, however often it is asked for until then. */
  draw(): void {
    if (this.#isAsked) return;
    this.#isAsked = true;
    requestAnimationFrame(() => {
      if (this.#isAsked) this.drawNow();
    });
  }

  drawNow(): void {
    this.#isAsked = false;
    this.#renderer.render(this.scene, this.camera);
    this.drawn.emit();
    if (!this.#isMoving) return;
    clearTimeout(this.#rest);
    this.#rest = window.setTimeout(() => this.#setMoving(false), 300);
  }

  /** Looks at everything that is visible, from a side. */
  lookFrom(view: string): void {
    const direction = new THREE.Vector3(...(views[view] ?? views.iso)).normalize();
    // Straight from above, up is ambiguous: a hair of slant keeps y upwards.
    if (Math.abs(direction.z) === 1) direction.y = -1e-4;
    this.camera.position.copy(this.#controls.target).addScaledVector(direction, this.#size);
    this.fit(this.#drawing?.boxOf(0, Infinity) ?? new THREE.Box3());
  }

  /** Moves so that a box fills the picture; nothing for an empty one. */
  fit(box: THREE.Box3): void {
    const toEye = this.camera.position.clone().sub(this.#controls.target).normalize();
    const all = this.#drawing?.boxOf(0, Infinity) ?? box;
    this.#size = Math.max(all.getSize(new THREE.Vector3()).length(), 1e-3);
    if (!box.isEmpty()) {
      box.getCenter(this.#controls.target);
      this.camera.position.copy(this.#controls.target).addScaledVector(toEye, 2 * this.#size);
      this.camera.near = -10 * this.#size;
      this.camera.far = 20 * this.#size;
      this.camera.lookAt(this.#controls.target);
      this.camera.updateMatrixWorld();
      this.camera.zoom = this.#zoomFor(box);
    }
    this.#controls.update();
    this.#resize();
  }

  /** Turns the model under the eye, by angles in radians. */
  turn(right: number, up: number): void {
    const offset = this.camera.position.clone().sub(this.#controls.target);
    const toYUp = new THREE.Quaternion().setFromUnitVectors(this.camera.up, new THREE.Vector3(0, 1, 0));
    const around = new THREE.Spherical().setFromVector3(offset.applyQuaternion(toYUp));
    around.theta -= right;
    around.phi -= up;
    around.makeSafe();
    offset.setFromSpherical(around).applyQuaternion(toYUp.invert());
    this.camera.position.copy(this.#controls.target).add(offset);
    this.#controls.update();
    this.#move();
  }

  zoomBy(factor: number): void {
    this.camera.zoom *= factor;
    this.camera.updateProjectionMatrix();
    this.#move();
  }

  /** Takes away what is on one side of a place on an axis: the side of the eye, as it is when the axis is chosen.
   * @param share of the extent; null: nothing is cut @param flipped the other side */
  cut(axis: Axis, share: number | null, flipped: boolean): void {
    this.#renderer.clippingPlanes = [];
    if (share === null) {
      this.#cutAxis = null;
    } else {
      if (axis !== this.#cutAxis)
        this.#cutsAbove = this.camera.position[axis] - this.#controls.target[axis] > -1e-3 * this.#size;
      this.#cutAxis = axis;
      const box = this.#drawing?.boxOf(0, Infinity) ?? new THREE.Box3();
      const at = box.min[axis] + share * (box.max[axis] - box.min[axis]);
      const sign = this.#cutsAbove === flipped ? 1 : -1;
      this.#section.normal.set(0, 0, 0)[axis] = sign;
      this.#section.constant = -sign * at;
      this.#renderer.clippingPlanes = [this.#section];
    }
    this.draw();
  }

  /** What is seen at a point of the canvas, in pixels from its corner. */
  pick(x: number, y: number): Hit | null {
    const { clientWidth, clientHeight } = this.canvas;
    const ray = new THREE.Raycaster();
    ray.setFromCamera(new THREE.Vector2((2 * x) / clientWidth - 1, 1 - (2 * y) / clientHeight), this.camera);
    this.#drawing?.setCoarse(false);
    const fewPixels = 4 * this.millimetresOfPixel();
    ray.params.Line.threshold = fewPixels;
    ray.params.Points.threshold = fewPixels;
    const isCut = (point: THREE.Vector3) =>
      this.#renderer.clippingPlanes.some((plane) => plane.distanceToPoint(point) < 0);
    return this.#drawing?.pick(ray, isCut) ?? null;
  }

  millimetresOfPixel(): number {
    return (this.camera.top - this.camera.bottom) / this.camera.zoom / Math.max(this.canvas.clientHeight, 1);
  }

  /** Where a point is on the canvas, in pixels from its corner. */
  onCanvas(point: THREE.Vector3): { x: number; y: number } {
    const { x, y } = point.clone().project(this.camera);
    return { x: ((1 + x) * this.canvas.clientWidth) / 2, y: ((1 - y) * this.canvas.clientHeight) / 2 };
  }

  /** The eye moved: until it rests the picture is drawn as quickly as this machine needs it. */
  #move(): void {
    clearTimeout(this.#rest);
    if (!this.#isMoving) this.#setMoving(true);
    this.draw();
  }

  #setMoving(isMoving: boolean): void {
    const isSlow = this.#pictureTime > slow;
    this.#isMoving = isMoving;
    this.#drawing?.setCoarse(isMoving && isSlow);
    this.#setSamples();
    this.canvas.dataset.state = isMoving ? 'moving' : 'still';
    this.draw();
  }

  /** Four samples a pixel instead of one, where there is time for them. True when that changed. */
  #setSamples(): boolean {
    const samples = this.#isMoving ? 4 * this.#pictureTime < 15 : 4 * this.#pictureTime < 400;
    const ratio = window.devicePixelRatio * (samples ? 2 : 1);
    if (ratio === this.#renderer.getPixelRatio()) return false;
    this.#renderer.setPixelRatio(ratio);
    return true;
  }

  /** Draws, and waits for the picture; twice where it took long, since the first one also prepares what the others
   * use. */
  #measureTime(): void {
    this.#renderer.setPixelRatio(window.devicePixelRatio);
    const gl = this.#renderer.getContext();
    const pixel = new Uint8Array(4);
    for (let picture = 0; picture < 2 && (picture === 0 || this.#pictureTime > slow); ++picture) {
      const start = performance.now();
      this.drawNow();
      gl.readPixels(0, 0, 1, 1, gl.RGBA, gl.UNSIGNED_BYTE, pixel);
      this.#pictureTime = performance.now() - start;
    }
    if (this.#setSamples()) this.draw();
  }

  #zoomFor(box: THREE.Box3): number {
    const seen = box.clone().applyMatrix4(this.camera.matrixWorldInverse).getSize(new THREE.Vector3());
    const margin = 0.92;
    const aspect = this.canvas.clientWidth / Math.max(this.canvas.clientHeight, 1);
    // Without zoom one unit is half of the height.
    return margin * Math.min((2 * aspect) / Math.max(seen.x, 1e-6), 2 / Math.max(seen.y, 1e-6));
  }

  #resize(): void {
    const { clientWidth, clientHeight } = this.canvas;
    if (clientWidth === 0 || clientHeight === 0) return;
    this.#setSamples();
    this.#renderer.setSize(clientWidth, clientHeight, false);
    const aspect = clientWidth / clientHeight;
    Object.assign(this.camera, { left: -aspect, right: aspect, top: 1, bottom: -1 });
    this.camera.updateProjectionMatrix();
    this.draw();
  }
}
