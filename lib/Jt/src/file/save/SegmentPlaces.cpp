#include "file/save/SegmentPlaces.h"

#include <algorithm>

namespace jt::file {

std::optional<JtGuid> SegmentPlaces::idOf(const Container& from, const TocEntry& entry,
                                          const JtType* wanted) {
  const ConvertedSegment& result = converter_.convert(from, entry);
  if (wanted && std::ranges::find(result.leftOut, wanted->guid()) != result.leftOut.end())
    return {};
  JtGuid id = entry.id;
  if (&from != own_) {
    const auto placed = placed_.find(&entry);
    id = placed != placed_.end() ? placed->second : placed_[&entry] = place(from, entry);
  }
  return result.isDropped() ? std::nullopt : std::optional(id);
}

JtGuid SegmentPlaces::idOfNew(const JtGuid& id, std::int32_t atom) {
  return takeFree(own_ ? JtGuid::derived(own_->sceneEntry().id, static_cast<std::uint32_t>(atom))
                       : id);
}

/// The id itself where it is free, else one that follows from it.
JtGuid SegmentPlaces::takeFree(JtGuid id) {
  while (!take(id)) id = JtGuid::derived(id, 0);
  return id;
}

bool SegmentPlaces::take(const JtGuid& id) {
  return !(own_ && own_->find(id)) && taken_.insert(id).second;
}

JtGuid SegmentPlaces::place(const Container& from, const TocEntry& entry) {
  const TocEntry* own = own_ ? own_->find(entry.id) : nullptr;
  if (own && isSame(*own_, *own, from, entry)) return entry.id;
  std::vector<std::size_t>& namesakes = byOldId_[entry.id];
  for (const std::size_t index : namesakes)
    if (isSame(*foreign_[index].from, *foreign_[index].entry, from, entry))
      return foreign_[index].id;
  namesakes.push_back(foreign_.size());
  foreign_.push_back({&from, &entry, takeFree(entry.id)});
  return foreign_.back().id;
}

/// The segment as the new file would have it; empty when it cannot.
std::span<const std::byte> SegmentPlaces::bytesOf(const Container& from, const TocEntry& entry) {
  const ConvertedSegment& result = converter_.convert(from, entry);
  if (result.isDropped()) return {};
  return result.isSame ? from.segmentBytes(entry) : result.bytes->bytes();
}

bool SegmentPlaces::isSame(const Container& a, const TocEntry& entryA, const Container& b,
                           const TocEntry& entryB) {
  return entryA.type() == entryB.type() &&
         std::ranges::equal(bytesOf(a, entryA), bytesOf(b, entryB));
}

}  // namespace jt::file
