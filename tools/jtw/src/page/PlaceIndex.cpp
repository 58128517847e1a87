#include "PlaceIndex.h"

#include <algorithm>

#include "JtwPMI.h"

namespace tool {

PlaceIndex::PlaceIndex(std::span<const jtw::ListedObject> places)
    : steps_(1), root_(places.front().node->jtNode()), parents_(places.size(), 0) {
  steps_.front().place = 0;
  std::vector<std::size_t> ancestors;  // places, by depth
  std::vector<std::size_t> stepOf(places.size());
  for (std::size_t i = 0; i < places.size(); ++i) {
    const jtw::ListedObject& object = places[i];
    ancestors.resize(static_cast<std::size_t>(object.depth));
    if (!ancestors.empty()) parents_[i] = ancestors.back();
    ancestors.push_back(i);
    if (object.node->isOfTypePMI()) {
      const auto& pmi = static_cast<const JtwPMI&>(*object.node);
      if (pmi.id() >= 0)
        annotations_[{pmi.originJtNode(), static_cast<std::size_t>(pmi.id())}].push_back(i);
      continue;
    }
    std::size_t step = stepOf[parents_[i]];
    for (const JtNode* node : i == 0 ? std::span<JtNode* const>() : std::span(object.nodes)) {
      const auto [below, isNew] = steps_[step].below.try_emplace(node, steps_.size());
      step = below->second;
      if (isNew) steps_.emplace_back();
    }
    if (!steps_[step].place) steps_[step].place = i;
    stepOf[i] = step;
  }
}

std::size_t PlaceIndex::of(std::span<JtNode* const> path) const {
  std::size_t place = 0;
  std::size_t step = 0;
  const auto root = std::ranges::find(path, root_);
  if (root == path.end()) return place;
  for (auto node = root + 1; node != path.end(); ++node) {
    const auto below = steps_[step].below.find(*node);
    if (below == steps_[step].below.end()) break;
    step = below->second;
    place = steps_[step].place.value_or(place);
  }
  return place;
}

std::size_t PlaceIndex::ofAnnotation(const JtNode* carrier, std::size_t entity,
                                     std::size_t place) const {
  const auto found = annotations_.find({carrier, entity});
  if (found == annotations_.end()) return place;
  // Shared parts have it several times. It is listed under the object of its carrier or, for an
  // entity's, under the collection above.
  for (std::size_t above = place;; above = parents_[above]) {
    const auto under = std::ranges::find(found->second, above,
                                         [this](std::size_t each) { return parents_[each]; });
    if (under != found->second.end()) return *under;
    if (above == 0) return place;
  }
}

}  // namespace tool
