#include "ExportPlaces.h"

#include <algorithm>
#include <unordered_set>
#include <vector>

#include "JtSaturating.h"

namespace jtk {
namespace {

/// A node and all below it, each once, and each before those below it.
std::vector<JtkHierarchy*> topDown(JtkHierarchy& root) {
  struct Step {
    JtkHierarchy* node;
    bool isDone;
  };
  std::vector<Step> open{{&root, false}};
  std::vector<JtkHierarchy*> order;
  std::unordered_set<const JtkHierarchy*> seen;
  while (!open.empty()) {
    const Step step = open.back();
    open.pop_back();
    if (step.isDone) {
      order.push_back(step.node);
      continue;
    }
    if (!seen.insert(step.node).second) continue;
    open.push_back({step.node, true});
    for (JtkHierarchy* below : step.node->nodesBelow()) open.push_back({below, false});
  }
  std::ranges::reverse(order);
  return order;
}

}  // namespace

ExportPlaces::ExportPlaces(JtkHierarchy& root) {
  paths_[&root] = 1;
  for (const JtkHierarchy* node : topDown(root)) {
    for (const JtkHierarchy* below : node->nodesBelow()) {
      std::uint64_t& paths = paths_[below];
      paths = jt::saturatingSum(paths, paths_[node]);
      ++parents_[below];
    }
    if (!node->isOfType(JtkEntity::PART)) continue;
    ++parts_;
    instances_ = jt::saturatingSum(instances_, paths_[node]);
  }
}

bool ExportPlaces::isShared(const JtkHierarchy& node) const {
  const auto parents = parents_.find(&node);
  return parents != parents_.end() && parents->second > 1;
}

}  // namespace jtk
