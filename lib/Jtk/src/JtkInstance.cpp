#include "JtkInstance.h"

#include <utility>

JtkInstance::~JtkInstance() {
  Dismantler below;
  JtkInstance::releaseChildNodes(below);
}

int JtkInstance::setChild(JtkHierarchy* node) {
  if (node && jtk::isWithin(this, *node)) return 0;
  child_ = jt::Ref<JtkHierarchy>(node);
  return 1;
}

JtkHierarchy* JtkInstance::nodeBelow(int index) const noexcept {
  return index == 0 ? child_.get() : nullptr;
}

void JtkInstance::releaseChildNodes(Dismantler& out) noexcept { out.add(std::move(child_)); }
