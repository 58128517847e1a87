#pragma once

// Which child of one node is held against which child of another.

#include <vector>

#include "inspect/compare/NodeFacts.h"

namespace jt::compare_detail {

struct ChildMatch {
  struct Pair {
    int a = 0;
    int b = 0;
    bool moved = false;  ///< is elsewhere among the matched children
  };
  std::vector<Pair> pairs;  ///< by ascending `a`
  std::vector<int> onlyA;
  std::vector<int> onlyB;
};

/// Matches by identity key, by content, by name and type, by name, and what is left by type and
/// place. One child that was added, removed, moved or changed leaves the others matched.
ChildMatch matchChildren(const JtNode& a, const GraphFacts& factsA, const JtNode& b,
                         const GraphFacts& factsB);

}  // namespace jt::compare_detail
