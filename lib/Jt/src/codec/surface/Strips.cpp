#include "codec/surface/Strips.h"

#include <array>
#include <utility>

#include "codec/surface/SurfaceSource.h"

namespace jt::codec {

namespace {

constexpr std::uint32_t kNone = Surface::kNone;

/// A strip through a triangle.
struct Course {
  std::uint32_t seed = 0;                ///< corner at which the triangle begins
  std::vector<std::uint32_t> behind;     ///< entries in front of the triangle, the nearest first
  std::vector<std::uint32_t> following;  ///< entries behind it

  std::size_t length() const noexcept { return behind.size() + following.size(); }
};

/// Begins each strip where the fewest neighbours are left, so that no triangle is cut off from all
/// of them early, and takes the longest of the three ways through that triangle.
class StripMaker {
 public:
  explicit StripMaker(std::span<const std::uint32_t> vertices)
      : opposites_(pairEdges(vertices)),
        triedAt_(vertices.size() / 3),
        isDone_(vertices.size() / 3),
        neighbours_(vertices.size() / 3) {}

  Strips run() {
    const auto triangles = static_cast<std::uint32_t>(neighbours_.size());
    strips_.corners.reserve(triangles + triangles / 2);
    for (std::uint32_t t = triangles; t-- > 0;) {
      for (std::uint32_t corner = 3 * t; corner < 3 * t + 3; ++corner)
        if (opposites_[corner] != kNone) ++neighbours_[t];
      waiting_[neighbours_[t]].push_back(t);
    }
    for (std::uint32_t seed = nextSeed(); seed != kNone; seed = nextSeed()) {
      findCourse(seed);
      take();
    }
    strips_.starts.push_back(static_cast<std::uint32_t>(strips_.corners.size()));
    return std::move(strips_);
  }

 private:
  /// A free triangle with the fewest free neighbours. A triangle waits once for each number of
  /// neighbours that it has had.
  std::uint32_t nextSeed() {
    for (std::uint32_t count = 0; count < waiting_.size();) {
      if (waiting_[count].empty()) {
        ++count;
        continue;
      }
      const std::uint32_t triangle = waiting_[count].back();
      waiting_[count].pop_back();
      if (!isDone_[triangle] && neighbours_[triangle] == count) return triangle;
    }
    return kNone;
  }

  /// Goes from triangle to triangle across the edges that a strip shares: alternately the one and
  /// the other of the two that an entered triangle has left.
  /// @param edge corner at which the first of these edges begins @param entries what is met
  void walk(std::uint32_t edge, bool forward, std::vector<std::uint32_t>& entries) {
    for (bool isOdd = true;; isOdd = !isOdd) {
      const std::uint32_t entered = opposites_[edge];
      if (entered == kNone || isDone_[entered / 3] || triedAt_[entered / 3] == trial_) return;
      triedAt_[entered / 3] = trial_;
      entries.push_back(previousInTriangle(entered));
      edge = isOdd == forward ? previousInTriangle(entered) : nextInTriangle(entered);
    }
  }

  void findCourse(std::uint32_t triangle) {
    for (std::uint32_t corner = 3 * triangle; corner < 3 * triangle + 3; ++corner) {
      trial_ += 1;
      triedAt_[triangle] = trial_;
      other_.seed = corner;
      other_.behind.clear();
      other_.following.clear();
      walk(nextInTriangle(corner), true, other_.following);
      walk(corner, false, other_.behind);
      // The first triangle of a strip is one that is not swapped.
      if (other_.behind.size() % 2 != 0) other_.behind.pop_back();
      if (corner == 3 * triangle || other_.length() > best_.length()) std::swap(best_, other_);
    }
  }

  /// Appends the strip that was found.
  void take() {
    std::vector<std::uint32_t>& corners = strips_.corners;
    strips_.starts.push_back(static_cast<std::uint32_t>(corners.size()));
    corners.insert(corners.end(), best_.behind.rbegin(), best_.behind.rend());
    const std::uint32_t second = nextInTriangle(best_.seed);
    corners.insert(corners.end(), {best_.seed, second, nextInTriangle(second)});
    corners.insert(corners.end(), best_.following.begin(), best_.following.end());
    finish(best_.seed / 3);
    for (const std::uint32_t corner : best_.behind) finish(corner / 3);
    for (const std::uint32_t corner : best_.following) finish(corner / 3);
  }

  void finish(std::uint32_t triangle) {
    isDone_[triangle] = 1;
    for (std::uint32_t corner = 3 * triangle; corner < 3 * triangle + 3; ++corner) {
      if (opposites_[corner] == kNone) continue;
      const std::uint32_t neighbour = opposites_[corner] / 3;
      if (isDone_[neighbour]) continue;
      --neighbours_[neighbour];
      waiting_[neighbours_[neighbour]].push_back(neighbour);
    }
  }

  std::vector<std::uint32_t> opposites_;
  std::vector<std::uint32_t> triedAt_;                 // by triangle: the last trial that met it
  std::vector<std::uint8_t> isDone_;                   // by triangle
  std::vector<std::uint8_t> neighbours_;               // by triangle: free ones
  std::array<std::vector<std::uint32_t>, 4> waiting_;  // by number of free neighbours
  std::uint32_t trial_ = 0;
  Course best_;
  Course other_;
  Strips strips_;
};

}  // namespace

Strips makeStrips(std::span<const std::uint32_t> vertices) { return StripMaker(vertices).run(); }

}  // namespace jt::codec
