#include "DmKrUtilsComputeHierarchyComplexity.h"

#include <unordered_map>
#include <vector>

#include "JtSaturating.h"

namespace dmkr {
namespace {

struct Level {
  const JtNode* node;
  int nextChild;
  std::uint64_t count;  // the node itself and what was counted below it so far
};

std::uint64_t countPaths(const JtNode* top) {
  std::unordered_map<const JtNode*, std::uint64_t> counts;
  std::vector<Level> stack{{top, 0, 1}};
  while (true) {
    Level& level = stack.back();
    if (level.nextChild < level.node->numChildren()) {
      const JtNode* child = level.node->child(level.nextChild++);
      if (!child) continue;
      if (const auto known = counts.find(child); known != counts.end())
        level.count = jt::saturatingSum(level.count, known->second);
      else
        stack.push_back({child, 0, 1});
      continue;
    }
    const std::uint64_t count = level.count;
    counts.emplace(level.node, count);
    stack.pop_back();
    if (stack.empty()) return count;
    stack.back().count = jt::saturatingSum(stack.back().count, count);
  }
}

}  // namespace
}  // namespace dmkr

DmKrUtilsComputeHierarchyComplexity::DmKrUtilsComputeHierarchyComplexity(const JtNode* top,
                                                                         std::uint64_t limit)
    : complexity_(top ? dmkr::countPaths(top) : 0), limit_(limit) {}
