#include <algorithm>
#include <map>
#include <numeric>

#include "JtFormatError.h"
#include "file/pmi/PMIElement.h"
#include "file/pmi/PMIGeneric.h"
#include "file/pmi/PMITags.h"
#include "file/pmi/PMITexts.h"

namespace jt::file {

namespace {

template <class T>
void append(std::vector<T>& to, std::vector<T>& from) {
  to.insert(to.end(), std::make_move_iterator(from.begin()), std::make_move_iterator(from.end()));
}

class Merge {
 public:
  Merge(PMIData& to, PMIData& from) : to_(to), from_(from) {}

  void run() {
    check();
    raisePMIVersion(to_);
    mapStrings();
    renumberStrings();
    const bool hasTags = to_.cadTags.flag == 1 || from_.cadTags.flag == 1;
    if (hasTags) {
      ensureTags(to_);
      ensureTags(from_);
    }
    associations();
    if (hasTags) tags();
    areas();
    views();
    for (std::size_t i = 0; i < to_.flat.size(); ++i) append(to_.flat[i], from_.flat[i]);
    for (std::size_t i = 0; i < to_.solid.size(); ++i) append(to_.solid[i], from_.solid[i]);
    append(to_.coordinateSystems, from_.coordinateSystems);
    append(to_.designGroups, from_.designGroups);
    append(to_.userAttributes, from_.userAttributes);
    append(to_.genericEntities, from_.genericEntities);
    append(to_.fonts, from_.fonts);
  }

 private:
  void check() {
    requireEditable(to_);
    requireEditable(from_);
    if (isGeneric(to_.layout)) makeGeneric(from_);
    const auto isTooLarge = [](std::size_t a, std::size_t b) {
      return a + b > PMITypedID::kMaxIndex;
    };
    if (isTooLarge(to_.genericEntities.size(), from_.genericEntities.size()) ||
        isTooLarge(to_.modelViews.size(), from_.modelViews.size()) ||
        isTooLarge(to_.cadTags.tags ? to_.cadTags.tags->size() : 0,
                   from_.cadTags.tags ? from_.cadTags.tags->size() : 0))
      throw JtFormatError("not_editable", "a node can have 16777216 PMI entities of a kind");
  }

  void mapStrings() {
    std::map<JtString, std::int32_t> known;
    for (std::size_t i = 0; i < to_.strings.size(); ++i)
      known.emplace(to_.strings[i], static_cast<std::int32_t>(i));
    for (JtString& text : from_.strings) {
      const auto [place, isNew] =
          known.emplace(text, static_cast<std::int32_t>(to_.strings.size()));
      if (isNew) to_.strings.push_back(text);
      stringIds_.push_back(place->second);
    }
  }

  void renumberStrings() {
    eachTextId(from_, [this](std::int32_t& id) {
      if (id >= 0) id = stringIds_.at(static_cast<std::size_t>(id));
    });
  }

  /// How far the index of an end moves; nothing when the numbers of its kind are not known.
  std::optional<std::size_t> offsetOf(std::uint32_t end, std::int32_t owner) const {
    const PMITypedID id{end};
    if (owner != -1) return 0;
    if ((end & PMITypedID::kIndirect) != 0) return to_.cadTags.tags ? to_.cadTags.tags->size() : 0;
    switch (id.kind()) {
      case PMIKind::genericEntity:
        return to_.genericEntities.size();
      case PMIKind::modelView:
        return to_.modelViews.size();
      case PMIKind::brepVertex:
      case PMIKind::brepEdge:
      case PMIKind::brepFace:
        return 0;
      default:
        return {};
    }
  }

  void associations() {
    for (PMIAssociation link : from_.associations) {
      const auto source = offsetOf(link.source, link.sourceOwner);
      const auto destination = offsetOf(link.destination, link.destinationOwner);
      if (!source || !destination) continue;
      const auto moved = [](std::uint32_t end, std::size_t offset) {
        return (end & ~PMITypedID::kMaxIndex) |
               ((end + static_cast<std::uint32_t>(offset)) & PMITypedID::kMaxIndex);
      };
      link.source = moved(link.source, *source);
      link.destination = moved(link.destination, *destination);
      to_.associations.push_back(link);
    }
  }

  void tags() {
    const PMITagPlaces ownPlaces(to_);
    const PMITagPlaces places(from_);
    const auto offset = static_cast<std::uint32_t>(to_.cadTags.tags->size());
    // Unsigned, since an index from a file may be any number.
    for (std::int32_t& index : from_.cadTags.indices)
      index = static_cast<std::int32_t>(static_cast<std::uint32_t>(index) + offset);
    std::vector<std::int32_t> merged;
    const auto add = [&](const std::vector<std::int32_t>& indices, PMITagPlaces::Run run) {
      const auto begin = indices.begin();
      merged.insert(merged.end(), begin + static_cast<std::ptrdiff_t>(run.begin),
                    begin + static_cast<std::ptrdiff_t>(run.end));
    };
    for (std::size_t i = 0; i < places.runs().size(); ++i) {
      add(to_.cadTags.indices, ownPlaces.runs()[i]);
      add(from_.cadTags.indices, places.runs()[i]);
    }
    to_.cadTags.indices = std::move(merged);
    append(*to_.cadTags.tags, *from_.cadTags.tags);
  }

  void areas() {
    if (to_.polygons.vertexCounts.empty() && from_.polygons.vertexCounts.empty()) return;
    const auto pad = [](PMIData& data) {
      if (!data.polygons.vertexCounts.empty()) return;
      data.polygons.vertexCounts.resize(data.genericEntities.size());
      data.hasAreaForEachEntity = true;
    };
    pad(to_);
    pad(from_);
    append(to_.polygons.vertexCounts, from_.polygons.vertexCounts);
    append(to_.polygons.filled, from_.polygons.filled);
    to_.hasAreaForEachEntity = to_.hasAreaForEachEntity && from_.hasAreaForEachEntity;
  }

  /// Version 9 may store one property for each view, for all of them or for none.
  void views() {
    const bool storesOneEach = to_.layout == PMILayout::typed9 && to_.version.value > 1;
    if (storesOneEach) {
      from_.viewProperties.resize(from_.modelViews.size());
      append(to_.viewProperties, from_.viewProperties);
    } else {
      for (std::size_t i = 0; i < from_.viewProperties.size(); ++i)
        from_.modelViews[i].properties.push_back(std::move(from_.viewProperties[i]));
    }
    append(to_.modelViews, from_.modelViews);
  }

  PMIData& to_;
  PMIData& from_;
  std::vector<std::int32_t> stringIds_;
};

}  // namespace

void mergePMI(PMIData& to, PMIData from) { Merge(to, from).run(); }

}  // namespace jt::file
