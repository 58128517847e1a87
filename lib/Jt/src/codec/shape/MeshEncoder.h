#pragma once

// Encodes the neutral mesh as the contents of shape elements.

#include "JtMesh.h"
#include "codec/shape/ShapeData.h"

namespace jt::codec {

/// How packets are written, and triangles of 9.x and 10.x; those of 8.x are strips in both.
enum class Profile : std::uint8_t {
  /// Plain packets. Small patches that decode alike under every variant of the walk. Positions on
  /// the borders of patches are stored once a patch.
  compatible,
  /// Arithmetic code. Whole surfaces: a fraction of the size, for readers that walk as this library
  /// does.
  compact,
};

struct EncodeOptions {
  Profile profile = Profile::compatible;
  unsigned coordinateBits = 0;  ///< 1..24; 0 lossless
  unsigned normalBits = 0;      ///< an angle, 1..13; 0 lossless
  unsigned textureBits = 16;    ///< 1..24
  unsigned colorBits = 8;       ///< 1..8
  Variant variant{};            ///< of the compact profile
};

/// The bindings of what a mesh has.
VertexBindings bindingsOf(const Mesh& mesh);
/// The bindings of what a generation stores of it: 8.x has no flags and one texture channel.
VertexBindings bindingsOf(const Mesh& mesh, Generation generation);

/// Bits of what is bound, as they are stored. 8.x quantizes all numbers of a shape or none: none
/// where coordinates or normals are to be lossless.
QuantizationParameters quantizationOf(const VertexBindings& bindings, Generation generation,
                                      const EncodeOptions& options);

/// @pre mesh.flaw() is empty. What a form cannot hold is left out and listed in `losses`. Throw
/// JtFormatError "bad_option" for bits out of range, "too_large" for a mesh that cannot be stored.

/// Triangles of 9.x and 10.x. All triangles are kept, flat and double ones too, in another order.
TopologyData encodeTopology(const Mesh& mesh, Generation generation, const EncodeOptions& options,
                            Report& losses);
/// Polylines and points of 9.x and 10.x.
ListData encodeLists(const Mesh& mesh, Generation generation, const EncodeOptions& options,
                     Report& losses);
/// All of 8.x. All triangles are kept, in another order. Of lossless data `raw` has the plain
/// records in file order, for the caller to pack.
StripData encodeStrips(const Mesh& mesh, bool bigEndian, const EncodeOptions& options,
                       Report& losses);

}  // namespace jt::codec
