#pragma once

// What is different between two JT files: by meaning, whatever versions they have and however their
// bytes are arranged.

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "JtExport.h"
#include "JtGuid.h"
#include "JtPartition.h"

namespace jt {

/// One side of a difference: nothing, a whole number, a number, text, or a row of numbers. A matrix
/// is 16 numbers row after row for row vectors, as JtXform has it.
using ComparedValue =
    std::variant<std::monostate, std::int64_t, double, std::string, std::vector<double>>;

enum class DifferenceKind : std::uint8_t {
  node,       ///< a node with all that is below it is on one side only; the value is its type
  type,       ///< the node has another type; its own fields are not compared
  position,   ///< the node is elsewhere among its siblings; the values are indices from 0
  name,       ///< the node's name
  field,      ///< one field of the node: flags, range limits, extent, ...
  attribute,  ///< one field of an attribute, or a whole attribute (the value is its type)
  property,   ///< one property
  metadata,   ///< one entry of the node's metadata
  geometry,   ///< the mesh of a shape
  segment,    ///< a segment that no node names
  parent      ///< the node with its identity key is below another one; the values are their paths
};
/// How many kinds there are.
inline constexpr std::size_t kDifferenceKinds = 11;

/// "node", "type", "position", ...
JT_API const char* differenceName(DifferenceKind kind) noexcept;

/// How many of something the two meshes of a difference of geometry have.
struct ComparedCount {
  /// "triangles", "polylines", "points", "vertices", "normals", "colors", "textureCoordinates" (of
  /// all channels together), or "unmatched": triangles, polylines or points that have no partner in
  /// the other mesh.
  const char* name = "";
  std::uint64_t a = 0;
  std::uint64_t b = 0;
};

/// The rigid motion that leads from one placement to another.
struct PlacementChange {
  std::array<double, 3> translation{};  ///< of the origin, in millimetres, in the parent's axes
  double degrees = 0;                   ///< 0..180, about `axis`
  std::array<double, 3> axis{0, 0, 1};  ///< of length 1, in the parent's axes
};

/// One difference. A side that has nothing is std::monostate.
struct Difference {
  /// Names of the nodes from below the root down to the node, each behind a '/'; "/" is the root,
  /// and what belongs to the file and not to a node has none. A node without name goes by its type.
  /// Where siblings share a name, "[key 7]" (identity key), "[#12]" (object id) or "[child 3]"
  /// follows. Names are escaped, see escapedStep(). The middle of very deep paths is left out.
  std::string path;
  DifferenceKind kind = DifferenceKind::node;
  std::string name;  ///< field, attribute and field, key, segment id; may be empty
  ComparedValue a;
  ComparedValue b;
  std::string key{};  ///< value of the node's identity key; empty when it has none
  /// Of geometry that can be decoded on both sides: what either mesh has. "unmatched" is there only
  /// when the meshes have the same numbers of primitives and attributes and all were looked at.
  std::vector<ComparedCount> counts{};
  /// Of a transform (or the only one of a node that was not placed, or is not any more): the
  /// motion, unless the two placements differ in scale, shear or mirroring, or in their unit of
  /// length.
  std::optional<PlacementChange> moved{};
};

/// Receives differences, a node's own before those of what is below it.
class JT_API CompareSink {
 public:
  virtual ~CompareSink() = default;
  /// Takes a difference; its texts are valid during the call.
  virtual void difference(const Difference& difference) = 0;
};

/// Keeps copies of the differences that it receives.
class JT_API DifferenceList : public CompareSink {
 public:
  void difference(const Difference& difference) override { all.push_back(difference); }
  std::vector<Difference> all;  ///< in the order of the comparison
};

/// What a comparison looks at, and how closely.
struct CompareOptions {
  /// How far apart lengths may be, in millimetres: positions, translations, extents, ranges. A
  /// rotation may move geometry by as much. Numbers without a unit (normals, colors, texture
  /// coordinates, factors) may differ by the same number, but never by more than 0.02. With a
  /// tolerance, areas and the extents of partitions are not compared: they follow from geometry
  /// that is; nor is how geometry is stored, such as numbers of bits. Properties and metadata are
  /// compared exactly. What is the same within one tolerance is the same within every greater one.
  double tolerance = 0;
  /// Keys of properties that identify siblings whatever their name, the first one that a node has
  /// counts.
  std::vector<std::string> identityKeys;
  /// Further differences are counted and not reported.
  std::size_t maxDifferences = 1000;
  /// Receives the share that is done, 0..1, of the files and part files known so far; may be empty.
  std::function<void(double)> progress = {};
  /// Differences of these kinds are neither counted nor reported.
  std::vector<DifferenceKind> ignored = {};
};

/// The outcome of a comparison.
struct CompareResult {
  std::uint64_t differences = 0;                         ///< all of them
  std::array<std::uint64_t, kDifferenceKinds> byKind{};  ///< how many of each kind
  /// Things that are not understood and could not be compared, since the files have different
  /// versions.
  std::uint64_t skipped = 0;
  bool isSame() const noexcept { return differences == 0; }
};

/// Compares two opened files, or partitions made in memory. Children are matched by identity key,
/// then by content, then by name and type, then by place; what one side lacks is one difference. A
/// node that one parent lacks and another one has more, by identity key, was moved: that is one
/// difference, and the two are held against each other. A
/// pair of nodes is compared once, however many paths lead to it; partitions that represent other
/// files are compared by what is in the files where both are open, else by file name. Segments are
/// loaded only where their bytes differ. Throws JtFormatError when a segment that must be looked at
/// is damaged, and "too_complex" when shared nodes can be paired in unreasonably many ways, or too
/// many primitives of a shape lie within the tolerance of each other.
JT_API CompareResult compare(const JtPartition& a, const JtPartition& b,
                             const CompareOptions& options, CompareSink& sink);

enum class SegmentState : std::uint8_t { same, changed, added, gone };

/// A segment of two files, matched by id.
struct ComparedSegment {
  JtGuid id;
  std::int32_t type = 0;
  SegmentState state = SegmentState::same;
};

/// Compares the segments of two files byte for byte: those of `a` in file order, then those that
/// only `b` has. @pre both partitions have a container
JT_API std::vector<ComparedSegment> compareSegments(const JtPartition& a, const JtPartition& b);

}  // namespace jt
