#pragma once

// Encodes surfaces as symbol streams, in step with decodeSurface().

#include <unordered_map>

#include "codec/surface/ActiveVertices.h"
#include "codec/surface/SurfaceSource.h"
#include "codec/surface/Topology.h"

namespace jt::codec {

/// Symbols of surfaces, and which vertices and records go with them.
struct EncodedSurface {
  TopologyStreams streams;
  std::vector<std::uint32_t>
      corners;  ///< of each vertex in order: one of its corners in the source
  std::vector<std::uint32_t> records;  ///< of the source, in the order of the attribute records

  /// Appends the symbols of another surface.
  void append(const EncodedSurface& other);
  /// Removes everything but keeps the memory.
  void clear();
};

/// Traverses surfaces as SurfaceWalk does and emits the symbols that make it take the same path.
/// The source holds what SurfaceWalk has to deduce, so no surface is built.
class SurfaceEncoder {
 public:
  /// @param beginsMasks whether each ring begins with a record of its own. Else slots in front of
  /// the first record take the last one, which readers may see otherwise.
  SurfaceEncoder(Generation generation, Variant variant, bool beginsMasks)
      : isNine_(generation == Generation::v9), beginsMasks_(beginsMasks), variant_(variant) {}

  /// Appends the surfaces of a source.
  /// @param groups of the triangles; empty when all are 0
  /// @param records of the triangles' corners; empty when there are no attributes
  void encode(const SurfaceSource& source, std::span<const std::int32_t> groups,
              std::span<const std::uint32_t> records, EncodedSurface& out);

 private:
  struct Vertex {
    std::uint32_t start;  ///< corner in the first slot of the ring
    std::uint32_t degree;
    std::uint32_t empty;   ///< slots without a polygon
    std::uint32_t latest;  ///< corner up to which slots are known to be filled
  };

  void begin(std::uint32_t corner);
  bool isThere(std::uint32_t corner) const;
  void complete();
  std::uint32_t linkForward(std::uint32_t corner);
  void link(std::uint32_t corner);
  bool activate(std::uint32_t corner);
  void split(std::uint32_t corner);
  std::uint32_t positionOf(std::uint32_t corner);
  void discover(std::uint32_t corner);
  void putMask();
  void putLongMask();
  template <class Act>
  void forEachRecord(Act act);

  bool isNine_;
  bool beginsMasks_;
  Variant variant_;
  const SurfaceSource* source_ = nullptr;
  std::span<const std::int32_t> groups_;
  std::span<const std::uint32_t> records_;
  EncodedSurface* out_ = nullptr;
  std::vector<std::uint8_t> isUsed_;     // polygons
  std::vector<std::uint32_t> vertexOf_;  // of each corner, by number in the walk
  std::vector<Vertex> vertices_;
  ActiveVertices active_{variant_.finished};
  std::unordered_map<std::uint32_t, std::uint32_t> positions_;  // of corners in long rings
  std::vector<std::uint32_t> ring_;  // corners round the vertex under work
  // The polygon under work:
  std::uint32_t first_ = 0;
  std::uint32_t valence_ = 0;
  std::uint32_t known_ = 0;  // corners with a vertex
  std::uint64_t knownDegrees_ = 0;
};

}  // namespace jt::codec
