// How surfaces are shaded: by a light beside the eye, both sides alike, since files differ in which
// side is outside.

import * as THREE from 'three';
import type { TextureData } from './data.js';

const vertexShader = `
#include <batching_pars_vertex>
#include <color_pars_vertex>
#include <clipping_planes_pars_vertex>
varying vec3 vNormalInView;
varying vec3 vPlaceInView;
#if NUM_CLIPPING_PLANES > 0
varying float vIsMirrored;
#endif
#ifdef USE_IMAGE
varying vec2 vInImage;
#endif
void main() {
  #ifdef USE_IMAGE
  vInImage = uv;
  #endif
  #include <batching_vertex>
  #include <color_vertex>
  mat3 turn = mat3(batchingMatrix);
  #if NUM_CLIPPING_PLANES > 0
  vIsMirrored = determinant(turn) < 0.0 ? 1.0 : 0.0;
  #endif
  vec3 stretched = normal / vec3(dot(turn[0], turn[0]), dot(turn[1], turn[1]), dot(turn[2], turn[2]));
  vNormalInView = normalMatrix * (turn * stretched);
  vec4 mvPosition = modelViewMatrix * (batchingMatrix * vec4(position, 1.0));
  vPlaceInView = mvPosition.xyz;
  gl_Position = projectionMatrix * mvPosition;
  #include <clipping_planes_vertex>
}`;

const fragmentShader = `
#include <color_pars_fragment>
#include <clipping_planes_pars_fragment>
varying vec3 vNormalInView;
varying vec3 vPlaceInView;
#if NUM_CLIPPING_PLANES > 0
varying float vIsMirrored;
#endif
#ifdef USE_IMAGE
uniform sampler2D image;
varying vec2 vInImage;
#endif
const vec3 light = vec3(0.2540, 0.3810, 0.8890);
void main() {
  vec4 diffuseColor = vColor;
  #include <clipping_planes_fragment>
  #ifdef USE_IMAGE
  diffuseColor *= texture2D(image, vInImage);
  #endif
  #if NUM_CLIPPING_PLANES > 0
  // The inside of a closed body that is cut: without light it looks like the matter that was cut through.
  if (gl_FrontFacing == (vIsMirrored > 0.5)) {
    gl_FragColor = vec4(0.45 * diffuseColor.rgb, diffuseColor.a);
    return;
  }
  #endif
  vec3 n = vNormalInView;
  if (dot(n, n) < 1e-12) n = cross(dFdx(vPlaceInView), dFdy(vPlaceInView));
  n = normalize(n);
  n *= n.z < 0.0 ? -1.0 : 1.0;
  float brightness = 0.35 + 0.65 * max(dot(n, light), 0.0);
  gl_FragColor = vec4(diffuseColor.rgb * brightness, diffuseColor.a);
}`;

const wraps: Record<number, THREE.Wrapping> = { 2: THREE.RepeatWrapping, 3: THREE.MirroredRepeatWrapping };

function imageOf({ width, height, texels, wrap }: TextureData): THREE.DataTexture {
  const image = new THREE.DataTexture(texels, width, height);
  image.wrapS = wraps[wrap[0]] ?? THREE.ClampToEdgeWrapping;
  image.wrapT = wraps[wrap[1]] ?? THREE.ClampToEdgeWrapping;
  image.magFilter = THREE.LinearFilter;
  image.minFilter = THREE.LinearMipmapLinearFilter;
  image.generateMipmaps = true;
  image.needsUpdate = true;
  return image;
}

/** @param hasColors vertices have colors @param texture an image; null: none */
export function surfaceMaterial(isOpaque: boolean, hasColors: boolean, texture: TextureData | null): THREE.ShaderMaterial {
  return new THREE.ShaderMaterial({
    vertexShader,
    fragmentShader,
    defines: texture ? { USE_IMAGE: '' } : {},
    uniforms: texture ? { image: { value: imageOf(texture) } } : {},
    vertexColors: hasColors,
    clipping: true,
    side: THREE.DoubleSide,
    forceSinglePass: true,
    transparent: !isOpaque,
    depthWrite: isOpaque,
    // Lines on surfaces are to be seen.
    polygonOffset: true,
    polygonOffsetFactor: 1,
    polygonOffsetUnits: 1,
  });
}
