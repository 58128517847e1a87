#include "JtkAssembly.h"

#include <unordered_set>
#include <utility>

#include "JtkInstance.h"

namespace {

/// True when `wanted` is `top` or is below it.
bool isWithin(const JtkHierarchy* wanted, const JtkHierarchy* top) {
  std::vector<const JtkHierarchy*> open{top};
  std::unordered_set<const JtkHierarchy*> seen;
  while (!open.empty()) {
    const JtkHierarchy* node = open.back();
    open.pop_back();
    if (node == wanted) return true;
    if (!node || node->isOfType(JtkEntity::PART) || !seen.insert(node).second) continue;
    if (node->isOfType(JtkEntity::INSTANCE)) {
      open.push_back(static_cast<const JtkInstance*>(node)->child());
      continue;
    }
    const auto* assembly = static_cast<const JtkAssembly*>(node);
    for (int i = 0; i < assembly->numChildNodes(); ++i) open.push_back(assembly->childNode(i));
  }
  return false;
}

}  // namespace

JtkAssembly::~JtkAssembly() { dismantle(std::move(nodes_)); }

int JtkAssembly::addChild(JtkHierarchy* node) {
  if (!node || isWithin(this, node)) return 0;
  nodes_.emplace_back(node);
  return 1;
}

JtkHierarchy* JtkAssembly::childNode(int index) const noexcept {
  if (index < 0 || index >= numChildNodes()) return nullptr;
  return nodes_[static_cast<std::size_t>(index)].get();
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
  if (node && isWithin(this, node)) return 0;
  child_ = jt::Ref<JtkHierarchy>(node);
  return 1;
}

void JtkInstance::releaseChildNodes(std::vector<jt::Ref<JtkHierarchy>>& out) noexcept {
  if (child_) out.push_back(std::move(child_));
}
