#pragma once

// The forms of a scene in bytes; used by writeScene alone.

#include <string>
#include <string_view>

#include "MeshScene.h"

namespace mesh {

/// glTF 2.0 in its binary form. @pre the scene is in metres
std::string glbOf(const Scene& scene);

/// The flat forms, in the scene's unit. @pre nodes have placements with finite numbers
std::string stlOf(const Scene& scene);
std::string plyOf(const Scene& scene);
/// @param library name of the material list, which lies beside it; empty: none
std::string objOf(const Scene& scene, std::string_view library);
/// The material list of an OBJ file.
std::string mtlOf(const Scene& scene);

/// A mesh at its place: the root's coordinates.
struct Placed {
  const Node* node;
  const Surface* surface;
  const jt::Mesh* mesh;
  std::vector<jt::Vec3f> positions;
  std::vector<jt::Vec3f> normals;  ///< records; empty without
  bool isMirrored;                 ///< its triangles turn the other way round
};

/// Calls `take` for every mesh that a node shows, in the order of the nodes.
template <class Take>
void forEachPlaced(const Scene& scene, const Take& take);
Placed place(const Scene& scene, std::size_t node, const Surface& surface,
             const jt::Matrix4& placement);

template <class Take>
void forEachPlaced(const Scene& scene, const Take& take) {
  const std::vector<jt::Matrix4> places = placements(scene);
  for (std::size_t i = 0; i < scene.nodes.size(); ++i) {
    if (!scene.nodes[i].model) continue;
    for (const Surface& surface : scene.models[*scene.nodes[i].model].surfaces)
      take(place(scene, i, surface, places[i]));
  }
}

}  // namespace mesh
