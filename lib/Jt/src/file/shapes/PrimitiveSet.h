#pragma once

// Boxes, cylinders and other primitives by their parameters, and as triangles.

#include <array>
#include <optional>
#include <vector>

#include "JtPartition.h"
#include "file/shapes/ShapeElement.h"

namespace jt::file {

struct Primitive {
  enum class Type : std::int32_t { box, cone, pyramid, sphere, prism };
  Type type = Type::box;
  /// Least corner of boxes, pyramids and prisms; centre of spheres and of the base of cones.
  Vec3f place{};
  /// Lengths along the own axes; base radius, top radius and height of cones; radius of spheres.
  Vec3f size{};
  std::array<float, 4> orientation{0, 0, 0, 1};  ///< quaternion x, y, z, w, about `place`
  std::optional<Vec3f> color;                    ///< red, green, blue
};

/// The primitives of an element. Throws JtFormatError for a damaged one, "no_geometry" for the
/// lossy form of more than four primitives, whose layout is not certain.
std::vector<Primitive> primitivesOf(const ShapeElement& element, const Format& format,
                                    const ReadLimits& limits, codec::Budget& budget);

/// The surfaces as triangles, face group i for primitive i; colors where all have one.
/// @param tolerance greatest distance between a curved surface and its triangles; 0: a hundredth of
/// its radius
Mesh tessellate(const std::vector<Primitive>& primitives, float tolerance, codec::Budget& budget);

}  // namespace jt::file
