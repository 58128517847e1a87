#include "scene/Ancestors.h"

#include <unordered_set>
#include <vector>

namespace jt::scene {
namespace {

bool isAbove(const JtNode* wanted, const JtNode& start) {
  std::vector<const JtNode*> pending{&start};
  std::unordered_set<const JtNode*> seen{&start};
  while (!pending.empty() && !seen.contains(wanted)) {
    const JtNode* current = pending.back();
    pending.pop_back();
    for (int i = 0; i < current->numParents(); ++i)
      if (seen.insert(current->parent(i)).second) pending.push_back(current->parent(i));
  }
  return seen.contains(wanted);
}

}  // namespace

bool mayTakeChild(const JtNode& parent, const JtNode* child) {
  if (!child || parent.isOpaque() || child == &parent) return false;
  // A node without children cannot close a cycle.
  return child->numChildren() == 0 || !isAbove(child, parent);
}

}  // namespace jt::scene
