#pragma once

// Shape segments: geometry that is read from the segments of a file, and segments that are made of
// geometry.

#include <string>

#include "JtShapeEncoding.h"
#include "codec/shape/MeshEncoder.h"
#include "file/container/Container.h"
#include "file/shapes/ShapeTable.h"

namespace jt::file {

/// Geometry of one segment, with what was noticed.
struct DecodedShape {
  const ShapeKind* kind = nullptr;
  Mesh mesh;
  std::vector<Diagnostic> warnings;
  /// Bits that it is stored with: a coordinate, an angle of a normal, a texture coordinate, a
  /// color component; 0 for lossless and for what it does not have.
  codec::QuantizationParameters bits{};
  bool isCompact = false;  ///< packed as the compact profile packs 9.x and 10.x
};

struct ShapeReadOptions {
  bool checkHashes = true;
  ReadLimits limits;              ///< of the file; a decoded shape may take maxSegmentBytes
  float tolerance = 0;            ///< of primitives that become triangles, see tessellate
  MemoryShare* memory = nullptr;  ///< counts what decoding takes, the result included; may be null
};

/// The first element with geometry in the content of a shape segment. Safe on untrusted bytes:
/// throws JtFormatError, "no_geometry" when no element of the segment has any.
/// @param variants of the file that the segment is from
DecodedShape readShape(std::span<const std::byte> content, const Format& format,
                       codec::VariantChoice& variants, const ShapeReadOptions& options = {});

/// The same for a segment of a file, with its name in errors.
DecodedShape readShapeSegment(const Container& container, const TocEntry& entry,
                              codec::VariantChoice& variants, float tolerance = 0);

/// The variants that the shapes of a file allow, for a codec::VariantChoice. The largest are asked
/// first; one that allows none of the variants that are left has no say. Never throws for what the
/// file holds; 0 when there is nothing to ask.
std::uint8_t examineVariants(const Container& container);

/// A whole shape segment of one element with a mesh, in the form of a file. What the form cannot
/// hold is left out and listed in `losses`. Throws JtFormatError for a mesh with a flaw, or one
/// that is too large.
/// @param type segment type, 6 to 16 @param level of zlib, for 8.x
Buffer writeShapeSegment(const Mesh& mesh, const JtGuid& id, std::int32_t type,
                         const Format& format, const codec::EncodeOptions& options,
                         codec::Report& losses, int level = 6);

/// What the codecs make of an encoding. @pre encoding.flaw() is empty
codec::EncodeOptions optionsOf(const ShapeEncoding& encoding);

/// Extent and counts of a mesh, as its shape node stores them.
ShapeStatistics statisticsOf(const Mesh& mesh);

}  // namespace jt::file
