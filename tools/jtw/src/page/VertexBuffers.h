#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "JtMesh.h"

namespace tool {

/// A mesh as a graphics processor takes it: one index for a position together with its record.
struct VertexBuffers {
  std::vector<jt::Vec3f> positions;
  /// Unit vectors times 127, the fourth component 0; where a vertex has none all are 0. Empty for a
  /// mesh without normals.
  std::vector<std::array<std::int8_t, 4>> normals;
  /// Red, green, blue, alpha; empty for a mesh without colors.
  std::vector<std::array<std::uint8_t, 4>> colors;
  /// The first two texture coordinates of each channel.
  struct Coordinates {
    int channel;
    std::vector<std::array<float, 2>> values;
  };
  std::vector<Coordinates> coordinates;
  /// Three for a triangle, two for each piece of a polyline, one for a point.
  std::vector<std::uint32_t> indices;
};

/// Leaves out primitives with positions that are not finite. @pre jt::Mesh::flaw() is empty
VertexBuffers vertexBuffersOf(const jt::Mesh& mesh);

}  // namespace tool
