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

JtkAssembly::~JtkAssembly() { dismantle(std::move(nodes_)); }

int JtkAssembly::addChild(JtkHierarchy* node) {
  if (!node || isWithin(this, *node)) return 0;
  nodes_.emplace_back(node);
  return 1;
}

JtkHierarchy* JtkAssembly::childNode(int index) const noexcept {
  if (index < 0 || index >= numChildNodes()) return nullptr;
  return nodes_[static_cast<std::size_t>(index)].get();
}

std::vector<JtkHierarchy*> JtkAssembly::nodesBelow() const {
  std::vector<JtkHierarchy*> below;
  below.reserve(nodes_.size());
  for (const auto& node : nodes_) below.push_back(node.get());
  return below;
}

void JtkAssembly::releaseChildNodes(std::vector<jt::Ref<JtkHierarchy>>& out) noexcept {
  for (auto& node : nodes_) out.push_back(std::move(node));
  nodes_.clear();
}

JtkInstance::~JtkInstance() {
  std::vector<jt::Ref<JtkHierarchy>> nodes;
  JtkInstance::releaseChildNodes(nodes);
  dismantle(std::move(nodes));
}

int JtkInstance::setChild(JtkHierarchy* node) {
  if (node && isWithin(this, *node)) return 0;
  child_ = jt::Ref<JtkHierarchy>(node);
  return 1;
}

std::vector<JtkHierarchy*> JtkInstance::nodesBelow() const {
  if (!child_) return {};
  return {child_.get()};
}

void JtkInstance::releaseChildNodes(std::vector<jt::Ref<JtkHierarchy>>& out) noexcept {
  if (child_) out.push_back(std::move(child_));
}
