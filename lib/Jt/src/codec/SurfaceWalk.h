#pragma once

// The walk that encoder and decoder of a surface do in step. What only one of them knows (symbols
// on one side, the source mesh on the other) it asks of a port.

#include <algorithm>

#include "Topology.h"

namespace jt::codec {

/// Vertices under work, latest last.
class ActiveVertices {
 public:
  static constexpr std::size_t kWindow = 16;

  /// @param vertexCount of the whole surface
  ActiveVertices(Variant::Finished finished, std::size_t vertexCount)
      : finished_(finished), isDead_(vertexCount), placeOf_(vertexCount) {}

  std::size_t size() const noexcept { return entries_.size(); }
  /// @pre 1 <= fromEnd <= size()
  std::uint32_t at(std::size_t fromEnd) const noexcept {
    return entries_[entries_.size() - fromEnd];
  }
  /// The inverse of at(); 0 when the vertex is not there.
  std::size_t fromEnd(std::uint32_t vertex) const noexcept {
    const auto found = std::find(entries_.rbegin(), entries_.rend(), vertex);
    return found == entries_.rend() ? 0 : static_cast<std::size_t>(found - entries_.rbegin()) + 1;
  }
  void push(std::uint32_t vertex) {
    placeOf_[vertex] = static_cast<std::uint32_t>(entries_.size());
    entries_.push_back(vertex);
    if (skips()) {
      before_.push_back(lastAlive_);
      after_.push_back(Surface::kNone);
      if (lastAlive_ != Surface::kNone) after_[lastAlive_] = placeOf_[vertex];
      lastAlive_ = placeOf_[vertex];
    }
  }
  void finish(std::uint32_t vertex) {
    isDead_[vertex] = 1;
    if (!skips()) return;
    // Finished ones stay in the list, so that the others are linked past them.
    const std::uint32_t place = placeOf_[vertex];
    const std::uint32_t before = before_[place];
    const std::uint32_t after = after_[place];
    if (before != Surface::kNone) after_[before] = after;
    (after == Surface::kNone ? lastAlive_ : before_[after]) = before;
  }
  /// The vertex of the window with the fewest empty slots, the later one of equals; kNone when none
  /// is left. Takes a constant time beside the removal of finished ones.
  std::uint32_t pick(std::span<const std::uint32_t> emptyCount) {
    while (!entries_.empty() && isDead_[entries_.back()]) {
      entries_.pop_back();
      if (skips()) {
        before_.pop_back();
        after_.pop_back();
      }
    }
    std::uint32_t best = Surface::kNone;
    const auto consider = [&](std::uint32_t vertex) {
      if (best == Surface::kNone || emptyCount[vertex] < emptyCount[best]) best = vertex;
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
      if (!isDead_[entries_[i]]) {
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
  std::vector<std::uint8_t> isDead_;
  std::vector<std::uint32_t> placeOf_;
  // Where finished ones are skipped: the entries that are not finished, linked.
  std::vector<std::uint32_t> before_;
  std::vector<std::uint32_t> after_;
  std::uint32_t lastAlive_ = Surface::kNone;
};

/// A corner at a vertex that is known already.
struct Split {
  std::uint32_t vertex = 0;
  std::uint32_t position = 0;  ///< slot in the vertex's ring
};

/// A Port has:
///   bool seedLeft()                                        polygons are left when the walk runs
///   dry std::uint32_t seed()                                   valence of the polygon to begin
///   with std::uint32_t polygon(vertex, position)                valence of the polygon in that
///   empty slot std::uint32_t degree(polygon, corner, context)         of the vertex at a corner;
///   0: a split Split split(polygon, corner, const ActiveVertices&)    behind a degree of 0
/// It may throw. Corners and slots that it names are checked here.
template <class Port>
class SurfaceWalk {
 public:
  /// @param corners sum of all valences, and of all degrees
  SurfaceWalk(Port& port, Variant variant, std::size_t polygons, std::size_t vertices,
              std::size_t corners)
      : port_(port), variant_(variant), active_(variant.finished, vertices) {
    surface_.cornerStart.reserve(polygons + 1);
    surface_.ringStart.reserve(vertices + 1);
    surface_.vertexOf.resize(corners, Surface::kNone);
    surface_.slotOf.resize(corners);
    surface_.polygonOf.resize(corners);
    surface_.cornerAt.resize(corners, Surface::kNone);
    emptyCount_.reserve(vertices);
    firstEmpty_.reserve(vertices);
  }

  Surface run() {
    while (port_.seedLeft()) {
      begin(port_.seed());
      for (std::uint32_t corner = first_; corner < end_; ++corner) activate(corner);
      for (std::uint32_t v = pick(); v != Surface::kNone; v = pick()) {
        while (emptyCount_[v] > 0) {
          const std::uint32_t position = firstEmptySlot(v);
          begin(port_.polygon(v, position));
          link(first_, v, position);
          complete();
        }
        active_.finish(v);
      }
    }
    if (linked_ != surface_.vertexOf.size()) reject("corners are left open");
    return std::move(surface_);
  }

 private:
  [[noreturn]] static void reject(const char* what) {
    fail("bad_topology", std::string("the mesh does not close: ") + what);
  }

  std::uint32_t pick() { return active_.pick(emptyCount_); }

  /// Slots are only ever filled, so the search goes on where it ended.
  std::uint32_t firstEmptySlot(std::uint32_t v) {
    std::uint32_t slot = firstEmpty_[v];
    while (surface_.cornerAt[slot] != Surface::kNone) ++slot;
    firstEmpty_[v] = slot;
    return slot - surface_.ringStart[v];
  }

  void begin(std::uint32_t valence) {
    first_ = surface_.cornerStart.back();
    if (valence == 0 || valence > surface_.vertexOf.size() - first_)
      reject("a polygon with more corners than are left");
    polygon_ = static_cast<std::uint32_t>(surface_.polygonCount());
    end_ = first_ + valence;
    surface_.cornerStart.push_back(end_);
    std::fill(surface_.polygonOf.begin() + first_, surface_.polygonOf.begin() + end_, polygon_);
    known_ = 0;
    knownDegrees_ = 0;
  }

  void link(std::uint32_t corner, std::uint32_t v, std::uint32_t position) {
    std::uint32_t& slot = surface_.cornerAt[surface_.ringStart[v] + position];
    if (slot != Surface::kNone) reject("two polygons in one place of a ring");
    slot = corner;
    surface_.vertexOf[corner] = v;
    surface_.slotOf[corner] = position;
    --emptyCount_[v];
    ++known_;
    knownDegrees_ += surface_.degree(v);
    ++linked_;
  }

  std::uint32_t before(std::uint32_t corner) const noexcept {
    const std::uint32_t polygon = surface_.polygonOf[corner];
    return corner == surface_.cornerStart[polygon] ? surface_.cornerStart[polygon + 1] - 1
                                                   : corner - 1;
  }
  std::uint32_t after(std::uint32_t corner) const noexcept {
    const std::uint32_t polygon = surface_.polygonOf[corner];
    return corner + 1 == surface_.cornerStart[polygon + 1] ? surface_.cornerStart[polygon]
                                                           : corner + 1;
  }

  /// Links the corners from `corner` up to `limit` that the polygons across the edges give away.
  std::uint32_t linkForward(std::uint32_t corner, std::uint32_t limit) {
    for (; corner < limit; ++corner) {
      const std::uint32_t v = surface_.vertexOf[corner - 1];
      const std::uint32_t degree = surface_.degree(v);
      const std::uint32_t position = surface_.slotOf[corner - 1];
      const std::uint32_t across =
          surface_.cornerAt[surface_.ringStart[v] + (position == 0 ? degree : position) - 1];
      if (across == Surface::kNone) break;
      const std::uint32_t there = before(across);
      const std::uint32_t w = surface_.vertexOf[there];
      if (w == Surface::kNone) break;
      const std::uint32_t place = surface_.slotOf[there];
      link(corner, w, (place == 0 ? surface_.degree(w) : place) - 1);
    }
    return corner;
  }

  /// The same from the first corner backwards. Returns the end of the corners that are still open.
  std::uint32_t linkBackward(std::uint32_t limit) {
    std::uint32_t open = end_;
    for (std::uint32_t corner = first_; open > limit; --open) {
      const std::uint32_t v = surface_.vertexOf[corner];
      const std::uint32_t position = surface_.slotOf[corner] + 1;
      const std::uint32_t across =
          surface_
              .cornerAt[surface_.ringStart[v] + (position == surface_.degree(v) ? 0 : position)];
      if (across == Surface::kNone) break;
      const std::uint32_t there = after(across);
      const std::uint32_t w = surface_.vertexOf[there];
      if (w == Surface::kNone) break;
      const std::uint32_t place = surface_.slotOf[there] + 1;
      corner = open - 1;
      link(corner, w, place == surface_.degree(w) ? 0 : place);
    }
    return open;
  }

  void complete() {
    std::uint32_t corner = linkForward(first_ + 1, end_);
    const std::uint32_t end = linkBackward(corner);
    while (corner < end) {
      const bool isSplit = activate(corner++);
      if (isSplit && variant_.linksAfterSplit) corner = linkForward(corner, end);
    }
  }

  /// Context of the next degree: how the degrees that are known compare with the usual ones.
  unsigned degreeContext() const noexcept {
    const auto compared = [this](std::uint64_t usual) {
      return knownDegrees_ < usual * known_ ? 0U : knownDegrees_ == usual * known_ ? 1U : 2U;
    };
    switch (end_ - first_) {
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

  /// Names the vertex of a corner: a new one, or by a split. Returns true for a split.
  bool activate(std::uint32_t corner) {
    const std::uint32_t degree = port_.degree(polygon_, corner - first_, degreeContext());
    if (degree == 0) {
      const Split split = port_.split(polygon_, corner - first_, active_);
      if (split.position >= surface_.degree(split.vertex)) reject("a split outside the ring");
      link(corner, split.vertex, split.position);
      return true;
    }
    const std::uint32_t start = surface_.ringStart.back();
    if (degree > surface_.cornerAt.size() - start)
      reject("a vertex with more polygons than are left");
    const auto v = static_cast<std::uint32_t>(surface_.vertexCount());
    surface_.ringStart.push_back(start + degree);
    emptyCount_.push_back(degree);
    firstEmpty_.push_back(start);
    active_.push(v);
    link(corner, v, 0);
    return false;
  }

  Port& port_;
  Variant variant_;
  ActiveVertices active_;
  Surface surface_;
  std::vector<std::uint32_t> emptyCount_;  // empty slots of each vertex
  std::vector<std::uint32_t> firstEmpty_;  // of each vertex; slots before it are full
  std::size_t linked_ = 0;                 // corners of the surface that have a vertex
  // The polygon under work:
  std::uint32_t polygon_ = 0;
  std::uint32_t first_ = 0;
  std::uint32_t end_ = 0;
  std::uint32_t known_ = 0;  // corners with a vertex
  std::uint64_t knownDegrees_ = 0;
};

}  // namespace jt::codec
