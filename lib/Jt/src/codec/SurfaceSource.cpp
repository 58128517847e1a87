#include "SurfaceSource.h"

#include <algorithm>

namespace jt::codec {

namespace {

constexpr std::uint32_t kNone = Surface::kNone;

std::uint32_t nextInTriangle(std::uint32_t corner) {
  return corner % 3 == 2 ? corner - 2 : corner + 1;
}
std::uint32_t previousInTriangle(std::uint32_t corner) {
  return corner % 3 == 0 ? corner + 2 : corner - 1;
}

/// An edge of a triangle, kept with its lesser position.
struct Edge {
  std::uint32_t other;   ///< the greater position
  std::uint32_t corner;  ///< where the edge begins in its triangle
};

/// Pairs the first edge from the lesser to the greater position with the first that runs back, for
/// each other position among edges of one lesser position, in the order of their corners.
void pairAmong(std::span<Edge> edges, std::uint32_t lesser, std::span<const std::uint32_t> corners,
               std::vector<std::uint32_t>& mates) {
  constexpr std::size_t kFew = 24;
  const auto leads = [&](const Edge& edge) { return corners[edge.corner] == lesser; };
  const auto pair = [&](const Edge& a, const Edge& b) {
    mates[a.corner] = b.corner;
    mates[b.corner] = a.corner;
  };
  if (edges.size() > kFew) {
    // Equals come to stand together; then the first of each direction are near.
    std::ranges::sort(edges, [&](const Edge& a, const Edge& b) {
      if (a.other != b.other) return a.other < b.other;
      return leads(a) != leads(b) ? leads(a) : a.corner < b.corner;
    });
    for (std::size_t i = 0; i < edges.size();) {
      std::size_t back = i;
      std::size_t end = i;
      for (; end < edges.size() && edges[end].other == edges[i].other; ++end)
        if (leads(edges[end])) back = end + 1;
      if (back > i && back < end) pair(edges[i], edges[back]);
      i = end;
    }
    return;
  }
  for (std::size_t i = 0; i < edges.size(); ++i) {
    const Edge* opposite = nullptr;
    bool isFirst = true;
    for (std::size_t k = 0; k < edges.size() && isFirst; ++k) {
      if (k == i || edges[k].other != edges[i].other) continue;
      const bool isSame = leads(edges[k]) == leads(edges[i]);
      if (isSame && k < i) isFirst = false;
      if (!isSame && !opposite) opposite = &edges[k];
    }
    if (isFirst && opposite) mates[edges[i].corner] = opposite->corner;
  }
}

}  // namespace

std::vector<std::uint32_t> pairEdges(std::span<const std::uint32_t> corners) {
  std::uint32_t positions = 0;
  for (const std::uint32_t position : corners) positions = std::max(positions, position + 1);
  const auto isFlat = [&](std::size_t t) {
    return corners[t] == corners[t + 1] || corners[t + 1] == corners[t + 2] ||
           corners[t] == corners[t + 2];
  };
  const auto eachEdge = [&](auto act) {
    for (std::size_t t = 0; t + 2 < corners.size(); t += 3) {
      if (isFlat(t)) continue;
      for (std::size_t k = 0; k < 3; ++k) {
        const std::uint32_t from = corners[t + k];
        const std::uint32_t to = corners[k == 2 ? t : t + k + 1];
        act(static_cast<std::uint32_t>(t + k), std::min(from, to), std::max(from, to));
      }
    }
  };
  // Edges in the order of their lesser positions.
  std::vector<std::uint32_t> ends(std::size_t{positions} + 1);
  eachEdge([&](std::uint32_t, std::uint32_t lesser, std::uint32_t) { ++ends[lesser + 1]; });
  for (std::size_t p = 0; p < positions; ++p) ends[p + 1] += ends[p];
  std::vector<Edge> edges(ends.back());
  eachEdge([&](std::uint32_t corner, std::uint32_t lesser, std::uint32_t greater) {
    edges[ends[lesser]++] = {greater, corner};
  });
  std::vector<std::uint32_t> mates(corners.size(), kNone);
  std::uint32_t start = 0;
  for (std::uint32_t p = 0; p < positions; start = ends[p++])
    pairAmong(std::span(edges).subspan(start, ends[p] - start), p, corners, mates);
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
