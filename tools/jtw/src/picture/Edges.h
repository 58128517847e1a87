#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "JtMesh.h"

namespace tool {

/// Indices of two positions of a mesh.
using Edge = std::array<std::uint32_t, 2>;

/// The edges of a mesh of triangles that show its form: where the surface ends, where it turns by
/// more than `degrees`, and where more than two triangles meet. Positions that are equal count as
/// one. None for other meshes.
std::vector<Edge> featureEdges(const jt::Mesh& mesh, double degrees);

}  // namespace tool
