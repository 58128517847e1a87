#pragma once

// Active-vertex list of the expected variant: candidates for the next vertex of the traversal.

#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

#include "codec/surface/ActiveVertices.h"

namespace jt::codec {

/// Vertices under work, latest last, for the variant that removes finished ones at once.
///
/// A vertex without empty slots is the first to be picked, and then there is nothing to do for it,
/// so that it counts as finished. What ActiveVertices does in more time. `empty` of a vertex is its
/// index here while it is here.
class ActiveWindow {
 public:
  explicit ActiveWindow(Variant::Finished) : entries_(4 * kWindow, kNothing), size_(kWindow) {}

  std::size_t size() const noexcept { return size_ - kWindow; }
  /// @pre 1 <= fromEnd <= size()
  std::uint32_t at(std::size_t fromEnd) const noexcept {
    return vertexIn(entries_[size_ - fromEnd]);
  }
  void push(std::uint32_t number, Surface::Vertex& vertex) {
    if (size_ == entries_.size()) entries_.resize(2 * entries_.size());
    vertex.empty = static_cast<std::uint32_t>(size_);
    entries_[size_++] = vertex.degree * kOneSlot | (0xffffffffU - number);
  }
  /// One more slot of a vertex that has an empty one is filled.
  void fill(Surface::Vertex& vertex) noexcept { entries_[vertex.empty] -= kOneSlot; }
  /// @pre the vertex was picked and not finished
  bool hasEmptySlot(const Surface::Vertex& vertex) const noexcept {
    return entries_[vertex.empty] >= kOneSlot;
  }
  void finish(std::uint32_t number, storage::WorkArray<Surface::Vertex>& vertices) noexcept {
    // Outside the window it stays until the window returns.
    if (vertices[number].empty + kWindow >= size_) remove(number, vertices);
  }
  /// The vertex of the window with the fewest empty slots, the later one of equals; kNone when none
  /// is left.
  std::uint32_t pick(storage::WorkArray<Surface::Vertex>& vertices) noexcept {
    while (size_ > kWindow) {
      const std::uint64_t best = least(entries_.data() + size_ - kWindow);
      if (best >= kOneSlot) return vertexIn(best);
      remove(vertexIn(best), vertices);
    }
    return Surface::kNone;
  }

 private:
  static constexpr std::size_t kWindow = ActiveVertices::kWindow;
  // An entry has the number of empty slots above, and below it the vertex, such that the least
  // entry is the one to pick.
  static constexpr std::uint64_t kOneSlot = std::uint64_t{1} << 32;
  static constexpr std::uint64_t kNothing = ~std::uint64_t{0};
  static std::uint32_t vertexIn(std::uint64_t entry) noexcept {
    return 0xffffffffU - static_cast<std::uint32_t>(entry);
  }
  /// The least entry of a window. Four independent chains avoid mispredicted branches.
  static std::uint64_t least(const std::uint64_t* window) noexcept {
    std::array<std::uint64_t, 4> best{window[0], window[1], window[2], window[3]};
    for (std::size_t i = 4; i < kWindow; i += 4)
      for (std::size_t k = 0; k < 4; ++k) best[k] = std::min(best[k], window[i + k]);
    return std::min(std::min(best[0], best[1]), std::min(best[2], best[3]));
  }
  void remove(std::uint32_t number, storage::WorkArray<Surface::Vertex>& vertices) noexcept {
    --size_;
    for (std::size_t i = vertices[number].empty; i < size_; ++i) {
      entries_[i] = entries_[i + 1];
      vertices[vertexIn(entries_[i])].empty = static_cast<std::uint32_t>(i);
    }
  }

  std::vector<std::uint64_t> entries_;  // behind a window of kNothing
  std::size_t size_;
};

}  // namespace jt::codec
