#pragma once

#include <string>

#include "JtExport.h"

namespace jt {

/// How new geometry is stored: which kind of code, and with how many bits a number. See
/// JtPartition::setShapeEncoding. 8.x files have strips in both profiles, and round all numbers of
/// a shape or none: none where its coordinates or its normals are to be lossless.
struct JT_API ShapeEncoding {
  enum class Profile {
    /// Small patches that every reader takes apart alike. Positions on the borders of patches are
    /// stored once a patch.
    compatible,
    /// Whole surfaces in arithmetic code: a fraction of the size. Two details of how such surfaces
    /// are to be walked are not settled between producers; a reader that settles them otherwise
    /// shows another surface or none.
    compact,
  };

  static constexpr unsigned kMostPositionBits = 24;
  static constexpr unsigned kMostNormalBits = 13;
  static constexpr unsigned kMostTextureBits = 24;
  static constexpr unsigned kMostColorBits = 8;

  Profile profile = Profile::compatible;
  /// Bits of a coordinate, 1 to 24, over the extent of the shape along that axis: off by half of
  /// extent / (2^bits - 1) at most. 0: lossless.
  unsigned positionBits = 0;
  /// Bits of each of a normal's two angles, 1 to 13; 6 is off by about a degree. 0: lossless.
  unsigned normalBits = 0;
  /// Bits of a texture coordinate over its range in the shape, 1 to 24. 9.x and 10.x have no
  /// lossless form that is certain enough to be written.
  unsigned textureBits = 16;
  /// Bits of a color component, 1 to 8; as textureBits.
  unsigned colorBits = 8;

  /// What is out of range; empty for an encoding that can be used.
  std::string flaw() const;

  friend bool operator==(const ShapeEncoding&, const ShapeEncoding&) = default;
};

}  // namespace jt
