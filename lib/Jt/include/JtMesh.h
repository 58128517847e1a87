#pragma once

// Geometry of one shape, in a form that owes nothing to how files store it.

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "JtExport.h"

namespace jt {

/// Three coordinates or the components of a direction.
using Vec3f = std::array<float, 3>;

/// Triangles, polylines or points over shared positions.
///
/// A corner is one use of a vertex by a primitive. It names a position and, where there are
/// attributes, an attribute record: the normal, color, texture coordinates and flags that hold in
/// this corner. Corners at one position may name different records (a hard edge), and corners at
/// different positions may share one.
struct JT_API Mesh {
  enum class Kind : std::uint8_t { triangles, polylines, points };
  /// The texture coordinates of one channel.
  struct TextureChannel {
    int channel = 0;            ///< 0 to 7
    int components = 2;         ///< of each record, 1 to 4
    std::vector<float> values;  ///< components of the first record, of the second, ...
  };

  Kind kind = Kind::triangles;
  /// Local coordinates of the shape, in the length unit of its node. Values need not be finite in
  /// meshes that were read.
  std::vector<Vec3f> positions;

  /// Attribute arrays: each is empty, or has one entry a record.
  std::vector<Vec3f> normals;                ///< unit vectors
  std::vector<std::array<float, 4>> colors;  ///< red, green, blue, alpha in 0..1
  std::vector<TextureChannel> textures;      ///< ascending channels
  std::vector<std::uint32_t> flags;          ///< carried; their meaning is the producer's

  /// Index of the position of each corner: three a triangle, counter-clockwise seen from outside;
  /// for polylines and points one after the other.
  std::vector<std::uint32_t> corners;
  /// Index of the record of each corner; empty when there are no attribute arrays.
  std::vector<std::uint32_t> records;
  /// Polylines and points: where in `corners` each primitive begins, and one closing entry. Empty
  /// for triangles, and when there is no primitive.
  std::vector<std::uint32_t> starts;
  /// Face group of each primitive; empty when all are 0. Groups tie triangles to the faces of a
  /// precise model.
  std::vector<std::int32_t> groups;

  /// Triangles, polylines or sets of points.
  std::size_t primitiveCount() const noexcept;
  /// Number of attribute records; 0 when there are no attribute arrays.
  std::size_t recordCount() const noexcept;
  /// What is wrong with the sizes and indices; empty for a mesh that can be used.
  std::string flaw() const;
};

}  // namespace jt
