#include "codec/surface/SurfaceSource.h"

#include <algorithm>
#include <utility>

namespace jt::codec {

namespace {

constexpr std::uint32_t kNone = Surface::kNone;

/// Unpaired edges in lists by the sum of their ends: unlike a hash, a sum keeps neighbours close in
/// memory, and it spreads the edges of a hub.
class WaitingEdges {
 public:
  WaitingEdges(std::span<const std::uint32_t> corners, std::uint32_t positions)
      : corners_(corners),
        opposites_(corners.size(), kNone),
        lists_(2 * std::size_t{positions}, kNone) {}

  /// Pairs the edge with the first unpaired opposite, or adds it to the unpaired ones.
  void add(std::uint32_t corner, std::uint32_t from, std::uint32_t to) {
    constexpr unsigned kPatience =
        256;  // edges beyond that stay boundaries, so that time is linear
    std::uint32_t* link = &lists_[from + to];
    for (unsigned seen = 0; *link != kNone; ++seen) {
      const std::uint32_t other = *link;
      if (corners_[other] == to && endOf(other) == from) {
        *link = opposites_[other];
        opposites_[other] = corner;
        opposites_[corner] = other;
        return;
      }
      if (seen == kPatience) return;
      link = &opposites_[other];
    }
    *link = corner;
  }
  std::vector<std::uint32_t> finish() {
    for (std::uint32_t waiting : lists_)
      while (waiting != kNone) waiting = std::exchange(opposites_[waiting], kNone);
    return std::move(opposites_);
  }

 private:
  std::uint32_t endOf(std::uint32_t corner) const { return corners_[nextInTriangle(corner)]; }

  std::span<const std::uint32_t> corners_;
  std::vector<std::uint32_t> opposites_;  // of unpaired edges: the next in the list
  std::vector<std::uint32_t> lists_;
};

}  // namespace

std::vector<std::uint32_t> pairEdges(std::span<const std::uint32_t> corners) {
  std::uint32_t positions = 0;
  for (const std::uint32_t position : corners) positions = std::max(positions, position + 1);
  WaitingEdges edges(corners, positions);
  for (std::uint32_t t = 0; t + 2 < corners.size(); t += 3) {
    const std::uint32_t a = corners[t];
    const std::uint32_t b = corners[t + 1];
    const std::uint32_t c = corners[t + 2];
    if (a == b || b == c || c == a) continue;
    edges.add(t, a, b);
    edges.add(t + 1, b, c);
    edges.add(t + 2, c, a);
  }
  return edges.finish();
}

void SurfaceSource::build(std::vector<std::uint32_t>& opposites) {
  opposites_.swap(opposites);
  triangles_ = static_cast<std::uint32_t>(opposites_.size() / 3);
  capStart_.assign(1, 3 * triangles_);
  capOf_.clear();
  for (std::uint32_t corner = 0; corner < 3 * triangles_; ++corner)
    if (opposites_[corner] == kNone) cap(corner);
}

/// Closes a hole. The corners of paired edges round a position are a vertex, and each vertex of a
/// boundary has one boundary edge out and one in, so that boundaries are simple loops.
void SurfaceSource::cap(std::uint32_t boundary) {
  loop_.clear();
  for (std::uint32_t edge = boundary; loop_.empty() || edge != boundary;) {
    loop_.push_back(edge);
    edge = next(edge);
    while (opposites_[edge] != kNone) edge = next(opposites_[edge]);
  }
  if (loop_.size() == 2) {
    opposites_[loop_[0]] = loop_[1];
    opposites_[loop_[1]] = loop_[0];
    return;
  }
  // The cap runs the loop backwards: from where an edge begins to where the one before it does.
  const auto number = static_cast<std::uint32_t>(capStart_.size() - 1);
  for (std::size_t k = loop_.size(); k-- > 0;) {
    const std::uint32_t edge = loop_[k == 0 ? loop_.size() - 1 : k - 1];
    opposites_[edge] = static_cast<std::uint32_t>(opposites_.size());
    opposites_.push_back(edge);
    capOf_.push_back(number);
  }
  capStart_.push_back(static_cast<std::uint32_t>(opposites_.size()));
}

}  // namespace jt::codec
