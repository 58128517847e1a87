#pragma once

#include <unordered_set>
#include <utility>
#include <vector>

#include "JtGroup.h"
#include "JtInstance.h"
#include "JtNode.h"
#include "JtPartition.h"
#include "VisMetaDataNode.h"

namespace jtw {

/// Calls `act(JtNode&)` for a node and each node below it, parents first, each node once however
/// many paths lead to it. Null: nothing.
template <class Act>
void forEachBelow(JtNode* start, Act act) {
  std::unordered_set<const JtNode*> shared;
  std::vector<JtNode*> pending;
  if (start) pending.push_back(start);
  while (!pending.empty()) {
    JtNode* node = pending.back();
    pending.pop_back();
    if (node->numParents() > 1 && !shared.insert(node).second) continue;
    act(*node);
    for (int i = node->numChildren(); i-- > 0;)
      if (JtNode* child = node->child(i)) pending.push_back(child);
  }
}

/// Takes a child away from a parent; false when it is none of its children or cannot be removed.
bool cutChild(JtNode* parent, JtNode* child);

/// Moves the children of `from` below `to`, in their order.
void moveChildren(JtGroup& from, JtGroup& to);

/// True for the node of a component: by its class, and by the type that the host gave it.
bool isComponent(JtNode* node);

/// The first child of a partition that is a component; null when there is none.
VisMetaDataNode* componentOf(const JtPartition& partition);

/// The child of that index; an instance is replaced by what it places. May be null.
JtNode* childBehindInstance(const JtNode& node, int index);

}  // namespace jtw
