#include "Patches.h"

#include <algorithm>

#include "ActiveVertices.h"

namespace jt::codec {

namespace {

constexpr std::uint32_t kNone = Surface::kNone;

class Cutter {
 public:
  Cutter(std::span<const std::uint32_t> corners, std::span<const std::int32_t> groups,
         std::span<const std::uint32_t> records, Generation generation)
      : corners_(corners),
        groups_(groups),
        records_(records),
        encoder_(generation, {}),
        mates_(pairEdges(corners)),
        isDone_(corners.size() / 3),
        placeOf_(corners.size() / 3, kNone) {}

  EncodedSurface run() {
    for (std::uint32_t seed = 0; seed < isDone_.size(); ++seed)
      while (!isDone_[seed]) cut(seed);
    return std::move(result_);
  }

 private:
  /// Encodes one patch that begins with a triangle; the triangles that spoil it are left for
  /// others.
  void cut(std::uint32_t seed) {
    grow(seed);
    for (;;) {
      const EncodedSurface encoded = encode();
      const bool fits =
          encoded.corners.size() <= ActiveVertices::kWindow && encoded.streams.splitSymbols.empty();
      if (fits || patch_.size() == 1) {
        take(encoded);
        break;
      }
      const std::size_t kept = std::max<std::size_t>(1, patch_.size() * 3 / 4);
      for (std::size_t i = kept; i < patch_.size(); ++i) placeOf_[patch_[i]] = kNone;
      patch_.resize(kept);
    }
    for (const std::uint32_t triangle : patch_) {
      isDone_[triangle] = 1;
      placeOf_[triangle] = kNone;
    }
  }

  void add(std::uint32_t triangle) {
    placeOf_[triangle] = static_cast<std::uint32_t>(patch_.size());
    patch_.push_back(triangle);
    for (std::uint32_t corner = 3 * triangle; corner < 3 * triangle + 3; ++corner) {
      if (!isKnown(corners_[corner])) positions_.push_back(corners_[corner]);
      const std::uint32_t mate = mates_[corner];
      if (mate != kNone && isFree(mate / 3)) frontier_.push_back(mate / 3);
    }
  }
  bool isKnown(std::uint32_t position) const {
    return std::ranges::find(positions_, position) != positions_.end();
  }
  bool isFree(std::uint32_t triangle) const {
    return !isDone_[triangle] && placeOf_[triangle] == kNone;
  }
  std::size_t newPositions(std::uint32_t triangle) const {
    std::size_t count = 0;
    for (std::uint32_t corner = 3 * triangle; corner < 3 * triangle + 3; ++corner)
      if (!isKnown(corners_[corner])) ++count;
    return count;
  }

  /// Takes neighbours, first those that bring no new position, then the ones that were met first.
  void grow(std::uint32_t seed) {
    patch_.clear();
    positions_.clear();
    frontier_.clear();
    add(seed);
    for (;;) {
      std::erase_if(frontier_, [this](std::uint32_t triangle) { return !isFree(triangle); });
      std::uint32_t best = kNone;
      for (const std::uint32_t triangle : frontier_) {
        const std::size_t fresh = newPositions(triangle);
        if (positions_.size() + fresh > ActiveVertices::kWindow) continue;
        if (fresh == 0 || best == kNone) best = triangle;
        if (fresh == 0) break;
      }
      if (best == kNone) return;
      add(best);
    }
  }

  EncodedSurface encode() {
    std::vector<std::uint32_t> mates(3 * patch_.size(), kNone);
    std::vector<std::uint32_t> records;
    std::vector<std::int32_t> groups;
    for (std::size_t i = 0; i < patch_.size(); ++i) {
      if (!groups_.empty()) groups.push_back(groups_[patch_[i]]);
      for (std::uint32_t k = 0; k < 3; ++k) {
        const std::uint32_t corner = 3 * patch_[i] + k;
        if (!records_.empty()) records.push_back(records_[corner]);
        const std::uint32_t mate = mates_[corner];
        if (mate != kNone && placeOf_[mate / 3] != kNone)
          mates[3 * i + k] = 3 * placeOf_[mate / 3] + mate % 3;
      }
    }
    source_.build(std::move(mates));
    EncodedSurface encoded;
    encoder_.encode(source_, groups, records, encoded);
    return encoded;
  }

  /// The patch's vertices are named by its own corners; the result's by those of the mesh.
  void take(const EncodedSurface& encoded) {
    const std::size_t from = result_.corners.size();
    result_.append(encoded);
    for (std::size_t i = from; i < result_.corners.size(); ++i) {
      const std::uint32_t corner = result_.corners[i];
      result_.corners[i] = 3 * patch_[corner / 3] + corner % 3;
    }
  }

  std::span<const std::uint32_t> corners_;
  std::span<const std::int32_t> groups_;
  std::span<const std::uint32_t> records_;
  SurfaceEncoder encoder_;
  std::vector<std::uint32_t> mates_;
  std::vector<std::uint8_t> isDone_;
  std::vector<std::uint32_t> placeOf_;    // of each triangle in the patch under work
  std::vector<std::uint32_t> patch_;      // triangles in the order in which they were taken
  std::vector<std::uint32_t> positions_;  // of the patch
  std::vector<std::uint32_t> frontier_;   // neighbours of the patch
  SurfaceSource source_;
  EncodedSurface result_;
};

}  // namespace

EncodedSurface encodePatches(std::span<const std::uint32_t> corners,
                             std::span<const std::int32_t> groups,
                             std::span<const std::uint32_t> records, Generation generation) {
  return Cutter(corners, groups, records, generation).run();
}

}  // namespace jt::codec
