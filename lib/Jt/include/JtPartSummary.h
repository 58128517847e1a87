#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "JtExport.h"
#include "JtMaterial.h"
#include "JtNode.h"
#include "JtTexture.h"

namespace jt {

/// What the nodes of a part state of it. Pointers own nothing.
struct PartSummary {
  /// Of the finest level of detail and of shapes outside levels; nothing when the node of one of
  /// these shapes does not state its counts.
  std::optional<std::uint64_t> triangles;
  std::optional<std::uint64_t> vertices;
  std::size_t shapes = 0;  ///< the same
  /// The most levels of detail that one of its shapes has; 0 without shapes.
  std::size_t lods = 0;
  /// Stored, of the segments that its nodes name, each once: geometry of all levels, exact
  /// geometry, PMI, metadata. 0 for what no file has yet.
  std::uint64_t bytes = 0;
  bool exact = false;  ///< it names exact geometry
  /// The material that the part gives its first shape; null: none, one from above counts.
  Ref<const JtMaterial> material;
  const JtTextureImage* texture = nullptr;  ///< the first in it; null: none
};

/// Sums up a part: a node and what is below it, each node once. Nothing is decoded.
JT_API PartSummary summarizePart(const JtNode& part);

}  // namespace jt
