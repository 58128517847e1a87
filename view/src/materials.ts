// How surfaces are shaded: by a light beside the eye, both sides alike, since files differ in which
// side is outside.

import * as THREE from 'three';

const vertexShader = `
#include <batching_pars_vertex>
#include <color_pars_vertex>
#include <clipping_planes_pars_vertex>
varying vec3 vNormalInView;
varying vec3 vPlaceInView;
void main() {
  #include <batching_vertex>
  #include <color_vertex>
  mat3 turn = mat3(batchingMatrix);
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
const vec3 light = vec3(0.2540, 0.3810, 0.8890);
void main() {
  vec4 diffuseColor = vColor;
  #include <clipping_planes_fragment>
  vec3 n = vNormalInView;
  if (dot(n, n) < 1e-12) n = cross(dFdx(vPlaceInView), dFdy(vPlaceInView));
  n = normalize(n);
  n *= n.z < 0.0 ? -1.0 : 1.0;
  float brightness = 0.35 + 0.65 * max(dot(n, light), 0.0);
  gl_FragColor = vec4(vColor.rgb * brightness, vColor.a);
}`;

/** @param hasColors vertices have colors */
export function surfaceMaterial(isOpaque: boolean, hasColors: boolean): THREE.ShaderMaterial {
  return new THREE.ShaderMaterial({
    vertexShader,
    fragmentShader,
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
