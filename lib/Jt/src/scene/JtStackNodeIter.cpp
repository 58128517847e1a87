#include "JtStackNodeIter.h"

#include <algorithm>

#include "JtGroup.h"
#include "base/Prefetch.h"

namespace {

JtNode* childAt(const JtNode& node, int index) {
  return index < node.numChildren() ? node.child(index) : nullptr;
}

}  // namespace

bool JtStackNodeIter::run(JtNode* start) {
  stack_.clear();
  if (!start) return true;
  const auto enter = [&](JtNode* node) {
    stack_.push_back({jt::Ref<JtNode>(node)});
    const Next next = pre_ ? pre_(node) : Next::descend;
    stack_.back().skip = next == Next::skipChildren;
    return next != Next::stop;
  };
  if (!enter(start)) return false;
  while (!stack_.empty()) {
    Level& level = stack_.back();
    if (JtNode* const child = level.skip ? nullptr : findNext(level)) {
      level.visited = child;
      level.following = childAt(*level.node, ++level.nextChild);
      jt::prefetch(level.following, sizeof(JtGroup));
      if (!enter(child)) return false;
      continue;
    }
    if (post_ && !post_(level.node.get())) return false;
    stack_.pop_back();
  }
  return true;
}

/// The child at `nextChild`, null behind the last one. Sets `nextChild` again when children were
/// added or removed while one was visited.
JtNode* JtStackNodeIter::findNext(Level& level) {
  JtNode* const next = childAt(*level.node, level.nextChild);
  if (level.nextChild == 0 || next == level.following) return next;
  const int count = level.node->numChildren();
  const auto find = [&](const JtNode* child) {
    int index = 0;
    while (index < count && level.node->child(index) != child) ++index;
    return index;
  };
  const int visited = find(level.visited);
  if (visited < count) {
    level.nextChild = visited + 1;
  } else {
    const int following = level.following ? find(level.following) : count;
    level.nextChild = following < count ? following : std::min(level.nextChild - 1, count);
  }
  return childAt(*level.node, level.nextChild);
}

JtNode* JtStackNodeIter::pathParent() const {
  return stack_.size() < 2 ? nullptr : stack_[stack_.size() - 2].node.get();
}
