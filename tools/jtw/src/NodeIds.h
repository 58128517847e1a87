#pragma once

#include <cstdint>
#include <unordered_map>
#include <vector>

#include "JtPartition.h"

namespace tool {

/// The nodes of a scene graph, each once, and a number for each: its object id, or a running number
/// above all ids for a node without one of its own.
class NodeIds {
 public:
  explicit NodeIds(JtPartition& partition);

  /// The partition first, parents before what only they hold.
  const std::vector<JtNode*>& nodes() const noexcept { return nodes_; }
  std::int64_t of(const JtNode* node) const { return ids_.at(node); }

 private:
  std::vector<JtNode*> nodes_;
  std::unordered_map<const JtNode*, std::int64_t> ids_;
};

}  // namespace tool
