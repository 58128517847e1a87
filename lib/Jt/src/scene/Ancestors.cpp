#include "scene/Ancestors.h"

#include <vector>

namespace jt::scene {
namespace {

/// A node and what is above it, until `wanted` is among them.
std::unordered_set<const JtNode*> climb(const JtNode& start, const JtNode* wanted) {
  std::vector<const JtNode*> pending{&start};
  std::unordered_set<const JtNode*> seen{&start};
  while (!pending.empty() && !seen.contains(wanted)) {
    const JtNode* current = pending.back();
    pending.pop_back();
    for (int i = 0; i < current->numParents(); ++i)
      if (seen.insert(current->parent(i)).second) pending.push_back(current->parent(i));
  }
  return seen;
}

}  // namespace

std::unordered_set<const JtNode*> ancestorsOf(const JtNode& node) { return climb(node, nullptr); }

bool mayTakeChild(const JtNode& parent, const JtNode* child) {
  if (!child || parent.isOpaque() || child == &parent) return false;
  // A node without children cannot close a cycle.
  return child->numChildren() == 0 || !climb(parent, child).contains(child);
}

}  // namespace jt::scene
