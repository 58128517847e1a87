#pragma once

// From the import library's data to ours; used by loadScene alone.

#include <assimp/vector3.h>

#include <cmath>
#include <memory>
#include <string>

#include "CoordinateMap.h"
#include "Folder.h"
#include "MeshLosses.h"
#include "SceneImages.h"

struct aiMaterial;
struct aiMesh;
struct aiScene;
struct aiString;

namespace mesh {

inline bool isFinite(const aiVector3D& v) {
  return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z);
}

/// Without the sign of zeros, which would keep equal values apart.
inline jt::Vec3f toVec(const aiVector3D& v) { return {v.x + 0.0F, v.y + 0.0F, v.z + 0.0F}; }

/// Positions that are equal become one, records too; all values stay as they are. What is left out
/// or changed is counted in `losses`: triangles without extent, attributes that are not finite. One
/// mesh for each kind of primitive that there is; none when nothing is left. Throws JtFormatError
/// "bad_positions" for positions that are not finite.
/// @pre faces name vertices that exist
std::vector<std::shared_ptr<const jt::Mesh>> meshesFrom(const aiMesh& source, MeshLosses& losses);

Material materialFrom(const aiMaterial& source);

/// The file that is read.
struct MeshFile {
  std::string extension;  ///< lower case
  tool::Folder folder;
  bool isGltf() const { return extension == "gltf" || extension == "glb" || extension == "vrm"; }
};

/// Finds and decodes the images that materials name: those in the file itself, and files in its
/// folder. What cannot be taken is left out, with a note in the scene.
class TextureReader {
 public:
  TextureReader(const aiScene& source, const MeshFile& file, Scene& scene);
  /// The texture of the surface's own color; none when the material has none.
  std::optional<PlacedTexture> textureOf(const aiMaterial& material);

 private:
  jt::TexturePixels decode(const aiString& name, std::size_t mostBytes) const;

  const aiScene& source_;
  const MeshFile& file_;
  Scene& scene_;
  SceneImages images_;
};

/// Millimetres in the unit of length of a scene that was read from a file with that extension
/// (lower case).
double unitOf(const aiScene& scene, const std::string& extension);

}  // namespace mesh
