#pragma once

#include <algorithm>
#include <utility>
#include <vector>

#include "JtMesh.h"

// What a mesh says, whatever its order.

/// A triangle or another primitive by its values: corners with attributes, and the group.
using Primitive = std::pair<std::vector<std::vector<float>>, std::int32_t>;

inline std::vector<float> cornerOf(const jt::Mesh& mesh, std::size_t corner) {
  const jt::Vec3f& p = mesh.positions[mesh.corners[corner]];
  std::vector<float> values{p[0] + 0.0F, p[1] + 0.0F, p[2] + 0.0F};
  if (mesh.records.empty()) return values;
  const std::uint32_t record = mesh.records[corner];
  if (!mesh.normals.empty())
    values.insert(values.end(), mesh.normals[record].begin(), mesh.normals[record].end());
  if (!mesh.flags.empty()) values.push_back(static_cast<float>(mesh.flags[record]));
  return values;
}

/// What a mesh says, whatever its order; triangles are turned to begin with
/// their least corner.
inline std::vector<Primitive> contentOf(const jt::Mesh& mesh, bool withGroups = true) {
  std::vector<Primitive> primitives;
  for (std::size_t p = 0; p < mesh.primitiveCount(); ++p) {
    Primitive& primitive = primitives.emplace_back();
    const bool isTriangle = mesh.kind == jt::Mesh::Kind::triangles;
    const std::size_t from = isTriangle ? 3 * p : mesh.starts[p];
    const std::size_t to = isTriangle ? from + 3 : mesh.starts[p + 1];
    for (std::size_t c = from; c < to; ++c) primitive.first.push_back(cornerOf(mesh, c));
    auto turned = primitive.first;
    for (int turn = 0; isTriangle && turn < 2; ++turn) {
      std::rotate(turned.begin(), turned.begin() + 1, turned.end());
      primitive.first = std::min(primitive.first, turned);
    }
    primitive.second = withGroups && !mesh.groups.empty() ? mesh.groups[p] : 0;
  }
  if (mesh.kind == jt::Mesh::Kind::triangles) std::ranges::sort(primitives);
  return primitives;
}
