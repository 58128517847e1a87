#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "JtMaterial.h"
#include "JtMesh.h"
#include "JtNode.h"
#include "JtXform.h"

namespace binding {

/// A decoded mesh where it is drawn. Arrays of Python share the memory of the mesh.
struct MeshHandle {
  std::shared_ptr<const jt::Mesh> mesh;
  jt::Matrix4 placement = jt::kIdentity;  ///< to where the walk began, for row vectors
  std::optional<jt::Rgba> color;          ///< what the path hands down
  std::string part;                       ///< name of the nearest part above
};

/// The meshes that a viewer shows below a node, decoded. Throws JtFormatError for one that cannot
/// be read. @param level of detail, 0 the finest; of nodes with fewer levels the coarsest
std::vector<MeshHandle> meshesBelow(JtNode& node, std::uint32_t level);

}  // namespace binding
