#pragma once

// Writing surfaces as symbol streams, in step with decodeSurface().

#include "SurfaceSource.h"
#include "Topology.h"

namespace jt::codec {

/// Symbols of surfaces, and which vertices and records go with them.
struct EncodedSurface {
  TopologyStreams streams;
  std::vector<std::uint32_t>
      corners;  ///< of each vertex in order: one of its corners in the source
  std::vector<std::uint32_t> records;  ///< of the source, in the order of the attribute records

  /// Takes the symbols of another surface behind the own ones.
  void append(const EncodedSurface& other);
};

/// Encodes the surfaces of a source.
/// @param groups of the triangles; empty when all are 0
/// @param records of the triangles' corners; empty when there are no attributes
EncodedSurface encodeSurface(const SurfaceSource& source, std::span<const std::int32_t> groups,
                             std::span<const std::uint32_t> records, Generation generation,
                             Variant variant);

}  // namespace jt::codec
