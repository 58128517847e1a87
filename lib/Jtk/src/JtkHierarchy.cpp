#include "JtkHierarchy.h"

#include <algorithm>
#include <unordered_set>
#include <utility>

#include "JtkXTEntityFactory.h"

JtkHierarchy::~JtkHierarchy() = default;

void JtkHierarchy::Dismantler::add(jt::Ref<JtkHierarchy> node) noexcept {
  if (!node || node->refCount() != 1) return;
  node->next_ = first_;
  first_ = node.release();
}

JtkHierarchy::Dismantler::~Dismantler() {
  while (first_) {
    const auto node = jt::Ref<JtkHierarchy>::adopt(first_);
    first_ = node->next_;
    node->releaseChildNodes(*this);
  }
}

std::vector<JtkHierarchy*> JtkHierarchy::nodesBelow() const {
  std::vector<JtkHierarchy*> below;
  for (int i = 0; JtkHierarchy* node = nodeBelow(i); ++i) below.push_back(node);
  return below;
}

void JtkHierarchy::visitDistinct(void (*act)(JtkHierarchy& node) noexcept) noexcept {
  JtkHierarchy* last = next_ = this;
  for (JtkHierarchy* node = this;; node = node->next_) {
    act(*node);
    for (int i = 0; JtkHierarchy* below = node->nodeBelow(i); ++i)
      if (!below->next_) {
        last->next_ = below;
        last = below->next_ = below;
      }
    if (node == last) break;
  }
  JtkHierarchy* node = this;
  while (node != last) node = std::exchange(node->next_, nullptr);
  last->next_ = nullptr;
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

bool jtk::isWithin(const JtkHierarchy* node, JtkHierarchy& top) {
  return std::ranges::count(distinctNodes(top), node) > 0;
}
