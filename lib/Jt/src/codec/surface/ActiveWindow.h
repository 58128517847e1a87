#pragma once

// Active-vertex list of the expected variant: candidates for the next vertex of the traversal.

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <vector>

#include "codec/surface/ActiveVertices.h"

namespace jt::codec {

/// Vertices under work, latest last, for the variant that removes finished ones at once.
///
/// A vertex without empty slots is the first to be picked, and then there is nothing to do for it,
/// so that it counts as finished. What ActiveVertices does in more time.
///
/// The latest vertices, the window, lie in 16 places in no order, so that none has to move when
/// another one leaves; behind them lie the older ones in order. `empty` of a vertex is its place
/// while it is here.
class ActiveWindow {
 public:
  explicit ActiveWindow(Variant::Finished) : entries_(4 * kWindow, kNothing) {}

  std::size_t size() const noexcept { return inWindow_ + older(); }
  /// @pre 1 <= fromEnd <= size()
  std::uint32_t at(std::size_t fromEnd) const noexcept {
    return vertexIn(entries_[fromEnd <= inWindow_ ? placeAt(inWindow_ - fromEnd)
                                                  : size_ + inWindow_ - fromEnd]);
  }
  void push(std::uint32_t number, storage::WorkArray<Surface::Vertex>& vertices) {
    if (inWindow_ == kWindow) {
      makeOldestOlder(vertices);
    } else {
      ++inWindow_;
    }
    const std::size_t place = placeAt(inWindow_ - 1);
    vertices[number].empty = static_cast<std::uint32_t>(place);
    entries_[place] = vertices[number].degree * kOneSlot | (0xffffffffU - number);
  }
  /// One more slot of a vertex that has an empty one is filled.
  void fill(Surface::Vertex& vertex) noexcept { entries_[vertex.empty] -= kOneSlot; }
  /// @pre the vertex was picked and not finished
  bool hasEmptySlot(const Surface::Vertex& vertex) const noexcept {
    return entries_[vertex.empty] >= kOneSlot;
  }
  void finish(std::uint32_t number, storage::WorkArray<Surface::Vertex>& vertices) noexcept {
    // Outside the window it stays until the window returns.
    if (vertices[number].empty < kWindow) remove(vertices[number].empty, vertices);
  }
  /// The vertex of the window with the fewest empty slots, the later one of equals; kNone when none
  /// is left.
  std::uint32_t pick(storage::WorkArray<Surface::Vertex>& vertices) noexcept {
    while (inWindow_ > 0) {
      const std::uint64_t best = least(entries_.data());
      if (best >= kOneSlot) return vertexIn(best);
      remove(vertices[vertexIn(best)].empty, vertices);
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

  std::size_t older() const noexcept { return size_ - kWindow; }
  /// The place of the window's vertex with this rank, the oldest one's being 0; further ranks are
  /// those of the free places.
  std::size_t placeAt(std::size_t rank) const noexcept { return places_ >> (4 * rank) & 0xf; }
  unsigned rankOf(std::size_t place) const noexcept {
    // The lowest zero digit of the difference; borrows only reach digits above it.
    constexpr std::uint64_t kOnes = 0x1111111111111111;
    const std::uint64_t difference = places_ ^ (kOnes * place);
    return static_cast<unsigned>(
               std::countr_zero((difference - kOnes) & ~difference & (8 * kOnes))) /
           4;
  }

  /// Its place becomes that of the latest vertex.
  void makeOldestOlder(storage::WorkArray<Surface::Vertex>& vertices) {
    if (size_ == entries_.size()) entries_.resize(2 * entries_.size());
    const std::uint64_t oldest = entries_[placeAt(0)];
    vertices[vertexIn(oldest)].empty = static_cast<std::uint32_t>(size_);
    entries_[size_++] = oldest;
    places_ = std::rotr(places_, 4);
  }
  /// Frees a place of the window. The latest of the older vertices takes it.
  void remove(std::size_t place, storage::WorkArray<Surface::Vertex>& vertices) noexcept {
    const unsigned shift = 4 * rankOf(place);
    const std::uint64_t below = (std::uint64_t{1} << shift) - 1;
    const std::uint64_t above = ~below << 4;
    if (older() > 0) {
      places_ = (places_ & above) | (places_ & below) << 4 | place;
      entries_[place] = entries_[--size_];
      vertices[vertexIn(entries_[place])].empty = static_cast<std::uint32_t>(place);
    } else {
      --inWindow_;
      places_ = (places_ & below) | (places_ & above) >> 4 | std::uint64_t{place} << 60;
      entries_[place] = kNothing;
    }
  }

  std::vector<std::uint64_t> entries_;  // of the window, then the older ones
  std::size_t size_ = kWindow;
  std::size_t inWindow_ = 0;
  std::uint64_t places_ = 0xfedcba9876543210;  // a digit for each rank, the lowest first
};

}  // namespace jt::codec
