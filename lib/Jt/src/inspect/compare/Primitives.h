#pragma once

// A mesh as a set of primitives, and when two primitives show the same.

#include <cstdint>
#include <utility>

#include "JtMesh.h"
#include "inspect/compare/Tolerance.h"

namespace jt::compare_detail {

/// One mesh as a list of primitives: triangles, polylines, single points.
class Primitives {
 public:
  /// @param mesh must outlive this
  explicit Primitives(const Mesh& mesh) : mesh_(mesh) {}

  std::size_t count() const noexcept {
    return mesh_.kind == Mesh::Kind::points ? mesh_.corners.size() : mesh_.primitiveCount();
  }
  /// Number of a primitive's first corner, and of its corners.
  std::pair<std::size_t, std::size_t> corners(std::size_t primitive) const {
    switch (mesh_.kind) {
      case Mesh::Kind::triangles:
        return {3 * primitive, 3};
      case Mesh::Kind::polylines:
        return {mesh_.starts[primitive], mesh_.starts[primitive + 1] - mesh_.starts[primitive]};
      case Mesh::Kind::points:
        break;
    }
    return {primitive, 1};
  }
  const Vec3f& position(std::size_t corner) const { return mesh_.positions[mesh_.corners[corner]]; }
  const Mesh& mesh() const noexcept { return mesh_; }

  /// Mean of all corners: no farther from that of a partner than the corners are.
  std::array<double, 3> center(std::size_t primitive) const;
  /// Equal for primitives that are partners within no tolerance.
  std::uint64_t hash(std::size_t primitive) const;

 private:
  std::uint64_t cornerHash(std::size_t corner) const;

  const Mesh& mesh_;
};

/// True when two primitives have the same corners, triangles from any corner on, with values within
/// the tolerance. Symmetric.
/// @pre both meshes have the same kind and attribute arrays
bool arePartners(const Primitives& a, std::size_t primitiveA, const Primitives& b,
                 std::size_t primitiveB, const Tolerance& tolerance);

}  // namespace jt::compare_detail
