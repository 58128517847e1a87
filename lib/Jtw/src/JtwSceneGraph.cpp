#include "JtwSceneGraph.h"

namespace jtw {

bool cutChild(JtNode* parent, JtNode* child) {
  if (auto* group = jt::as<JtGroup>(parent)) return group->removeChild(child);
  auto* instance = jt::as<JtInstance>(parent);
  return instance && instance->child(0) == child && instance->setChild(nullptr);
}

JtNode* childBehindInstance(const JtNode& node, int index) {
  JtNode* child = node.child(index);
  return jt::as<JtInstance>(child) ? child->child(0) : child;
}

}  // namespace jtw
