#pragma once

// Connectivity of a mesh: the symbol streams that elements store, and the surface that they
// describe.
//
// The streams follow a walk over a closed surface of polygons, in which caps close the holes.
// Words: the degree of a vertex is the number of polygons round it; its ring is those polygons
// counter-clockwise; a split is a corner at a vertex that is known but could not be deduced.

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <vector>

#include "base/Bytes.h"
#include "base/Hash.h"
#include "base/Once.h"
#include "base/WorkArray.h"
#include "codec/vertex/VertexArrays.h"

namespace jt::codec {

/// The vectors of a topologically compressed element, in file order, without prediction. ISO 14306
/// names them by the dual mesh: its faces are our vertices, its vertices our polygons.
struct TopologyStreams {
  static constexpr std::size_t kContexts = 8;
  std::array<std::vector<std::int32_t>, kContexts> faceDegrees;
  std::vector<std::int32_t> vertexValences;
  std::vector<std::int32_t> vertexGroups;
  std::vector<std::int32_t> vertexFlags;  ///< bit 0: cap
  std::array<std::vector<std::int32_t>, kContexts> faceMasks;
  std::vector<std::int32_t> faceMasksNext;  ///< further bits of the last context
  std::vector<std::int32_t> faceMasksTop;   ///< 9.x: the last 4 bits of 64
  std::vector<std::uint32_t> highDegreeMasks;
  std::vector<std::int32_t> splitSymbols;
  std::vector<std::int32_t> splitPositions;
  std::uint32_t hash = 0;

  /// All vectors, as they are hashed. They have to outlive the result.
  /// @param padMasks the further bits count as many as the last context has
  HashChain hashChain(Generation generation, bool padMasks = true) const;
};

/// Context of the degree of a vertex at a corner of a polygon: how the degrees of the other corners
/// that are known compare with the usual ones.
/// @param known number of these corners @param degrees their sum
inline unsigned degreeContext(std::uint32_t valence, std::uint32_t known,
                              std::uint64_t degrees) noexcept {
  const auto compared = [known, degrees](std::uint64_t usual) {
    return 1U + (degrees > usual * known ? 1U : 0U) - (degrees < usual * known ? 1U : 0U);
  };
  switch (valence) {
    case 3:
      return compared(6);
    case 4:
      return 3 + compared(4);
    case 5:
      return 6;
    default:
      return 7;
  }
}

/// Context of the attribute mask of a vertex. @pre degree is at most 64
inline std::size_t maskContext(std::size_t degree) noexcept {
  return degree < 3 ? 0 : std::min(TopologyStreams::kContexts - 1, degree - 2);
}

/// Two details of the walk are not settled by the definition of the format. They matter only to
/// meshes with splits, or with more than 16 vertices under work at a time.
struct Variant {
  /// What happens to finished vertices in the active-vertex list.
  enum class Finished : std::uint8_t {
    removed,         ///< at once; the window moves on
    skipped,         ///< the window is 16 vertices that are not finished
    removedFixed,    ///< at once; the window stays
    skippedCounted,  ///< the window is 16 entries of any kind
  };
  /// After a split, corners that can be deduced now are linked without a symbol.
  bool linksAfterSplit = false;
  Finished finished = Finished::removed;

  static constexpr unsigned kCount = 8;
  static constexpr std::uint8_t kAll = 0xff;  ///< a bit for each
  /// @pre index < kCount; 0 is the one that is expected
  static Variant byIndex(unsigned index) noexcept {
    return {index >= 4, static_cast<Finished>(index % 4)};
  }
};

/// The variants in which the shapes of one file are walked. One producer wrote them all, so a shape
/// that does not fit the expected one is read as the file says; what a shape is read as depends on
/// the file alone, never on what was read before. Can be used from several threads.
class VariantChoice {
 public:
  /// Looks at a file. Bit i of the result: its shapes allow variant i.
  using Examine = std::function<std::uint8_t()>;

  /// @param examine called once at most, when a shape does not fit the expected variant; empty: all
  /// variants are allowed
  explicit VariantChoice(Examine examine = {}) : examine_(std::move(examine)) {}

  /// What the file allows, never 0; examines it the first time.
  std::uint8_t ofFile();
  /// True when the file has been examined.
  bool isSettled() const noexcept { return allowed_.load(std::memory_order_acquire) != 0; }
  void met(unsigned index) noexcept { met_.fetch_or(1U << index, std::memory_order_relaxed); }
  /// Bit i: a shape was read in variant i, because it does not fit the expected one.
  std::uint32_t metInstead() const noexcept { return met_.load(std::memory_order_relaxed); }

 private:
  Examine examine_;
  Once examined_;
  std::atomic<std::uint8_t> allowed_{0};
  std::atomic<std::uint32_t> met_{0};
};

/// A closed surface. Corners are numbered through all polygons, slots through all rings.
struct Surface {
  static constexpr std::uint32_t kNone = 0xffffffffU;
  static constexpr std::uint32_t kMostCorners = 1U << 28;

  /// A vertex with its place among the slots.
  struct Vertex {
    std::uint32_t start = 0;       ///< first slot
    std::uint32_t degree = 0;      ///< number of slots
    std::uint32_t empty = 0;       ///< the walk's: see ActiveVertices, ActiveWindow
    std::uint32_t firstEmpty = 0;  ///< slots before this one have a corner
  };

  std::vector<std::uint32_t> vertexOf;  ///< of each corner
  storage::WorkArray<Vertex> vertices;
  storage::WorkArray<std::uint32_t> slots;  ///< at least as many as corners: see cornerIn()

  std::size_t vertexCount() const noexcept { return vertices.size(); }
  std::uint32_t degree(std::uint32_t vertex) const noexcept { return vertices[vertex].degree; }
  std::span<const std::uint32_t> ring(std::uint32_t vertex) const noexcept {
    return {slots.data() + vertices[vertex].start, vertices[vertex].degree};
  }

  // A slot has the corner, and above it the number of the corner in its triangle; of another
  // polygon kEnd for its first and last one, and 1.
  static constexpr unsigned kKindShift = 30;
  static constexpr std::uint32_t kEnd = 3;
  static std::uint32_t cornerIn(std::uint32_t slot) noexcept { return slot & (kMostCorners - 1); }
};

/// The surface under one variant. Throws JtFormatError when the streams do not describe one.
Surface decodeSurface(const TopologyStreams& streams, Variant variant, Budget& budget);

/// The surface under the expected variant; where that does not fit, under the first that fits and
/// that the file allows, or the first that fits. Throws the error of the expected one when none
/// does.
Surface decodeSurface(const TopologyStreams& streams, VariantChoice& choice, Budget& budget);

/// All variants under which the streams describe a surface.
std::uint8_t fittingVariants(const TopologyStreams& streams, Budget budget);

/// Attribute record of each corner of the surface, 0 where a vertex has none. `total` is the number
/// of records; without any, the result is empty. Throws JtFormatError when the masks do not fit the
/// vertices.
std::vector<std::uint32_t> decodeRecords(const TopologyStreams& streams, Generation generation,
                                         const Surface& surface, std::uint32_t& total);

}  // namespace jt::codec
