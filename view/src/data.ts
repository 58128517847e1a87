// The data of a page, as the program writes them.

/** An object of the component in one of its places; members are those of `jtw tree --json`. */
export interface ObjectRow {
  depth: number;
  kind: string;
  key: number | null;
  address: string | null;
  name: string | null;
  unit: string | null;
  relLoc: number[];
  color: { r: number; g: number; b: number; a: number; default: boolean };
  displayed: boolean | null;
  typeName?: string | null;
  text?: string[];
  properties?: Record<string, unknown>;
  metadata?: Record<string, unknown> | null;
  [other: string]: unknown;
}

/** A further place of an object: the index of the first one, and what differs. */
export interface FurtherPlace {
  depth: number;
  same: number;
  address: string | null;
  name: string | null;
  relLoc?: number[];
}

/** Offsets of arrays, in bytes. */
export interface MeshRow {
  kind: 'triangles' | 'lines' | 'points';
  vertices: number;
  positions: number;
  normals?: number;
  coordinates?: { channel: number; at: number }[];
  colors?: number;
  corners: number;
  indices: number;
}

export interface ComparisonCounts {
  added: number;
  removed: number;
  moved: number;
  changed: number;
  same: number;
}

interface TextureRow {
  width: number;
  height: number;
  texels: number;
  translucent: boolean;
  channel: number;
  transform: number[];
  wrap: [number, number];
}

interface Header {
  schema: string;
  document: string;
  origin: [number, number, number];
  nodes: (ObjectRow | FurtherPlace)[];
  nodesBefore?: (ObjectRow | FurtherPlace)[];
  meshes: MeshRow[];
  textures: TextureRow[];
  items: Record<'count' | 'matrices' | 'meshes' | 'places' | 'colors' | 'flags' | 'textures', number>;
  annotations: Record<'count' | 'pointCount' | 'points' | 'ends' | 'places' | 'colors', number>;
  comparison?: ComparisonCounts;
}

/** The vertices of a mesh; arrays are views into the data. */
export interface MeshData {
  kind: MeshRow['kind'];
  positions: Float32Array;
  normals: Int8Array | null;
  colors: Uint8Array | null;
  /** Two for each vertex, as the image of an item needs them; null without one. */
  coordinates: Float32Array | null;
  indices: Uint32Array;
}

/** An image on surfaces. */
export interface TextureData {
  width: number;
  height: number;
  /** Red, green, blue, alpha; rows from the bottom up. */
  texels: Uint8Array<ArrayBuffer>;
  translucent: boolean;
  /** What is beyond the image along both coordinates: 2 repeated, 3 mirrored, else the edge. */
  wrap: [number, number];
}

const noTexture = 0xffffffff;

/** What became of an item since the other file; the numbers of the data. */
export enum Change {
  none,
  same,
  added,
  removed,
  moved,
  wasThere,
  changed,
}

const schema = 'jtw.page/1';

export class PageData {
  readonly document: string;
  readonly origin: [number, number, number];
  readonly nodes: (ObjectRow | FurtherPlace)[];
  readonly nodesBefore: (ObjectRow | FurtherPlace)[];
  readonly meshes: MeshData[];
  readonly comparison: ComparisonCounts | null;
  /** Meshes where they occur: four rows of three numbers, for row vectors, each. */
  readonly itemCount: number;
  readonly itemMatrices: Float32Array;
  readonly itemMeshes: Uint32Array;
  /** Index among `nodes`, or from their number on among `nodesBefore`. */
  readonly itemPlaces: Uint32Array;
  readonly itemColors: Uint8Array;
  /** Four bytes each: whether vertex colors count, the Change, width of lines, size of points. */
  readonly itemFlags: Uint8Array;
  readonly textures: TextureData[];
  readonly #itemTextures: Uint32Array;
  readonly #textureRows: TextureRow[];
  readonly #coordinates: Map<number, Float32Array>[];
  /** Lines of annotations: the points of all, and where each ends. */
  readonly annotationPoints: Float32Array;
  readonly annotationEnds: Uint32Array;
  readonly annotationPlaces: Uint32Array;
  readonly annotationColors: Uint8Array;

  /** @param bytes not compressed */
  constructor(bytes: Uint8Array<ArrayBuffer>) {
    const length = new DataView(bytes.buffer, bytes.byteOffset).getUint32(0, true);
    const header = JSON.parse(new TextDecoder().decode(bytes.subarray(4, 4 + length))) as Header;
    if (header.schema !== schema) throw new Error('The page and its data are of different versions of jtw.');
    const start = bytes.byteOffset + 4 + length;
    const floats = (at: number, count: number) => new Float32Array(bytes.buffer, start + at, count);
    const words = (at: number, count: number) => new Uint32Array(bytes.buffer, start + at, count);
    const quads = (at: number, count: number) => new Uint8Array(bytes.buffer, start + at, 4 * count);
    this.document = header.document;
    this.origin = header.origin;
    this.nodes = header.nodes;
    this.nodesBefore = header.nodesBefore ?? [];
    this.comparison = header.comparison ?? null;
    this.meshes = header.meshes.map((mesh) => ({
      kind: mesh.kind,
      positions: floats(mesh.positions, 3 * mesh.vertices),
      normals: mesh.normals === undefined ? null : new Int8Array(bytes.buffer, start + mesh.normals, 4 * mesh.vertices),
      colors: mesh.colors === undefined ? null : quads(mesh.colors, mesh.vertices),
      coordinates: null,
      indices: words(mesh.indices, mesh.corners),
    }));
    this.#coordinates = header.meshes.map((mesh) => new Map(
      (mesh.coordinates ?? []).map(({ channel, at }) => [channel, floats(at, 2 * mesh.vertices)])));
    this.#textureRows = header.textures;
    this.textures = header.textures.map((row) => ({ ...row, texels: quads(row.texels, row.width * row.height) }));
    const { items, annotations } = header;
    this.#itemTextures = words(items.textures, items.count);
    this.itemCount = items.count;
    this.itemMatrices = floats(items.matrices, 12 * items.count);
    this.itemMeshes = words(items.meshes, items.count);
    this.itemPlaces = words(items.places, items.count);
    this.itemColors = quads(items.colors, items.count);
    this.itemFlags = quads(items.flags, items.count);
    this.annotationPoints = floats(annotations.points, 3 * annotations.pointCount);
    this.annotationEnds = words(annotations.ends, annotations.count);
    this.annotationPlaces = words(annotations.places, annotations.count);
    this.annotationColors = quads(annotations.colors, annotations.count);
  }

  /** Number of the image on an item; -1 without one, or without coordinates for it. */
  textureOf(item: number): number {
    const texture = this.#itemTextures[item];
    const isThere = texture !== noTexture &&
      this.#coordinates[this.itemMeshes[item]].has(this.#textureRows[texture].channel);
    return isThere ? texture : -1;
  }

  /** A mesh with its coordinates in an image. */
  meshWithTexture(mesh: number, texture: number): MeshData {
    const { channel, transform: m } = this.#textureRows[texture];
    const own = this.#coordinates[mesh].get(channel) as Float32Array;
    const coordinates = new Float32Array(own.length);
    for (let i = 0; i < own.length; i += 2) {
      const row = (column: number) => own[i] * m[column] + own[i + 1] * m[4 + column] + m[12 + column];
      const share = row(3) || 1;
      coordinates[i] = row(0) / share;
      coordinates[i + 1] = row(1) / share;
    }
    return { ...this.meshes[mesh], coordinates };
  }
}

function bytesOfLetters(text: string): Uint8Array<ArrayBuffer> {
  const modern = Uint8Array as unknown as { fromBase64?: (text: string) => Uint8Array<ArrayBuffer> };
  if (modern.fromBase64) return modern.fromBase64(text);
  const letters = atob(text);
  const bytes = new Uint8Array(letters.length);
  for (let i = 0; i < letters.length; ++i) bytes[i] = letters.charCodeAt(i);
  return bytes;
}

/** Reads data in the form in which a page holds them: compressed, in base 64. */
export async function decodePage(text: string): Promise<PageData> {
  const packed = new Blob([bytesOfLetters(text)]).stream();
  const stream = packed.pipeThrough(new DecompressionStream('deflate'));
  return new PageData(new Uint8Array(await new Response(stream).arrayBuffer()));
}
