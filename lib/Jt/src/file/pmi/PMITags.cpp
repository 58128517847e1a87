#include "file/pmi/PMITags.h"

#include <algorithm>
#include <limits>
#include <numeric>

#include "JtFormatError.h"
#include "file/pmi/PMIKinds.h"

namespace jt::file {

void requireEditable(PMIData& data) {
  if (data.form.opaqueRest)
    throw JtFormatError("not_editable",
                        "no entity can be added to or removed from this PMI: what follows its "
                        "entities is not understood");
  if (data.cadTags.flag == 1 && !data.cadTags.tags && !decodeCadTags(data))
    throw JtFormatError("not_editable",
                        "no entity can be added to or removed from this PMI: its CAD tags cannot "
                        "be decoded");
}

void raisePMIVersion(PMIData& data) {
  data.pmiVersion = std::max<std::int16_t>(data.pmiVersion, 8);
}

void ensureTags(PMIData& data) {
  if (data.cadTags.flag == 1) return;
  data.cadTags = {};
  data.cadTags.flag = 1;
  data.cadTags.indices.resize(PMITagPlaces(data).total);
  std::iota(data.cadTags.indices.begin(), data.cadTags.indices.end(), 0);
  auto& tags = data.cadTags.tags.emplace();
  for (const std::int32_t index : data.cadTags.indices) tags.push_back({index + 1});
}

std::int32_t newTag(const std::vector<PMICadTag>& tags, std::int32_t& greatest) {
  constexpr std::int32_t kLimit = std::numeric_limits<std::int32_t>::max();
  if (greatest < 0) {
    greatest = 0;
    for (const PMICadTag& tag : tags)
      if (tag.number > greatest && tag.number <= kLimit)
        greatest = static_cast<std::int32_t>(tag.number);
  }
  if (greatest < kLimit) return ++greatest;
  std::vector<std::int64_t> numbers;
  numbers.reserve(tags.size());
  for (const PMICadTag& tag : tags) numbers.push_back(tag.number);
  std::ranges::sort(numbers);
  std::int32_t free = 1;
  for (const std::int64_t number : numbers)
    if (number == free) ++free;
  return free;
}

std::uint32_t storedEnd(const PMIData& data, PMITypedID id) {
  const PMITagPlaces places(data);
  const std::optional<std::size_t> first = places.first(id.kind());
  const bool isIndirect = (id.word & PMITypedID::kIndirect) != 0;
  if (data.cadTags.flag != 1 || isIndirect || !first) return id.word;
  const std::size_t place = *first + static_cast<std::size_t>(id.index());
  if (place >= data.cadTags.indices.size()) return id.word;
  const auto tag = static_cast<std::uint32_t>(data.cadTags.indices[place]);
  return PMITypedID::kIndirect | (id.word & ~PMITypedID::kMaxIndex) | (tag & PMITypedID::kMaxIndex);
}

namespace {

void removeAreas(PMIPolygons& areas, const std::vector<bool>& isRemoved) {
  std::vector<std::int32_t> counts;
  std::vector<PMIPolygons::Filled> filled;
  std::size_t next = 0;
  for (std::size_t i = 0; i < areas.vertexCounts.size(); ++i) {
    const bool isFilled = areas.vertexCounts[i] != 0;
    if (!isRemoved[i]) {
      counts.push_back(areas.vertexCounts[i]);
      if (isFilled) filled.push_back(std::move(areas.filled[next]));
    }
    if (isFilled) ++next;
  }
  areas.vertexCounts = std::move(counts);
  areas.filled = std::move(filled);
}

/// Removes the associations of entities, and renumbers direct ends of those behind them.
void removeLinks(PMIData& data, const std::vector<bool>& isRemoved) {
  if (data.associations.empty()) return;
  const PMIEnds ends(data);
  const auto generic = [&](std::uint32_t end, std::int32_t owner) -> std::optional<std::size_t> {
    const std::optional<PMITypedID> id = ends.resolve(end, owner);
    if (!id || id->kind() != PMIKind::genericEntity) return {};
    return static_cast<std::size_t>(id->index());
  };
  const auto isGone = [&](std::uint32_t end, std::int32_t owner) {
    const auto index = generic(end, owner);
    return index && isRemoved[*index];
  };
  std::vector<std::uint32_t> position(isRemoved.size());
  for (std::size_t i = 1; i < isRemoved.size(); ++i)
    position[i] = position[i - 1] + (isRemoved[i - 1] ? 0 : 1);
  const auto renumbered = [&](std::uint32_t end, std::int32_t owner) {
    const auto index = generic(end, owner);
    if (!index || (end & PMITypedID::kIndirect) != 0) return end;
    return (end & ~PMITypedID::kMaxIndex) | position[*index];
  };
  std::erase_if(data.associations, [&](const PMIAssociation& link) {
    return isGone(link.source, link.sourceOwner) || isGone(link.destination, link.destinationOwner);
  });
  for (PMIAssociation& link : data.associations) {
    link.source = renumbered(link.source, link.sourceOwner);
    link.destination = renumbered(link.destination, link.destinationOwner);
  }
}

}  // namespace

void removeGeneric(PMIData& data, const std::vector<bool>& isRemoved) {
  removeLinks(data, isRemoved);
  std::size_t at = 0;
  if (data.cadTags.flag == 1) {
    const std::size_t first = *PMITagPlaces(data).first(PMIKind::genericEntity);
    std::erase_if(data.cadTags.indices, [&](const std::int32_t&) {
      const std::size_t place = at++;
      return place >= first && isRemoved[place - first];
    });
  }
  if (data.hasAreaForEachEntity && data.polygons.vertexCounts.size() == isRemoved.size())
    removeAreas(data.polygons, isRemoved);
  at = 0;
  std::erase_if(data.genericEntities, [&](const PMIGenericEntity&) { return isRemoved[at++]; });
}

}  // namespace jt::file
