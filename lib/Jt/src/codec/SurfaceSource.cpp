#include "SurfaceSource.h"

namespace jt::codec {

namespace {

constexpr std::uint32_t kNone = Surface::kNone;

std::uint32_t nextInTriangle(std::uint32_t corner) {
  return corner % 3 == 2 ? corner - 2 : corner + 1;
}
std::uint32_t previousInTriangle(std::uint32_t corner) {
  return corner % 3 == 0 ? corner + 2 : corner - 1;
}

/// The first corner with an edge from one position to another.
class EdgeTable {
 public:
  explicit EdgeTable(std::size_t edges) {
    std::size_t size = 16;
    while (size < 2 * edges) size *= 2;
    slots_.assign(size, {0, kNone});
  }
  void add(std::uint32_t from, std::uint32_t to, std::uint32_t corner) {
    Slot& slot = slots_[place(from, to)];
    if (slot.corner == kNone) slot = {key(from, to), corner};
  }
  std::uint32_t find(std::uint32_t from, std::uint32_t to) const {
    return slots_[place(from, to)].corner;
  }

 private:
  struct Slot {
    std::uint64_t key;
    std::uint32_t corner;
  };
  static std::uint64_t key(std::uint32_t from, std::uint32_t to) {
    return std::uint64_t{from} << 32 | to;
  }
  std::size_t place(std::uint32_t from, std::uint32_t to) const {
    const std::uint64_t wanted = key(from, to);
    std::size_t at = (wanted * 0x9e3779b97f4a7c15U >> 20) & (slots_.size() - 1);
    while (slots_[at].corner != kNone && slots_[at].key != wanted)
      at = (at + 1) & (slots_.size() - 1);
    return at;
  }

  std::vector<Slot> slots_;
};

}  // namespace

std::vector<std::uint32_t> pairEdges(std::span<const std::uint32_t> corners) {
  EdgeTable edges(corners.size());
  const auto isFlat = [&](std::size_t t) {
    return corners[t] == corners[t + 1] || corners[t + 1] == corners[t + 2] ||
           corners[t] == corners[t + 2];
  };
  const auto eachEdge = [&](auto act) {
    for (std::size_t t = 0; t + 2 < corners.size(); t += 3) {
      if (isFlat(t)) continue;
      for (std::size_t k = 0; k < 3; ++k) {
        const auto corner = static_cast<std::uint32_t>(t + k);
        act(corner, corners[corner], corners[nextInTriangle(corner)]);
      }
    }
  };
  eachEdge([&](std::uint32_t corner, std::uint32_t from, std::uint32_t to) {
    edges.add(from, to, corner);
  });
  std::vector<std::uint32_t> mates(corners.size(), kNone);
  eachEdge([&](std::uint32_t corner, std::uint32_t from, std::uint32_t to) {
    if (edges.find(from, to) == corner) mates[corner] = edges.find(to, from);
  });
  return mates;
}

void SurfaceSource::build(std::vector<std::uint32_t> mates) {
  const std::size_t corners = mates.size();
  triangles = corners / 3;
  cornerStart.assign(triangles + 1, 0);
  polygonOf.resize(corners);
  for (std::uint32_t c = 0; c < corners; ++c) {
    polygonOf[c] = c / 3;
    cornerStart[c / 3 + 1] = c / 3 * 3 + 3;
  }
  vertexOf.assign(corners, kNone);
  placeOf.assign(corners, 0);
  closeFans(mates);
  cover(mates);
}

/// Finds the rings: corners that paired edges connect. An open one begins behind its boundary.
void SurfaceSource::closeFans(std::vector<std::uint32_t>& mates) {
  ringStart.assign(1, 0);
  ring.clear();
  for (std::uint32_t corner = 0; corner < mates.size(); ++corner) {
    if (vertexOf[corner] != kNone) continue;
    std::uint32_t first = corner;
    for (std::uint32_t back = mates[first]; back != kNone; back = mates[first]) {
      first = nextInTriangle(back);
      if (first == corner) break;
    }
    const auto vertex = static_cast<std::uint32_t>(vertexCount());
    for (std::uint32_t at = first; at != kNone;) {
      vertexOf[at] = vertex;
      placeOf[at] = static_cast<std::uint32_t>(ring.size()) - ringStart.back();
      ring.push_back(at);
      const std::uint32_t across = mates[previousInTriangle(at)];
      at = across == first ? kNone : across;
    }
    ringStart.push_back(static_cast<std::uint32_t>(ring.size()));
  }
}

/// Closes the holes. Each vertex of a boundary has one boundary edge out, from the first corner of
/// its ring, and one in, so that boundaries are simple loops.
void SurfaceSource::cover(std::vector<std::uint32_t>& mates) {
  std::vector<std::uint32_t> coverOf(vertexCount(), kNone);  // corner that closes the ring
  std::vector<std::uint32_t> loop;
  bool any = false;
  for (std::uint32_t vertex = 0; vertex < vertexCount(); ++vertex) {
    if (coverOf[vertex] != kNone || mates[ring[ringStart[vertex]]] != kNone) continue;
    loop.clear();
    for (std::uint32_t v = vertex; loop.empty() || v != vertex;) {
      loop.push_back(v);
      v = vertexOf[nextInTriangle(ring[ringStart[v]])];
    }
    if (loop.size() == 2) {
      const std::uint32_t a = ring[ringStart[loop[0]]];
      const std::uint32_t b = ring[ringStart[loop[1]]];
      mates[a] = b;
      mates[b] = a;
      continue;
    }
    any = true;
    const auto polygon = static_cast<std::uint32_t>(polygonCount());
    for (std::size_t k = loop.size(); k-- > 0;) {
      const auto corner = static_cast<std::uint32_t>(vertexOf.size());
      coverOf[loop[k]] = corner;
      polygonOf.push_back(polygon);
      vertexOf.push_back(loop[k]);
      placeOf.push_back(ringStart[loop[k] + 1] - ringStart[loop[k]]);
    }
    cornerStart.push_back(static_cast<std::uint32_t>(vertexOf.size()));
  }
  if (!any) return;
  // The covers go behind the last corners of their rings.
  std::vector<std::uint32_t> wider;
  wider.reserve(vertexOf.size());
  for (std::size_t v = 0; v < vertexCount(); ++v) {
    const std::uint32_t start = ringStart[v];
    ringStart[v] = static_cast<std::uint32_t>(wider.size());
    wider.insert(wider.end(), ring.begin() + start, ring.begin() + ringStart[v + 1]);
    if (coverOf[v] != kNone) wider.push_back(coverOf[v]);
  }
  ringStart.back() = static_cast<std::uint32_t>(wider.size());
  ring = std::move(wider);
}

}  // namespace jt::codec
