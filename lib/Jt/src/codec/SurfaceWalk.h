#pragma once

// The walk that encoder and decoder of a surface do in step. What only one of them knows (symbols
// on one side, the source mesh on the other) it asks of a port.

#include <algorithm>
#include <memory>

#include "ActiveVertices.h"

namespace jt::codec {

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
  /// @param corners sum of all valences, and of all degrees; at most Surface::kMostCorners
  SurfaceWalk(Port& port, Variant variant, std::size_t polygons, std::size_t vertices,
              std::size_t corners)
      : port_(port), variant_(variant), active_(variant.finished), corners_(corners) {
    surface_.cornerStart.reserve(polygons + 1);
    surface_.vertices.reserve(vertices);
    surface_.vertexOf.resize(corners);
    surface_.placeOf.resize(corners);
    surface_.cornerAt = std::make_unique_for_overwrite<std::uint32_t[]>(corners);
  }

  Surface run() {
    while (port_.seedLeft()) {
      begin(port_.seed());
      for (std::uint32_t corner = first_; corner < end_; ++corner) activate(corner);
      for (std::uint32_t v = pick(); v != Surface::kNone; v = pick()) {
        while (surface_.vertices[v].empty > 0) {
          const std::uint32_t position = firstEmptySlot(surface_.vertices[v]);
          begin(port_.polygon(v, position));
          link(first_, v, position);
          complete();
        }
        active_.finish(v, surface_.vertices);
      }
    }
    if (linked_ != corners_) reject("corners are left open");
    return std::move(surface_);
  }

 private:
  // What `placeOf` has above the slot: the number of the corner in a triangle, or:
  static constexpr unsigned kKindShift = 30;
  static constexpr std::uint32_t kOther = 3;  // a corner of another polygon

  [[noreturn]] static void reject(const char* what) {
    fail("bad_topology", std::string("the mesh does not close: ") + what);
  }

  std::uint32_t pick() { return active_.pick(surface_.vertices); }

  /// Slots are only ever filled, so the search goes on where it ended.
  std::uint32_t firstEmptySlot(Surface::Vertex& v) {
    std::uint32_t slot = v.firstEmpty;
    while (surface_.cornerAt[slot] != Surface::kNone) ++slot;
    v.firstEmpty = slot;
    return slot - v.start;
  }

  void begin(std::uint32_t valence) {
    first_ = end_;
    if (valence == 0 || valence > corners_ - first_)
      reject("a polygon with more corners than are left");
    end_ = first_ + valence;
    std::fill(surface_.vertexOf.begin() + first_, surface_.vertexOf.begin() + end_, Surface::kNone);
    if (valence != 3) rememberPolygon();
    polygon_ = static_cast<std::uint32_t>(surface_.polygonCount());
    surface_.cornerStart.push_back(end_);
    known_ = 0;
    knownDegrees_ = 0;
  }

  /// Corners of triangles need not know theirs, so that the array is made for the others only, and
  /// memory comes to be used only where they stand.
  void rememberPolygon() {
    if (!polygonOf_) polygonOf_ = std::make_unique_for_overwrite<std::uint32_t[]>(corners_);
    std::fill(polygonOf_.get() + first_, polygonOf_.get() + end_,
              static_cast<std::uint32_t>(surface_.polygonCount()));
  }

  void link(std::uint32_t corner, std::uint32_t v, std::uint32_t position) {
    Surface::Vertex& vertex = surface_.vertices[v];
    std::uint32_t& slot = surface_.cornerAt[vertex.start + position];
    if (slot != Surface::kNone) reject("two polygons in one place of a ring");
    slot = corner;
    surface_.vertexOf[corner] = v;
    const std::uint32_t kind = end_ - first_ == 3 ? corner - first_ : kOther;
    surface_.placeOf[corner] = position | kind << kKindShift;
    --vertex.empty;
    ++known_;
    knownDegrees_ += vertex.degree;
    ++linked_;
  }

  /// The corners beside one that is linked.
  std::uint32_t before(std::uint32_t corner) const noexcept {
    const std::uint32_t kind = surface_.placeOf[corner] >> kKindShift;
    if (kind == 0) return corner + 2;
    if (kind != kOther) return corner - 1;
    const std::uint32_t polygon = polygonOf_[corner];
    return corner == surface_.cornerStart[polygon] ? surface_.cornerStart[polygon + 1] - 1
                                                   : corner - 1;
  }
  std::uint32_t after(std::uint32_t corner) const noexcept {
    const std::uint32_t kind = surface_.placeOf[corner] >> kKindShift;
    if (kind == 2) return corner - 2;
    if (kind != kOther) return corner + 1;
    const std::uint32_t polygon = polygonOf_[corner];
    return corner + 1 == surface_.cornerStart[polygon + 1] ? surface_.cornerStart[polygon]
                                                           : corner + 1;
  }

  /// Links the corners from `corner` up to `limit` that the polygons across the edges give away.
  std::uint32_t linkForward(std::uint32_t corner, std::uint32_t limit) {
    for (; corner < limit; ++corner) {
      const Surface::Vertex& v = surface_.vertices[surface_.vertexOf[corner - 1]];
      const std::uint32_t position = surface_.slotOf(corner - 1);
      const std::uint32_t across =
          surface_.cornerAt[v.start + (position == 0 ? v.degree : position) - 1];
      if (across == Surface::kNone) break;
      const std::uint32_t there = before(across);
      const std::uint32_t w = surface_.vertexOf[there];
      if (w == Surface::kNone) break;
      const std::uint32_t place = surface_.slotOf(there);
      link(corner, w, (place == 0 ? surface_.degree(w) : place) - 1);
    }
    return corner;
  }

  /// The same from the first corner backwards. Returns the end of the corners that are still open.
  std::uint32_t linkBackward(std::uint32_t limit) {
    std::uint32_t open = end_;
    for (std::uint32_t corner = first_; open > limit; --open) {
      const Surface::Vertex& v = surface_.vertices[surface_.vertexOf[corner]];
      const std::uint32_t position = surface_.slotOf(corner) + 1;
      const std::uint32_t across =
          surface_.cornerAt[v.start + (position == v.degree ? 0 : position)];
      if (across == Surface::kNone) break;
      const std::uint32_t there = after(across);
      const std::uint32_t w = surface_.vertexOf[there];
      if (w == Surface::kNone) break;
      const std::uint32_t place = surface_.slotOf(there) + 1;
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
    if (degree > corners_ - slots_) reject("a vertex with more polygons than are left");
    const auto v = static_cast<std::uint32_t>(surface_.vertexCount());
    surface_.vertices.push_back({slots_, degree, degree, slots_});
    std::fill_n(surface_.cornerAt.get() + slots_, degree, Surface::kNone);
    slots_ += degree;
    active_.push(v);
    link(corner, v, 0);
    return false;
  }

  Port& port_;
  Variant variant_;
  ActiveVertices active_;
  Surface surface_;
  std::unique_ptr<std::uint32_t[]> polygonOf_;  // of each corner outside triangles
  std::size_t corners_;
  std::size_t linked_ = 0;   // corners of the surface that have a vertex
  std::uint32_t slots_ = 0;  // of all vertices up to now
  // The polygon under work:
  std::uint32_t polygon_ = 0;
  std::uint32_t first_ = 0;
  std::uint32_t end_ = 0;
  std::uint32_t known_ = 0;  // corners with a vertex
  std::uint64_t knownDegrees_ = 0;
};

}  // namespace jt::codec
