#pragma once

// The traversal that rebuilds a surface from the symbols of a port. SurfaceEncoder makes the same
// traversal over an existing surface.

#include <algorithm>
#include <memory>

#include "base/PageMemory.h"
#include "codec/surface/ActiveWindow.h"

namespace jt::codec {

/// A corner at a vertex that is known already.
struct Split {
  std::uint32_t vertex = 0;
  std::uint32_t position = 0;  ///< slot in the vertex's ring
};

/// A Port answers:
///   bool polygonLeft()     when the walk runs dry
///   uint32 polygon()       valence of the next one
///   uint32 degree(context) of the vertex at the next corner; 0: a split
///   Split split(active)    behind a degree of 0
/// It may throw. Corners and slots that it names are checked here. Its valences are 1 or more and
/// add up to the corners given to the constructor, its degrees to no more than these, and it gives
/// no more degrees other than 0 than there are vertices.
///
/// Inlining is forced by hand: the compiler's own choice varies with unrelated edits and costs up
/// to 25 %.
///
/// @tparam Active ActiveWindow or ActiveVertices, as the variant has it
/// @tparam Position an integer wide enough for a position in any ring. char8_t, not unsigned char:
/// stores through unsigned char may alias anything and block optimisation
template <class Port, class Active, class Position>
class SurfaceWalk {
 public:
  /// @param corners sum of all valences, and of all degrees; at most Surface::kMostCorners
  SurfaceWalk(Port& port, Variant variant, std::size_t vertices, std::size_t corners)
      : port_(port), variant_(variant), active_(variant.finished), positionOf_(corners) {
    surface_.vertices = storage::WorkArray<Surface::Vertex>(vertices);
    storage::fillLarge(surface_.vertexOf, corners, Surface::kNone);
    surface_.slots = storage::WorkArray<std::uint32_t>(corners + kSlotsAtOnce);
  }

  Surface run() {
    while (port_.polygonLeft()) {
      begin(port_.polygon());
      for (std::uint32_t corner = first_; corner < end_; ++corner) activate(corner);
      for (std::uint32_t v = pick(); v != Surface::kNone; v = pick()) {
        while (active_.hasEmptySlot(surface_.vertices[v])) {
          const Place place{v, firstEmptySlot(surface_.vertices[v])};
          begin(port_.polygon());
          if (end_ - first_ == 3) {
            addTriangle(place);
          } else {
            link(first_, place);
            complete();
          }
        }
        active_.finish(v, surface_.vertices);
      }
    }
    // Every polygon has all its corners, so that no slot of a ring is empty now.
    return std::move(surface_);
  }

 private:
  /// A slot in the ring of a vertex.
  struct Place {
    std::uint32_t vertex;
    std::uint32_t position;
  };

  /// A polygon that is no triangle.
  struct Other {
    std::uint32_t first;
    std::uint32_t end;
  };

  [[noreturn]] static void reject(const char* what) {
    fail("bad_topology", std::string("the mesh does not close: ") + what);
  }

  std::uint32_t pick() { return active_.pick(surface_.vertices); }

  /// Slots are only ever filled, so the search goes on where it ended.
  std::uint32_t firstEmptySlot(Surface::Vertex& v) {
    std::uint32_t slot = v.firstEmpty;
    while (surface_.slots[slot] != Surface::kNone) ++slot;
    v.firstEmpty = slot;
    return slot - v.start;
  }

  void begin(std::uint32_t valence) {
    first_ = end_;
    end_ = first_ + valence;
    if (valence != 3) others_.push_back({first_, end_});
    known_ = 0;
    knownDegrees_ = 0;
  }

  void link(std::uint32_t corner, Place place, std::uint32_t kind) {
    Surface::Vertex& vertex = surface_.vertices[place.vertex];
    std::uint32_t& slot = surface_.slots[vertex.start + place.position];
    if (slot != Surface::kNone) reject("two polygons in one place of a ring");
    slot = corner | kind << Surface::kKindShift;
    surface_.vertexOf[corner] = place.vertex;
    positionOf_[corner] = static_cast<Position>(place.position);
    active_.fill(vertex);
  }
  void link(std::uint32_t corner, Place place) {
    link(corner, place, kindOf(corner));
    ++known_;
    knownDegrees_ += surface_.vertices[place.vertex].degree;
  }
  std::uint32_t kindOf(std::uint32_t corner) const noexcept {
    if (end_ - first_ == 3) return corner - first_;
    return corner == first_ || corner + 1 == end_ ? Surface::kEnd : 1;
  }

  /// The corners beside one in a slot.
  std::uint32_t before(std::uint32_t slot) const noexcept {
    const std::uint32_t corner = Surface::cornerIn(slot);
    const std::uint32_t kind = slot >> Surface::kKindShift;
    if (kind != Surface::kEnd) return kind == 0 ? corner + 2 : corner - 1;
    const Other& polygon = otherOf(corner);
    return (corner == polygon.first ? polygon.end : corner) - 1;
  }
  std::uint32_t after(std::uint32_t slot) const noexcept {
    const std::uint32_t corner = Surface::cornerIn(slot);
    const std::uint32_t kind = slot >> Surface::kKindShift;
    if (kind != Surface::kEnd) return kind == 2 ? corner - 2 : corner + 1;
    const Other& polygon = otherOf(corner);
    return corner + 1 == polygon.end ? polygon.first : corner + 1;
  }
  /// Most of the time it is the latest one.
  const Other& otherOf(std::uint32_t corner) const noexcept {
    if (corner >= others_.back().first) return others_.back();
    return *(std::ranges::upper_bound(others_, corner, {}, &Other::first) - 1);
  }

  /// The place of the next corner, if the polygon across the edge determines it.
  bool findNext(Place place, Place& next) const noexcept {
    const Surface::Vertex& v = surface_.vertices[place.vertex];
    const std::uint32_t across =
        surface_.slots[v.start + (place.position == 0 ? v.degree : place.position) - 1];
    if (across == Surface::kNone) return false;
    const std::uint32_t there = before(across);
    next.vertex = surface_.vertexOf[there];
    if (next.vertex == Surface::kNone) return false;
    const std::uint32_t position = positionOf_[there];
    next.position = (position == 0 ? surface_.degree(next.vertex) : position) - 1;
    return true;
  }
  /// The same for the corner in front.
  bool findPrevious(Place place, Place& previous) const noexcept {
    const Surface::Vertex& v = surface_.vertices[place.vertex];
    const std::uint32_t position = place.position + 1;
    const std::uint32_t across = surface_.slots[v.start + (position == v.degree ? 0 : position)];
    if (across == Surface::kNone) return false;
    const std::uint32_t there = after(across);
    previous.vertex = surface_.vertexOf[there];
    if (previous.vertex == Surface::kNone) return false;
    const std::uint32_t beyond = positionOf_[there] + 1;
    previous.position = beyond == surface_.degree(previous.vertex) ? 0 : beyond;
    return true;
  }
  Place placeOf(std::uint32_t corner) const noexcept {
    return {surface_.vertexOf[corner], positionOf_[corner]};
  }

  /// A triangle in a place: what complete() does, in the order of how often it happens.
  void addTriangle(Place place) {
    link(first_, place, 0);
    Place second;
    if (!findNext(place, second)) {
      known_ = 1;
      knownDegrees_ = surface_.degree(place.vertex);
      return complete();
    }
    link(first_ + 1, second, 1);
    Place third;
    if (findNext(second, third) || findPrevious(place, third)) return link(first_ + 2, third, 2);
    known_ = 2;
    knownDegrees_ = std::uint64_t{surface_.degree(place.vertex)} + surface_.degree(second.vertex);
    activate(first_ + 2);
  }

  /// Links the corners from `corner` up to `limit` that the polygons across the edges determine.
  std::uint32_t linkForward(std::uint32_t corner, std::uint32_t limit) {
    for (Place next; corner < limit && findNext(placeOf(corner - 1), next); ++corner)
      link(corner, next);
    return corner;
  }
  /// The same from the first corner backwards. Returns the end of the corners that are still open.
  std::uint32_t linkBackward(std::uint32_t limit) {
    std::uint32_t corner = first_;
    std::uint32_t open = end_;
    for (Place previous; open > limit && findPrevious(placeOf(corner), previous); --open) {
      corner = open - 1;
      link(corner, previous);
    }
    return open;
  }

  /// Finds the vertices of the corners after the first.
  [[gnu::noinline]] void complete() {
    std::uint32_t corner = linkForward(first_ + 1, end_);
    const std::uint32_t end = linkBackward(corner);
    while (corner < end) {
      const bool isSplit = activate(corner++);
      if (isSplit && variant_.linksAfterSplit) corner = linkForward(corner, end);
    }
  }

  /// Sets the vertex of a corner: a new one, or one named by a split. Returns true for a split.
  [[gnu::always_inline]] bool activate(std::uint32_t corner) {
    const std::uint32_t degree = port_.degree(degreeContext(end_ - first_, known_, knownDegrees_));
    if (degree == 0) {
      const Split split = port_.split(active_);
      if (split.position >= surface_.degree(split.vertex)) reject("a split outside the ring");
      link(corner, {split.vertex, split.position});
      return true;
    }
    const std::uint32_t v = vertices_++;
    surface_.vertices[v] = {slots_, degree, 0, slots_};
    active_.push(v, surface_.vertices);
    clearSlots(degree);
    link(corner, {v, 0});
    return false;
  }

  /// Makes slots for a vertex. Always clears a few, since a loop of a length that varies would
  /// mispredict; those of later vertices are cleared again.
  void clearSlots(std::uint32_t degree) {
    std::uint32_t* const slots = surface_.slots.data() + slots_;
    std::fill_n(slots, kSlotsAtOnce, Surface::kNone);
    if (degree > kSlotsAtOnce) std::fill(slots + kSlotsAtOnce, slots + degree, Surface::kNone);
    slots_ += degree;
  }

  static constexpr std::uint32_t kSlotsAtOnce = 8;

  Port& port_;
  Variant variant_;
  Active active_;
  Surface surface_;
  storage::WorkArray<Position> positionOf_;  // of each corner, in the ring of its vertex
  std::vector<Other> others_;
  std::uint32_t vertices_ = 0;  // up to now
  std::uint32_t slots_ = 0;     // of these
  // The polygon under work:
  std::uint32_t first_ = 0;
  std::uint32_t end_ = 0;
  std::uint32_t known_ = 0;  // corners with a vertex
  std::uint64_t knownDegrees_ = 0;
};

/// Walks as the variant has it.
/// @param mostDegree of any vertex
template <class Port>
Surface walkSurface(Port& port, Variant variant, std::size_t vertices, std::size_t corners,
                    std::uint32_t mostDegree) {
  if (variant.finished != Variant::Finished::removed)
    return SurfaceWalk<Port, ActiveVertices, std::uint32_t>(port, variant, vertices, corners).run();
  if (mostDegree > 0xff)
    return SurfaceWalk<Port, ActiveWindow, std::uint32_t>(port, variant, vertices, corners).run();
  return SurfaceWalk<Port, ActiveWindow, char8_t>(port, variant, vertices, corners).run();
}

}  // namespace jt::codec
