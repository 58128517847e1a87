#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <vector>

struct aiMesh;

namespace mesh {

/// What is not taken over from a mesh as it is given.
enum class Loss {
  emptyTriangle,     ///< two corners at one place
  emptySegment,      ///< both ends at one place
  computedNormal,    ///< of a face, for one that has no direction
  normalizedNormal,  ///< was no unit vector
  droppedNormals,
  droppedColors,
  clampedColor,
  extraColors,
  droppedTexture
};

/// Counts the losses of all meshes of a file.
class MeshLosses {
 public:
  void add(Loss loss, const aiMesh& mesh, std::size_t count = 1);
  /// Adds those of meshes that come later in the file.
  void add(const MeshLosses& later);
  /// One text for each kind of loss that there is.
  std::vector<std::string> notes() const;

 private:
  struct Entry {
    std::size_t count = 0;
    std::string first;  // mesh
  };
  std::array<Entry, static_cast<std::size_t>(Loss::droppedTexture) + 1> entries_;
};

/// "the mesh 'lid'", or "a mesh" for one without name.
std::string nameOf(const aiMesh& mesh);

}  // namespace mesh
