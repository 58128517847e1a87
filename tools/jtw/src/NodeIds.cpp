#include "NodeIds.h"

#include <algorithm>
#include <unordered_set>

namespace tool {

int NodeIds::childCount(const JtNode& node) const {
  const auto* partition = jt::as<JtPartition>(&node);
  return !withParts_ && partition && partition->externalPartition() ? 0 : node.numChildren();
}

NodeIds::NodeIds(JtPartition& partition, bool withParts) : withParts_(withParts) {
  std::vector<JtNode*> pending{&partition};
  ids_.emplace(&partition, 0);
  std::int64_t greatest = 0;
  while (!pending.empty()) {
    JtNode* node = pending.back();
    pending.pop_back();
    nodes_.push_back(node);
    greatest = std::max<std::int64_t>(greatest, node->objectId());
    for (int i = childCount(*node) - 1; i >= 0; --i)
      if (ids_.emplace(node->child(i), 0).second) pending.push_back(node->child(i));
  }
  std::unordered_set<std::int64_t> taken;
  taken.reserve(nodes_.size());
  for (const JtNode* node : nodes_) {
    std::int64_t id = node->objectId();
    if (id == 0 || !taken.insert(id).second) id = ++greatest;
    ids_[node] = id;
  }
}

}  // namespace tool
