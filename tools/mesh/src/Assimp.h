#pragma once

// From the import library's data to ours; used by loadScene alone.

#include <filesystem>
#include <map>
#include <memory>

#include "MeshScene.h"

struct aiMaterial;
struct aiMesh;
struct aiScene;
struct aiString;

namespace Assimp {
class IOSystem;
}

namespace mesh {

/// Positions that are equal become one, records too; triangles without extent are left out, and so
/// are normals, colours and texture coordinates with numbers that are not finite. One mesh for each
/// kind of primitive that there is; none when nothing is left. Throws JtFormatError "bad_positions"
/// for positions that are not finite.
/// @pre faces name vertices that exist
std::vector<std::shared_ptr<const jt::Mesh>> meshesFrom(const aiMesh& source);

Material materialFrom(const aiMaterial& source);

/// Finds and decodes the images that materials name: those in the file itself, and files that lie
/// where `files` lets them be opened. What cannot be taken is left out, with a note in the scene.
class TextureReader {
 public:
  /// @param folder of the mesh file
  TextureReader(const aiScene& source, Assimp::IOSystem& files, std::filesystem::path folder,
                Scene& scene);
  /// The texture of the surface's own colour; none when the material has none.
  std::optional<Texture> textureOf(const aiMaterial& material);

 private:
  std::optional<std::size_t> imageOf(const aiString& name);
  jt::TexturePixels decode(const aiString& name) const;
  jt::TexturePixels decodeFile(const std::string& name) const;

  const aiScene& source_;
  Assimp::IOSystem& files_;
  std::filesystem::path folder_;
  Scene& scene_;
  std::map<std::string, std::optional<std::size_t>> images_;  // by name; none: cannot be taken
  std::size_t bytesLeft_;
};

/// Millimetres in the unit of length of a scene that was read from a file with that extension
/// (lower case).
double unitOf(const aiScene& scene, const std::string& extension);

}  // namespace mesh
