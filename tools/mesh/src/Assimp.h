#pragma once

// From the import library's data to ours; used by loadScene alone.

#include <memory>
#include <string>

#include "CoordinateMap.h"
#include "Folder.h"
#include "SceneImages.h"

struct aiMaterial;
struct aiMesh;
struct aiScene;
struct aiString;

namespace mesh {

/// Positions that are equal become one, records too; triangles without extent are left out, and so
/// are normals, colours and texture coordinates with numbers that are not finite. One mesh for each
/// kind of primitive that there is; none when nothing is left. Throws JtFormatError "bad_positions"
/// for positions that are not finite.
/// @pre faces name vertices that exist
std::vector<std::shared_ptr<const jt::Mesh>> meshesFrom(const aiMesh& source);

Material materialFrom(const aiMaterial& source);

/// The file that is read.
struct MeshFile {
  std::string extension;  ///< lower case
  Folder folder;
  bool isGltf() const { return extension == "gltf" || extension == "glb" || extension == "vrm"; }
};

/// Finds and decodes the images that materials name: those in the file itself, and files in its
/// folder. What cannot be taken is left out, with a note in the scene.
class TextureReader {
 public:
  TextureReader(const aiScene& source, const MeshFile& file, Scene& scene);
  /// The texture of the surface's own colour; none when the material has none.
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
