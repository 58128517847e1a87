#pragma once

// Whether two meshes show the same, in whatever order their vertices and primitives stand.

#include <optional>
#include <string>
#include <utility>

#include "JtMesh.h"

namespace jt::compare_detail {

/// What is different between two meshes, as a text for each; nothing when each primitive of one has
/// a partner in the other: a triangle with the same corners from any corner on, a polyline with the
/// same corners, a point. Coordinates, normals, colours and texture coordinates of partners are at
/// most `tolerance` apart, component by component; with a tolerance of 0 partners are one to one.
/// Face groups and vertex flags do not count.
std::optional<std::pair<std::string, std::string>> meshDifference(const Mesh& a, const Mesh& b,
                                                                  double tolerance);

}  // namespace jt::compare_detail
