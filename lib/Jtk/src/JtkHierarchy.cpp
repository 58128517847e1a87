#include "JtkHierarchy.h"

#include <algorithm>
#include <unordered_set>
#include <utility>

#include "JtkXTEntityFactory.h"

JtkHierarchy::~JtkHierarchy() = default;

void JtkHierarchy::dismantle(std::vector<jt::Ref<JtkHierarchy>> nodes) noexcept {
  while (!nodes.empty()) {
    const jt::Ref<JtkHierarchy> node = std::move(nodes.back());
    nodes.pop_back();
    if (node && node->refCount() == 1) node->releaseChildNodes(nodes);
  }
}

int JtkHierarchy::addProperty(JtkProperty* property) {
  if (!property) return 0;
  const auto same = std::ranges::find_if(
      properties_, [&](const auto& other) { return other->key() == property->key(); });
  if (same == properties_.end())
    properties_.emplace_back(property);
  else
    *same = jt::Ref<JtkProperty>(property);
  return 1;
}

JtkProperty* JtkHierarchy::property(int index) const noexcept {
  if (index < 0 || index >= numProperties()) return nullptr;
  return properties_[static_cast<std::size_t>(index)].get();
}

JtkProperty* JtkHierarchy::property(const JtString& key) const noexcept {
  const auto found = std::ranges::find_if(
      properties_, [&](const auto& property) { return property->key() == key; });
  return found == properties_.end() ? nullptr : found->get();
}

int JtkHierarchy::removeProperty(const JtkProperty* property) {
  return std::erase_if(properties_, [&](const auto& own) { return own == property; }) > 0 ? 1 : 0;
}

int JtkHierarchy::addAttribute(JtkAttribute* attribute) {
  if (!attribute) return 0;
  attributes_.emplace_back(attribute);
  return 1;
}

int JtkHierarchy::numAttributes(TypeID type) const noexcept {
  return static_cast<int>(std::ranges::count_if(
      attributes_, [&](const auto& attribute) { return attribute->isOfType(type); }));
}

JtkAttribute* JtkHierarchy::attribute(TypeID type, int index) const noexcept {
  for (const auto& attribute : attributes_)
    if (attribute->isOfType(type) && index-- == 0) return attribute.get();
  return nullptr;
}

int JtkHierarchy::removeAttribute(const JtkAttribute* attribute) {
  const auto found =
      std::ranges::find_if(attributes_, [&](const auto& own) { return own == attribute; });
  if (found == attributes_.end()) return 0;
  attributes_.erase(found);
  return 1;
}

int JtkHierarchy::setUnits(int code) {
  if (code != jtk::NO_UNIT && jtk::unitOfCode(code) == JtPartUtil::unknown) return 0;
  units_ = code;
  return 1;
}

std::vector<JtkHierarchy*> jtk::distinctNodes(JtkHierarchy& top) {
  std::vector<JtkHierarchy*> nodes{&top};
  std::unordered_set<const JtkHierarchy*> seen{&top};
  for (std::size_t i = 0; i < nodes.size(); ++i)
    for (JtkHierarchy* below : nodes[i]->nodesBelow())
      if (seen.insert(below).second) nodes.push_back(below);
  return nodes;
}
