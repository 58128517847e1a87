#include "SurfaceEncoder.h"

#include "SurfaceWalk.h"

namespace jt::codec {

namespace {

constexpr std::int32_t kCoverGroup = -1;  // readers that look at groups alone leave covers out too

/// Answers the walk from the source and writes down the symbols that will tell the decoder the
/// same.
class SourcePort {
 public:
  SourcePort(const SurfaceSource& source, std::span<const std::int32_t> groups,
             std::span<const std::uint32_t> records, Generation generation, EncodedSurface& out)
      : source_(source),
        groups_(groups),
        records_(records),
        isNine_(generation == Generation::v9),
        out_(out),
        isUsed_(source.polygonCount()),
        numberOf_(source.vertexCount(), Surface::kNone),
        startOf_(source.vertexCount()) {}

  bool seedLeft() {
    while (nextSeed_ < isUsed_.size() && isUsed_[nextSeed_]) ++nextSeed_;
    return nextSeed_ < isUsed_.size();
  }
  std::uint32_t seed() { return begin(source_.cornerStart[nextSeed_]); }
  std::uint32_t polygon(std::uint32_t number, std::uint32_t position) {
    return begin(cornerAt(vertexOfNumber_[number], position));
  }
  std::uint32_t degree(std::uint32_t, std::uint32_t c, unsigned context) {
    const std::uint32_t corner = sourceCorner(c);
    const std::uint32_t vertex = source_.vertexOf[corner];
    auto& degrees = out_.streams.faceDegrees[context];
    if (numberOf_[vertex] != Surface::kNone) {
      degrees.push_back(0);
      return 0;
    }
    numberOf_[vertex] = static_cast<std::uint32_t>(vertexOfNumber_.size());
    vertexOfNumber_.push_back(vertex);
    startOf_[vertex] = source_.placeOf[corner];
    out_.corners.push_back(anyTriangleCorner(vertex));
    putMask(vertex);
    degrees.push_back(static_cast<std::int32_t>(degreeOf(vertex)));
    return degreeOf(vertex);
  }
  Split split(std::uint32_t, std::uint32_t c, const ActiveVertices& active) {
    const std::uint32_t corner = sourceCorner(c);
    const std::uint32_t vertex = source_.vertexOf[corner];
    const std::uint32_t degree = degreeOf(vertex);
    const Split split{numberOf_[vertex],
                      (source_.placeOf[corner] + degree - startOf_[vertex]) % degree};
    const std::size_t offset = active.fromEnd(split.vertex);
    if (offset == 0) fail("bad_topology", "a split to a vertex that is not under work");
    out_.streams.splitSymbols.push_back(static_cast<std::int32_t>(offset));
    out_.streams.splitPositions.push_back(static_cast<std::int32_t>(split.position));
    return split;
  }

 private:
  std::uint32_t degreeOf(std::uint32_t vertex) const {
    return source_.ringStart[vertex + 1] - source_.ringStart[vertex];
  }
  /// Corner in a ring counted from where the walk met the vertex.
  std::uint32_t cornerAt(std::uint32_t vertex, std::uint32_t position) const {
    const std::uint32_t degree = degreeOf(vertex);
    const std::uint32_t place = startOf_[vertex] + position;
    return source_.ring[source_.ringStart[vertex] + (place < degree ? place : place - degree)];
  }
  /// The polygon under work begins at a corner of the source, its first or any other.
  std::uint32_t begin(std::uint32_t corner) {
    const std::uint32_t polygon = source_.polygonOf[corner];
    const bool isCover = polygon >= source_.triangles;
    isUsed_[polygon] = 1;
    first_ = source_.cornerStart[polygon];
    valence_ = source_.cornerStart[polygon + 1] - first_;
    turn_ = corner - first_;
    out_.streams.vertexValences.push_back(static_cast<std::int32_t>(valence_));
    out_.streams.vertexGroups.push_back(isCover           ? kCoverGroup
                                        : groups_.empty() ? 0
                                                          : groups_[polygon]);
    out_.streams.vertexFlags.push_back(isCover ? 1 : 0);
    return valence_;
  }
  std::uint32_t sourceCorner(std::uint32_t c) const {
    const std::uint32_t turned = turn_ + c;
    return first_ + (turned < valence_ ? turned : turned - valence_);
  }
  bool isCoverCorner(std::uint32_t corner) const { return corner >= 3 * source_.triangles; }
  std::uint32_t anyTriangleCorner(std::uint32_t vertex) const {
    // A ring has at most one cover.
    const std::uint32_t corner = source_.ring[source_.ringStart[vertex]];
    return isCoverCorner(corner) ? source_.ring[source_.ringStart[vertex] + 1] : corner;
  }

  /// Bit k of a mask is set where slot k has another record than the slot before it. A cover takes
  /// the record of the slot before.
  void putMask(std::uint32_t vertex) {
    const std::uint32_t degree = degreeOf(vertex);
    bits_.assign((std::size_t{degree} + 63) / 64, 0);
    if (!records_.empty()) {
      const auto recordBefore = [&](std::uint32_t slot) {
        std::uint32_t at = slot == 0 ? degree - 1 : slot - 1;
        if (isCoverCorner(cornerAt(vertex, at))) at = at == 0 ? degree - 1 : at - 1;
        return records_[cornerAt(vertex, at)];
      };
      bool any = false;
      for (std::uint32_t slot = 0; slot < degree; ++slot) {
        const std::uint32_t corner = cornerAt(vertex, slot);
        if (isCoverCorner(corner) || records_[corner] == recordBefore(slot)) continue;
        bits_[slot / 64] |= std::uint64_t{1} << (slot % 64);
        out_.records.push_back(records_[corner]);
        any = true;
      }
      if (!any) {
        bits_[0] |= 1;
        const std::uint32_t corner = cornerAt(vertex, 0);
        out_.records.push_back(isCoverCorner(corner) ? recordBefore(0) : records_[corner]);
      }
    }
    store(degree);
  }

  void store(std::uint32_t degree) {
    TopologyStreams& s = out_.streams;
    const auto part = [&](unsigned shift, unsigned width) {
      return static_cast<std::int32_t>(static_cast<std::uint32_t>(bits_[0] >> shift) &
                                       static_cast<std::uint32_t>((std::uint64_t{1} << width) - 1));
    };
    if (degree > 64) {
      for (std::uint32_t word = 0; word < (degree + 31) / 32; ++word)
        s.highDegreeMasks.push_back(
            static_cast<std::uint32_t>(bits_[word / 2] >> (word % 2 == 0 ? 0 : 32)));
      return;
    }
    const std::size_t context = degree < 3 ? 0 : std::min<std::size_t>(7, degree - 2);
    if (context < 7 || !isNine_) {
      s.faceMasks[context].push_back(part(0, 32));
      if (context == 7) s.faceMasksNext.push_back(part(32, 32));
    } else {
      s.faceMasks[context].push_back(part(0, 30));
      s.faceMasksNext.push_back(part(30, 30));
      s.faceMasksTop.push_back(part(60, 4));
    }
  }

  const SurfaceSource& source_;
  std::span<const std::int32_t> groups_;
  std::span<const std::uint32_t> records_;
  bool isNine_;
  EncodedSurface& out_;
  std::vector<std::uint8_t> isUsed_;           // polygons
  std::vector<std::uint32_t> numberOf_;        // of each vertex of the source, in the walk
  std::vector<std::uint32_t> vertexOfNumber_;  // the inverse
  std::vector<std::uint32_t> startOf_;         // place in the ring where the walk met a vertex
  std::vector<std::uint64_t> bits_;
  std::size_t nextSeed_ = 0;
  // The polygon under work:
  std::uint32_t first_ = 0;
  std::uint32_t valence_ = 0;
  std::uint32_t turn_ = 0;
};

template <class T>
void appendAll(std::vector<T>& to, const std::vector<T>& from) {
  to.insert(to.end(), from.begin(), from.end());
}

}  // namespace

void EncodedSurface::append(const EncodedSurface& other) {
  for (std::size_t i = 0; i < TopologyStreams::kContexts; ++i) {
    appendAll(streams.faceDegrees[i], other.streams.faceDegrees[i]);
    appendAll(streams.faceMasks[i], other.streams.faceMasks[i]);
  }
  appendAll(streams.vertexValences, other.streams.vertexValences);
  appendAll(streams.vertexGroups, other.streams.vertexGroups);
  appendAll(streams.vertexFlags, other.streams.vertexFlags);
  appendAll(streams.faceMasksNext, other.streams.faceMasksNext);
  appendAll(streams.faceMasksTop, other.streams.faceMasksTop);
  appendAll(streams.highDegreeMasks, other.streams.highDegreeMasks);
  appendAll(streams.splitSymbols, other.streams.splitSymbols);
  appendAll(streams.splitPositions, other.streams.splitPositions);
  appendAll(corners, other.corners);
  appendAll(records, other.records);
}

EncodedSurface encodeSurface(const SurfaceSource& source, std::span<const std::int32_t> groups,
                             std::span<const std::uint32_t> records, Generation generation,
                             Variant variant) {
  EncodedSurface out;
  SourcePort port(source, groups, records, generation, out);
  SurfaceWalk<SourcePort>(port, variant, source.polygonCount(), source.vertexCount(),
                          source.vertexOf.size())
      .run();
  return out;
}

}  // namespace jt::codec
