#pragma once

// From the import library's data to ours; used by loadScene alone.

#include <memory>

#include "MeshScene.h"

struct aiMaterial;
struct aiMesh;
struct aiScene;

namespace mesh {

/// Positions that are equal become one, records too; triangles without extent are left out, and so
/// are normals, colours and texture coordinates with numbers that are not finite. One mesh for each
/// kind of primitive that there is; none when nothing is left. Throws JtFormatError "bad_positions"
/// for positions that are not finite.
/// @pre faces name vertices that exist
std::vector<std::shared_ptr<const jt::Mesh>> meshesFrom(const aiMesh& source);

Material materialFrom(const aiMaterial& source);

/// Millimetres in the unit of length of a scene that was read from a file with that extension
/// (lower case).
double unitOf(const aiScene& scene, const std::string& extension);

}  // namespace mesh
