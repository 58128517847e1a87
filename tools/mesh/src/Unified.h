#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "JtMesh.h"

namespace mesh {

/// Values of the same things, `width` bytes each, one after the other.
struct Column {
  const void* data;
  std::size_t width;
};
/// What is equal in all columns becomes one: the new index of each of the `count` things, in the
/// order of first use, and how many there are.
struct Welding {
  std::vector<std::uint32_t> newIndex;
  std::size_t count;
};
Welding weld(std::span<const Column> columns, std::size_t count);

/// A mesh as graphics wants it: one index for a position together with its record.
struct Unified {
  std::vector<std::uint32_t> indices;    ///< of the vertex of each corner
  std::vector<std::uint32_t> positions;  ///< of each vertex: index among the mesh's positions
  std::vector<std::uint32_t> records;    ///< of each vertex; empty without attributes
};
Unified unify(const jt::Mesh& mesh);

/// Takes out positions and records that no corner uses, and numbers the others in the order of
/// their first use.
void compact(jt::Mesh& mesh);

}  // namespace mesh
