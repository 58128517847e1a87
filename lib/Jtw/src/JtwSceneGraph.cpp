#include "JtwSceneGraph.h"

namespace jtw {

bool cutChild(JtNode* parent, JtNode* child) {
  if (auto* group = jt::as<JtGroup>(parent)) return group->removeChild(child);
  auto* instance = jt::as<JtInstance>(parent);
  return instance && instance->child(0) == child && instance->setChild(nullptr);
}

void moveChildren(JtGroup& from, JtGroup& to) {
  std::vector<jt::Ref<JtNode>> children;
  children.reserve(static_cast<std::size_t>(from.numChildren()));
  for (int index = 0; index < from.numChildren(); ++index) children.emplace_back(from.child(index));
  for (int index = from.numChildren() - 1; index >= 0; --index) from.removeChild(index);
  for (const auto& child : children) to.addChild(child.get());
}

JtNode* childBehindInstance(const JtNode& node, int index) {
  JtNode* child = node.child(index);
  return jt::as<JtInstance>(child) ? child->child(0) : child;
}

}  // namespace jtw
