#pragma once

// Active-vertex list: candidates for the next vertex of the traversal.

#include <algorithm>
#include <vector>

#include "codec/surface/Topology.h"

namespace jt::codec {

/// Vertices under work, latest last.
class ActiveVertices {
 public:
  static constexpr std::size_t kWindow = 16;
  /// Marks a finished vertex in place of its number of empty slots.
  static constexpr std::uint32_t kFinished = 0xffffffffU;

  explicit ActiveVertices(Variant::Finished finished) : finished_(finished) {}

  std::size_t size() const noexcept { return entries_.size(); }
  /// @pre 1 <= fromEnd <= size()
  std::uint32_t at(std::size_t fromEnd) const noexcept {
    return entries_[entries_.size() - fromEnd];
  }
  /// The inverse of at(); 0 when the vertex is not there.
  std::size_t fromEnd(std::uint32_t vertex) const noexcept {
    // Vertices come in the order of their numbers.
    const auto found = std::ranges::lower_bound(entries_, vertex);
    return found == entries_.end() || *found != vertex
               ? 0
               : static_cast<std::size_t>(entries_.end() - found);
  }
  void push(std::uint32_t vertex) {
    if (skips()) {
      const auto place = static_cast<std::uint32_t>(entries_.size());
      if (vertex >= placeOf_.size()) placeOf_.resize(2 * std::size_t{vertex} + 16);
      placeOf_[vertex] = place;
      before_.push_back(lastAlive_);
      after_.push_back(Surface::kNone);
      if (lastAlive_ != Surface::kNone) after_[lastAlive_] = place;
      lastAlive_ = place;
    }
    entries_.push_back(vertex);
  }
  /// The same for a walk that keeps the number of empty slots in the vertex.
  template <class Vertices>
  void push(std::uint32_t number, Vertices& vertices) {
    vertices[number].empty = vertices[number].degree;
    push(number);
  }
  template <class Vertex>
  void fill(Vertex& vertex) noexcept {
    --vertex.empty;
  }
  template <class Vertex>
  bool hasEmptySlot(const Vertex& vertex) const noexcept {
    return vertex.empty > 0;
  }
  /// @param vertices their `empty` is the number of empty slots
  template <class Vertices>
  void finish(std::uint32_t vertex, Vertices& vertices) {
    vertices[vertex].empty = kFinished;
    if (!skips()) return;
    // Finished vertices stay in the list; the others are linked past them.
    const std::uint32_t place = placeOf_[vertex];
    const std::uint32_t before = before_[place];
    const std::uint32_t after = after_[place];
    if (before != Surface::kNone) after_[before] = after;
    (after == Surface::kNone ? lastAlive_ : before_[after]) = before;
  }
  /// The vertex of the window with the fewest empty slots, the later one of equals; kNone when none
  /// is left. Takes a constant time beside the removal of finished ones.
  template <class Vertices>
  std::uint32_t pick(const Vertices& vertices) {
    const auto isFinished = [&vertices](std::uint32_t vertex) {
      return vertices[vertex].empty == kFinished;
    };
    while (!entries_.empty() && isFinished(entries_.back())) {
      entries_.pop_back();
      if (skips()) {
        before_.pop_back();
        after_.pop_back();
      }
    }
    std::uint32_t best = Surface::kNone;
    std::uint32_t fewest = kFinished;
    const auto consider = [&](std::uint32_t vertex) {
      const std::uint32_t empty = vertices[vertex].empty;
      if (empty >= fewest) return;
      fewest = empty;
      best = vertex;
    };
    if (finished_ == Variant::Finished::skipped) {
      std::size_t seen = 0;
      for (std::uint32_t at = lastAlive_; at != Surface::kNone && seen < kWindow; ++seen) {
        consider(entries_[at]);
        at = before_[at];
      }
      return best;
    }
    const std::size_t fixed = windowStart();
    const bool moves = finished_ == Variant::Finished::removed;
    for (std::size_t i = entries_.size(); i-- > (moves ? windowStart() : fixed);) {
      if (!isFinished(entries_[i])) {
        consider(entries_[i]);
      } else if (!skips()) {
        entries_.erase(entries_.begin() + static_cast<std::ptrdiff_t>(i));
      }
    }
    return best;
  }

 private:
  bool skips() const noexcept {
    return finished_ == Variant::Finished::skipped ||
           finished_ == Variant::Finished::skippedCounted;
  }
  std::size_t windowStart() const noexcept {
    return entries_.size() > kWindow ? entries_.size() - kWindow : 0;
  }

  Variant::Finished finished_;
  std::vector<std::uint32_t> entries_;
  // Where finished ones are skipped: the entries that are not finished, linked.
  std::vector<std::uint32_t> placeOf_;  // of each vertex in the list
  std::vector<std::uint32_t> before_;
  std::vector<std::uint32_t> after_;
  std::uint32_t lastAlive_ = Surface::kNone;
};

}  // namespace jt::codec
