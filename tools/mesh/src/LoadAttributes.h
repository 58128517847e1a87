#pragma once

#include <vector>

#include "JtMesh.h"
#include "MeshLosses.h"

namespace mesh {

/// Reads normals, vertex colors and texture coordinates: one record a vertex of the file. Values
/// are kept to the bit, but for the sign of zeros, normals that are no unit vectors and colors
/// beyond 0 to 1.
/// @param isUsed for each vertex: whether a primitive of the mesh's kind has it; others may hold
/// anything
void readAttributes(const aiMesh& source, const std::vector<bool>& isUsed, jt::Mesh& mesh,
                    MeshLosses& losses);

}  // namespace mesh
