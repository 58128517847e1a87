#include "MeshLosses.h"

#include <assimp/mesh.h>

namespace mesh {
namespace {

const char* textOf(Loss loss) {
  switch (loss) {
    case Loss::emptyTriangle:
      return "triangles without extent that are left out";
    case Loss::emptySegment:
      return "line segments without length that are left out";
    case Loss::computedNormal:
      return "normals without direction that are computed from the faces";
    case Loss::normalizedNormal:
      return "normals that are no unit vectors and are scaled to length 1";
    case Loss::droppedNormals:
      return "meshes whose normals are left out, since they have no direction";
    case Loss::droppedColors:
      return "meshes whose vertex colors are left out, since some are no finite numbers";
    case Loss::clampedColor:
      return "vertex colors beyond 0 to 1 that are cut";
    case Loss::extraColors:
      return "further sets of vertex colors that are left out";
    case Loss::droppedTexture:
      return "sets of texture coordinates that are left out, since some are no finite numbers";
  }
  return "";
}

}  // namespace

void MeshLosses::add(Loss loss, const aiMesh& mesh, std::size_t count) {
  Entry& entry = entries_[static_cast<std::size_t>(loss)];
  if (count > 0 && entry.count == 0) entry.first = nameOf(mesh);
  entry.count += count;
}

void MeshLosses::add(const MeshLosses& later) {
  for (std::size_t i = 0; i < entries_.size(); ++i) {
    if (entries_[i].count == 0) entries_[i].first = later.entries_[i].first;
    entries_[i].count += later.entries_[i].count;
  }
}

std::vector<std::string> MeshLosses::notes() const {
  std::vector<std::string> notes;
  for (std::size_t i = 0; i < entries_.size(); ++i)
    if (entries_[i].count > 0)
      notes.push_back(std::string(textOf(static_cast<Loss>(i))) + ": " +
                      std::to_string(entries_[i].count) + ", the first in " + entries_[i].first);
  return notes;
}

std::string nameOf(const aiMesh& mesh) {
  return mesh.mName.length > 0 ? "the mesh '" + std::string(mesh.mName.C_Str()) + "'" : "a mesh";
}

}  // namespace mesh
