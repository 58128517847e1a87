#include "PMITags.h"

#include <algorithm>
#include <limits>

#include "JtFormatError.h"
#include "file/PMIElement.h"

namespace jt {

namespace {

constexpr std::uint32_t kGeneric = static_cast<std::uint32_t>(PMIKind::genericEntity);

std::uint32_t kindOf(std::uint32_t end) { return (end >> 24) & 0x7fU; }
bool isIndirect(std::uint32_t end) { return (end & PMITypedID::kIndirect) != 0; }

/// Place of the first entity of a kind in the list of CAD tags; nothing for kinds that are not in
/// it.
std::optional<std::size_t> firstPlace(const PMIData& data, PMIKind kind) {
  constexpr std::ptrdiff_t kViews = 11;  // in taggedByKind
  const std::vector<std::size_t> counts = file::taggedByKind(data);
  if (kind == PMIKind::genericEntity)
    return file::taggedEntities(data) - data.genericEntities.size();
  if (kind != PMIKind::modelView) return {};
  std::size_t before = 0;
  for (std::ptrdiff_t i = 0; i < kViews; ++i) before += counts[static_cast<std::size_t>(i)];
  return before;
}

}  // namespace

void requireEditable(PMIData& data) {
  if (data.form.opaqueRest)
    throw JtFormatError("not_editable",
                        "no entity can be added to or removed from this PMI: what follows its "
                        "entities is not understood");
  if (data.cadTags.flag == 1 && !data.cadTags.tags && !file::decodeCadTags(data))
    throw JtFormatError("not_editable",
                        "no entity can be added to or removed from this PMI: its CAD tags cannot "
                        "be decoded");
}

void raisePMIVersion(PMIData& data) {
  data.pmiVersion = std::max<std::int16_t>(data.pmiVersion, 8);
}

std::int32_t unusedTag(const std::vector<std::int32_t>& tags) {
  if (tags.empty()) return 1;
  const std::int32_t greatest = *std::ranges::max_element(tags);
  if (greatest < std::numeric_limits<std::int32_t>::max()) return greatest + 1;
  std::int32_t free = 1;
  while (std::ranges::find(tags, free) != tags.end()) ++free;
  return free;
}

std::uint32_t storedEnd(const PMIData& data, PMITypedID id) {
  const std::optional<std::size_t> first = firstPlace(data, id.kind());
  if (data.cadTags.flag != 1 || isIndirect(id.word) || !first) return id.word;
  const std::size_t place = *first + static_cast<std::size_t>(id.index());
  if (place >= data.cadTags.indices.size()) return id.word;
  const auto tag = static_cast<std::uint32_t>(data.cadTags.indices[place]);
  return PMITypedID::kIndirect | (id.word & ~PMITypedID::kMaxIndex) | (tag & PMITypedID::kMaxIndex);
}

void removeEnds(PMIData& data, std::size_t entity) {
  std::optional<std::size_t> tag;
  if (data.cadTags.flag == 1) {
    const auto& indices = data.cadTags.indices;
    const std::size_t place = *firstPlace(data, PMIKind::genericEntity) + entity;
    // A tag stands for the first entity that has it.
    const auto first = std::ranges::find(indices, indices[place]);
    if (first - indices.begin() == static_cast<std::ptrdiff_t>(place))
      tag = static_cast<std::size_t>(indices[place]);
  }
  const auto isEnd = [&](std::uint32_t end, std::int32_t owner) {
    if (owner != -1 || kindOf(end) != kGeneric) return false;
    const std::size_t index = end & PMITypedID::kMaxIndex;
    return isIndirect(end) ? tag == index : index == entity;
  };
  std::erase_if(data.associations, [&](const PMIAssociation& link) {
    return isEnd(link.source, link.sourceOwner) || isEnd(link.destination, link.destinationOwner);
  });
  const auto renumber = [&](std::uint32_t& end, std::int32_t owner) {
    const bool isBehind = owner == -1 && kindOf(end) == kGeneric && !isIndirect(end) &&
                          (end & PMITypedID::kMaxIndex) > entity;
    if (isBehind) --end;
  };
  for (PMIAssociation& link : data.associations) {
    renumber(link.source, link.sourceOwner);
    renumber(link.destination, link.destinationOwner);
  }
}

bool hasAreaForEachEntity(const PMIData& data) {
  return !data.polygons.vertexCounts.empty() &&
         data.polygons.vertexCounts.size() == data.genericEntities.size();
}

void removeArea(PMIPolygons& areas, std::size_t element) {
  const auto at = areas.vertexCounts.begin() + static_cast<std::ptrdiff_t>(element);
  const auto filledBefore =
      std::count_if(areas.vertexCounts.begin(), at, [](auto count) { return count != 0; });
  if (*at != 0) areas.filled.erase(areas.filled.begin() + filledBefore);
  areas.vertexCounts.erase(at);
}

}  // namespace jt
