#include "JtkAssembly.h"

#include <utility>

JtkAssembly::~JtkAssembly() {
  Dismantler below;
  JtkAssembly::releaseChildNodes(below);
}

int JtkAssembly::addChild(JtkHierarchy* node) {
  if (!node || jtk::isWithin(this, *node)) return 0;
  nodes_.emplace_back(node);
  return 1;
}

JtkHierarchy* JtkAssembly::nodeBelow(int index) const noexcept {
  if (index < 0 || index >= numChildNodes()) return nullptr;
  return nodes_[static_cast<std::size_t>(index)].get();
}

void JtkAssembly::releaseChildNodes(Dismantler& out) noexcept {
  for (auto& node : nodes_) out.add(std::move(node));
  nodes_.clear();
}
