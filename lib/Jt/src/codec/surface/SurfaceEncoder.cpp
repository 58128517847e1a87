#include "codec/surface/SurfaceEncoder.h"

#include <algorithm>

namespace jt::codec {

namespace {

constexpr std::int32_t kCoverGroup = -1;  // readers that look at groups alone leave caps out too
constexpr std::uint32_t kNone = Surface::kNone;
constexpr std::size_t kLongRing = 64;  // the most that masks of contexts hold

/// Calls `act` with each vector of one surface and the same one of the other.
template <class A, class B, class Act>
void forEach(A& a, B& b, Act act) {
  for (std::size_t i = 0; i < TopologyStreams::kContexts; ++i) {
    act(a.streams.faceDegrees[i], b.streams.faceDegrees[i]);
    act(a.streams.faceMasks[i], b.streams.faceMasks[i]);
  }
  act(a.streams.vertexValences, b.streams.vertexValences);
  act(a.streams.vertexGroups, b.streams.vertexGroups);
  act(a.streams.vertexFlags, b.streams.vertexFlags);
  act(a.streams.faceMasksNext, b.streams.faceMasksNext);
  act(a.streams.faceMasksTop, b.streams.faceMasksTop);
  act(a.streams.highDegreeMasks, b.streams.highDegreeMasks);
  act(a.streams.splitSymbols, b.streams.splitSymbols);
  act(a.streams.splitPositions, b.streams.splitPositions);
  act(a.corners, b.corners);
  act(a.records, b.records);
}

}  // namespace

void EncodedSurface::append(const EncodedSurface& other) {
  forEach(*this, other,
          [](auto& to, const auto& from) { to.insert(to.end(), from.begin(), from.end()); });
}

void EncodedSurface::clear() {
  forEach(*this, *this, [](auto& vector, auto&) { vector.clear(); });
}

void SurfaceEncoder::encode(const SurfaceSource& source, std::span<const std::int32_t> groups,
                            std::span<const std::uint32_t> records, EncodedSurface& out) {
  source_ = &source;
  groups_ = groups;
  records_ = records;
  out_ = &out;
  isUsed_.assign(source.polygonCount(), 0);
  vertexOf_.assign(source.cornerCount(), kNone);
  vertices_.clear();
  positions_.clear();
  for (std::uint32_t triangle = 0; triangle < source.triangleCount(); ++triangle) {
    if (isUsed_[triangle]) continue;
    begin(3 * triangle);
    for (std::uint32_t corner = first_; corner < first_ + 3; ++corner) activate(corner);
    for (std::uint32_t v = active_.pick(vertices_); v != kNone; v = active_.pick(vertices_)) {
      while (vertices_[v].empty > 0) {
        std::uint32_t corner = vertices_[v].latest;
        while (isThere(corner)) corner = source.nextAroundVertex(corner);
        vertices_[v].latest = corner;
        begin(corner);
        complete();
      }
      active_.finish(v, vertices_);
    }
  }
}

/// Takes a polygon into the walk, beginning at one of its corners.
void SurfaceEncoder::begin(std::uint32_t corner) {
  const std::uint32_t polygon = source_->polygonOf(corner);
  const bool isCap = source_->isCap(corner);
  isUsed_[polygon] = 1;
  first_ = corner;
  valence_ = source_->valence(polygon);
  known_ = 0;
  knownDegrees_ = 0;
  out_->streams.vertexValences.push_back(static_cast<std::int32_t>(valence_));
  out_->streams.vertexGroups.push_back(isCap             ? kCoverGroup
                                       : groups_.empty() ? 0
                                                         : groups_[polygon]);
  out_->streams.vertexFlags.push_back(isCap ? 1 : 0);
}

/// True when the walk has been at the polygon of a corner.
bool SurfaceEncoder::isThere(std::uint32_t corner) const {
  return isUsed_[source_->polygonOf(corner)] != 0;
}

/// Links the corners from the first one on that polygons across the edges give away. Returns the
/// first that is open.
std::uint32_t SurfaceEncoder::linkForward(std::uint32_t corner) {
  while (known_ < valence_ && isThere(source_->opposite(corner))) {
    corner = source_->next(corner);
    link(corner);
  }
  return source_->next(corner);
}

void SurfaceEncoder::complete() {
  link(first_);
  std::uint32_t open = linkForward(first_);
  std::uint32_t corner = source_->previous(first_);
  for (; known_ < valence_ && isThere(source_->opposite(corner));
       corner = source_->previous(corner))
    link(corner);
  while (known_ < valence_) {
    const bool isSplit = activate(open);
    open = isSplit && variant_.linksAfterSplit ? linkForward(open) : source_->next(open);
  }
}

void SurfaceEncoder::link(std::uint32_t corner) {
  Vertex& vertex = vertices_[vertexOf_[corner]];
  --vertex.empty;
  ++known_;
  knownDegrees_ += vertex.degree;
}

/// Encodes the vertex of a corner: a new one, or a split. Returns true for a split.
bool SurfaceEncoder::activate(std::uint32_t corner) {
  std::vector<std::int32_t>& degrees =
      out_->streams.faceDegrees[degreeContext(valence_, known_, knownDegrees_)];
  const bool isSplit = vertexOf_[corner] != kNone;
  if (isSplit) {
    degrees.push_back(0);
    split(corner);
  } else {
    discover(corner);
    degrees.push_back(static_cast<std::int32_t>(ring_.size()));
  }
  link(corner);
  return isSplit;
}

void SurfaceEncoder::split(std::uint32_t corner) {
  const std::size_t offset = active_.fromEnd(vertexOf_[corner]);
  if (offset == 0) fail("bad_topology", "a split to a vertex that is not under work");
  out_->streams.splitSymbols.push_back(static_cast<std::int32_t>(offset));
  out_->streams.splitPositions.push_back(static_cast<std::int32_t>(positionOf(corner)));
}

/// Slot of a corner in the ring of its vertex.
std::uint32_t SurfaceEncoder::positionOf(std::uint32_t corner) {
  const Vertex& vertex = vertices_[vertexOf_[corner]];
  std::uint32_t position = 0;
  if (vertex.degree <= kLongRing) {
    for (std::uint32_t at = vertex.start; at != corner; at = source_->nextAroundVertex(at))
      ++position;
    return position;
  }
  // Counted once for all splits at the vertex.
  if (!positions_.contains(vertex.start))
    for (std::uint32_t at = vertex.start; position < vertex.degree;
         at = source_->nextAroundVertex(at))
      positions_.emplace(at, position++);
  return positions_.at(corner);
}

/// Numbers the vertex of a corner.
void SurfaceEncoder::discover(std::uint32_t corner) {
  const auto number = static_cast<std::uint32_t>(vertices_.size());
  ring_.clear();
  std::uint32_t at = corner;
  do {
    vertexOf_[at] = number;
    ring_.push_back(at);
    at = source_->nextAroundVertex(at);
  } while (at != corner);
  const auto degree = static_cast<std::uint32_t>(ring_.size());
  vertices_.push_back({corner, degree, degree, corner});
  active_.push(number);
  // A ring has at most one cap.
  out_->corners.push_back(ring_[source_->isCap(corner) ? 1 : 0]);
  putMask();
}

/// Bit k of a mask is set where slot k has another record than the slot before it. A cap takes
/// the record of the slot before. Slot 0 is set in every mask of the compatible profile.
void SurfaceEncoder::putMask() {
  if (ring_.size() > kLongRing) return putLongMask();
  std::uint64_t mask = 0;
  forEachRecord([&mask](std::size_t slot) { mask |= std::uint64_t{1} << slot; });
  TopologyStreams& s = out_->streams;
  const auto part = [&](unsigned shift, unsigned width) {
    return static_cast<std::int32_t>(
        static_cast<std::uint32_t>(mask >> shift & ((std::uint64_t{1} << width) - 1)));
  };
  const std::size_t context = maskContext(ring_.size());
  const bool isLast = context == 7;
  s.faceMasks[context].push_back(part(0, isLast && isNine_ ? 30 : 32));
  if (isLast) s.faceMasksNext.push_back(isNine_ ? part(30, 30) : part(32, 32));
  if (isLast && isNine_) s.faceMasksTop.push_back(part(60, 4));
}

void SurfaceEncoder::putLongMask() {
  std::vector<std::uint32_t>& words = out_->streams.highDegreeMasks;
  const std::size_t from = words.size();
  words.resize(from + (ring_.size() + 31) / 32);
  forEachRecord([&](std::size_t slot) { words[from + slot / 32] |= 1U << (slot % 32); });
}

/// Calls `act` with each slot from which on a record holds, and puts the record down.
template <class Act>
void SurfaceEncoder::forEachRecord(Act act) {
  if (records_.empty()) return;
  const std::size_t last = ring_.size() - (source_->isCap(ring_.back()) ? 2 : 1);
  std::uint32_t record = records_[ring_[last]];
  bool any = false;
  for (std::size_t slot = 0; slot < ring_.size(); ++slot) {
    const bool isFirst = slot == 0 && beginsMasks_;
    if (!isFirst && (source_->isCap(ring_[slot]) || records_[ring_[slot]] == record)) continue;
    if (!source_->isCap(ring_[slot])) record = records_[ring_[slot]];
    out_->records.push_back(record);
    act(slot);
    any = true;
  }
  if (any) return;
  out_->records.push_back(record);
  act(0);
}

}  // namespace jt::codec
