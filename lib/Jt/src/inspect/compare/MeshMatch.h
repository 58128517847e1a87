#pragma once

// Whether two meshes show the same, in any order of vertices and primitives.

#include <optional>
#include <string>
#include <vector>

#include "JtCompare.h"
#include "JtMesh.h"
#include "inspect/compare/Tolerance.h"

namespace jt::compare_detail {

/// What two meshes that are not the same consist of.
struct MeshDifference {
  std::string a;
  std::string b;
  std::vector<ComparedCount> counts;  ///< of what either one has
};

/// What is different between two meshes; nothing when each primitive of one has
/// a partner in the other: a triangle with the same corners from any corner on, a polyline with the
/// same corners, a point. Values of partners are within the tolerance, component by component;
/// without a tolerance partners are one to one. Meshes that are the same within one tolerance are
/// the same within every greater one. Face groups and vertex flags do not count.
///
/// Expected linear time. Throws JtFormatError "too_complex" when very many primitives lie within
/// the tolerance of each other and differ in other values.
std::optional<MeshDifference> meshDifference(const Mesh& a, const Mesh& b,
                                             const Tolerance& tolerance);

}  // namespace jt::compare_detail
