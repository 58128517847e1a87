#include "codec/surface/Patches.h"

#include <algorithm>
#include <array>

#include "codec/surface/ActiveVertices.h"

namespace jt::codec {

namespace {

constexpr std::uint32_t kNone = Surface::kNone;

/// Triangles of a mesh, of which patches take some away.
class Remainder {
 public:
  explicit Remainder(std::span<const std::uint32_t> corners)
      : corners_(corners), opposites_(pairEdges(corners)), isFree_(corners.size() / 3, 1) {
    for (const std::uint32_t position : corners) {
      if (position >= freeAt_.size()) freeAt_.resize(2 * std::size_t{position} + 1);
      ++freeAt_[position];
    }
  }

  std::uint32_t position(std::uint32_t corner) const { return corners_[corner]; }
  std::uint32_t opposite(std::uint32_t corner) const { return opposites_[corner]; }
  bool isFree(std::uint32_t triangle) const { return isFree_[triangle] != 0; }
  /// How many triangles are free at the position of a corner.
  std::uint32_t freeAt(std::uint32_t corner) const { return freeAt_[corners_[corner]]; }
  void take(std::uint32_t triangle) {
    isFree_[triangle] = 0;
    for (std::uint32_t k = 0; k < 3; ++k) --freeAt_[corners_[3 * triangle + k]];
  }
  void giveBack(std::uint32_t triangle) {
    isFree_[triangle] = 1;
    for (std::uint32_t k = 0; k < 3; ++k) ++freeAt_[corners_[3 * triangle + k]];
  }

 private:
  std::span<const std::uint32_t> corners_;
  std::vector<std::uint32_t> opposites_;
  std::vector<std::uint8_t> isFree_;
  std::vector<std::uint32_t> freeAt_;
};

/// A growing patch: a disc, or finally a closed surface. A disc is traversed without splits and
/// keeps its vertices distinct.
class Patch {
 public:
  explicit Patch(Remainder& remainder) : remainder_(remainder) {}

  /// Takes the seed, then triangles that add no vertex, then others around the vertices in order:
  /// a compact patch has the most triangles for its vertices.
  void grow(std::uint32_t seed) {
    triangles_.clear();
    count_ = 0;
    take(seed);
    for (std::uint32_t corner = 3 * seed; corner < 3 * seed + 3; ++corner) addVertex(corner);
    for (std::size_t k = 0; k < 3; ++k)
      join(k, 3 * seed + static_cast<std::uint32_t>(k), (k + 1) % 3);
    for (std::size_t v = nextVertex(); v != kNowhere; v = nextVertex())
      if (!extend(before_[v]) && !extend(v)) lacking_[v] = 0;
  }
  /// In the order in which they were taken.
  const std::vector<std::uint32_t>& triangles() const noexcept { return triangles_; }

 private:
  static constexpr std::size_t kMost = ActiveVertices::kWindow;
  static constexpr std::size_t kNowhere = kMost;

  void take(std::uint32_t triangle) {
    remainder_.take(triangle);
    triangles_.push_back(triangle);
  }
  void addVertex(std::uint32_t corner) {
    positions_[count_] = remainder_.position(corner);
    lacking_[count_++] = remainder_.freeAt(corner);
  }
  void lackOneLess(std::size_t v, bool isClosed) {
    if (lacking_[v] > 0) lacking_[v] = isClosed ? 0 : lacking_[v] - 1;
  }
  std::size_t vertexAt(std::uint32_t position) const {
    for (std::size_t v = 0; v < count_; ++v)
      if (positions_[v] == position) return v;
    return kNowhere;
  }
  std::size_t nextVertex() const {
    std::size_t first = kNowhere;
    for (std::size_t v = count_; v-- > 0;) {
      if (lacking_[v] == 1) return v;
      if (lacking_[v] > 0) first = v;
    }
    return first;
  }

  /// Takes the triangle across the edge of the outline that begins at a vertex, if that leaves a
  /// disc.
  bool extend(std::size_t a) {
    const std::uint32_t across = remainder_.opposite(corner_[a]);
    if (across == kNone || !remainder_.isFree(across / 3)) return false;
    const std::size_t b = next_[a];
    const std::uint32_t atA = nextInTriangle(across);
    const std::uint32_t atApex = previousInTriangle(across);
    std::size_t apex = vertexAt(remainder_.position(atApex));
    const bool isFresh = apex == kNowhere;
    const bool closesA = !isFresh && next_[apex] == a && remainder_.opposite(corner_[apex]) == atA;
    const bool closesB = !isFresh && next_[b] == apex && remainder_.opposite(corner_[b]) == atApex;
    if (isFresh ? count_ == kMost : !closesA && !closesB) return false;
    take(across / 3);
    if (isFresh) {
      apex = count_;
      addVertex(atApex);
    } else {
      lackOneLess(apex, closesA && closesB);
    }
    lackOneLess(a, closesA);
    lackOneLess(b, closesB);
    if (!closesA) join(a, atA, apex);
    if (!closesB) join(apex, atApex, b);
    return true;
  }
  void join(std::size_t from, std::uint32_t corner, std::size_t to) {
    corner_[from] = corner;
    next_[from] = to;
    before_[to] = from;
  }

  Remainder& remainder_;
  std::vector<std::uint32_t> triangles_;
  // Of each vertex:
  std::size_t count_ = 0;
  std::array<std::uint32_t, kMost> positions_;
  std::array<std::uint32_t, kMost> lacking_;  // available free triangles
  std::array<std::uint32_t, kMost> corner_;   // in the patch, where the outline goes on from here
  std::array<std::size_t, kMost> next_;       // along the outline
  std::array<std::size_t, kMost> before_;
};

/// Cuts triangles into patches and encodes them.
class Cutter {
 public:
  Cutter(std::span<const std::uint32_t> corners, std::span<const std::int32_t> groups,
         std::span<const std::uint32_t> records, Generation generation)
      : groups_(groups),
        records_(records),
        remainder_(corners),
        patch_(remainder_),
        placeOf_(corners.size() / 3, kNone),
        encoder_(generation, {}, true) {}

  EncodedSurface run() {
    // In the order of the mesh, so that the steps from patch to patch are small. Triangles that a
    // patch gives back are behind its seed.
    for (std::uint32_t seed = 0; seed < placeOf_.size(); ++seed)
      if (remainder_.isFree(seed)) {
        patch_.grow(seed);
        encode(patch_.triangles());
      }
    return std::move(result_);
  }

 private:
  /// Encodes a patch, or as much of it as can be walked without a split.
  void encode(std::span<const std::uint32_t> triangles) {
    while (!tryEncode(triangles)) {
      const std::size_t kept = std::max<std::size_t>(1, triangles.size() * 3 / 4);
      for (const std::uint32_t triangle : triangles.subspan(kept)) remainder_.giveBack(triangle);
      triangles = triangles.first(kept);
    }
    const std::size_t from = result_.corners.size();
    result_.append(encoded_);
    for (std::size_t i = from; i < result_.corners.size(); ++i) {
      const std::uint32_t corner = result_.corners[i];
      result_.corners[i] = 3 * ordered_[corner / 3] + corner % 3;
    }
  }

  bool tryEncode(std::span<const std::uint32_t> triangles) {
    // Starting at the latest triangle rarely leads to a split.
    ordered_.assign(triangles.rbegin(), triangles.rend());
    for (std::uint32_t i = 0; i < ordered_.size(); ++i) placeOf_[ordered_[i]] = i;
    patchOpposites_.clear();
    patchGroups_.clear();
    patchRecords_.clear();
    for (const std::uint32_t triangle : ordered_) {
      if (!groups_.empty()) patchGroups_.push_back(groups_[triangle]);
      for (std::uint32_t corner = 3 * triangle; corner < 3 * triangle + 3; ++corner) {
        if (!records_.empty()) patchRecords_.push_back(records_[corner]);
        const std::uint32_t opposite = remainder_.opposite(corner);
        const std::uint32_t place = opposite == kNone ? kNone : placeOf_[opposite / 3];
        patchOpposites_.push_back(place == kNone ? kNone : 3 * place + opposite % 3);
      }
    }
    for (const std::uint32_t triangle : ordered_) placeOf_[triangle] = kNone;
    source_.build(patchOpposites_);
    encoded_.clear();
    encoder_.encode(source_, patchGroups_, patchRecords_, encoded_);
    return encoded_.streams.splitSymbols.empty() || triangles.size() == 1;
  }

  std::span<const std::int32_t> groups_;
  std::span<const std::uint32_t> records_;
  Remainder remainder_;
  Patch patch_;
  std::vector<std::uint32_t> placeOf_;  // of each triangle in the patch under work
  // That patch, and what the encoder makes of it:
  std::vector<std::uint32_t> ordered_;
  std::vector<std::uint32_t> patchOpposites_;
  std::vector<std::int32_t> patchGroups_;
  std::vector<std::uint32_t> patchRecords_;
  SurfaceSource source_;
  SurfaceEncoder encoder_;
  EncodedSurface encoded_;
  EncodedSurface result_;
};

}  // namespace

EncodedSurface encodePatches(std::span<const std::uint32_t> corners,
                             std::span<const std::int32_t> groups,
                             std::span<const std::uint32_t> records, Generation generation) {
  return Cutter(corners, groups, records, generation).run();
}

}  // namespace jt::codec
