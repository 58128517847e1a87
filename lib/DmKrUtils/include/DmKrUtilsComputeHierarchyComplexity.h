#pragma once

#include <cstdint>

#include "DmKrUtilsExport.h"
#include "JtNode.h"

/// Counts the nodes that a walk over a scene graph meets, one count a path. Each node is looked at
/// once, so the work grows with the graph and not with its paths, and no depth is too deep.
class DMKR_API DmKrUtilsComputeHierarchyComplexity {
 public:
  /// Counts from `top` (null: nothing) down, `top` included.
  DmKrUtilsComputeHierarchyComplexity(const JtNode* top, std::uint64_t limit);

  /// The count; the greatest number of 64 bits represents that many or more.
  std::uint64_t complexity() const { return complexity_; }
  bool IsComplexityHigherThanLimit() const { return complexity_ > limit_; }

 private:
  std::uint64_t complexity_ = 0;
  std::uint64_t limit_ = 0;
};
