#include "JtkAssembly.h"

#include <algorithm>
#include <utility>

#include "JtkInstance.h"

namespace {

/// True when `wanted` is `top` or is below it.
bool isWithin(const JtkHierarchy* wanted, JtkHierarchy& top) {
  return std::ranges::count(jtk::distinctNodes(top), wanted) > 0;
}

}  // namespace

JtkAssembly::~JtkAssembly() {
  Dismantler below;
  JtkAssembly::releaseChildNodes(below);
}

int JtkAssembly::addChild(JtkHierarchy* node) {
  if (!node || isWithin(this, *node)) return 0;
  nodes_.emplace_back(node);
  return 1;
}

JtkHierarchy* JtkAssembly::childNode(int index) const noexcept {
  if (index < 0 || index >= numChildNodes()) return nullptr;
  return nodes_[static_cast<std::size_t>(index)].get();
}

JtkHierarchy* JtkAssembly::nodeBelow(int index) const noexcept { return childNode(index); }

void JtkAssembly::releaseChildNodes(Dismantler& out) noexcept {
  for (auto& node : nodes_) out.add(std::move(node));
  nodes_.clear();
}

JtkInstance::~JtkInstance() {
  Dismantler below;
  JtkInstance::releaseChildNodes(below);
}

int JtkInstance::setChild(JtkHierarchy* node) {
  if (node && isWithin(this, *node)) return 0;
  child_ = jt::Ref<JtkHierarchy>(node);
  return 1;
}

JtkHierarchy* JtkInstance::nodeBelow(int index) const noexcept {
  return index == 0 ? child_.get() : nullptr;
}

void JtkInstance::releaseChildNodes(Dismantler& out) noexcept { out.add(std::move(child_)); }
