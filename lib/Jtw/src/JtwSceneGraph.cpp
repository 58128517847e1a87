#include "JtwSceneGraph.h"

namespace jtw {

bool isAtOrAbove(const JtNode* above, const JtNode* node) {
  if (above == node) return true;
  if (!above || above->numChildren() == 0) return false;
  std::unordered_set<const JtNode*> seen;
  std::vector<const JtNode*> pending{node};
  while (!pending.empty()) {
    const JtNode* at = pending.back();
    pending.pop_back();
    if (at == above) return true;
    if (!at || !seen.insert(at).second) continue;
    for (int i = 0; i < at->numParents(); ++i) pending.push_back(at->parent(i));
  }
  return false;
}

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
