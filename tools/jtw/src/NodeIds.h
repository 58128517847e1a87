#pragma once

#include <cstdint>
#include <unordered_map>
#include <vector>

#include "JtPartition.h"

namespace tool {

/// The nodes of a scene graph, each once, and a number for each: its object id, or a running number
/// above all ids for a node without one, or with one that another file's node has already.
class NodeIds {
 public:
  /// @param withParts the nodes of opened part files too
  NodeIds(JtPartition& partition, bool withParts);

  /// The partition first, parents before what only they hold.
  const std::vector<JtNode*>& nodes() const noexcept { return nodes_; }
  std::int64_t of(const JtNode* node) const { return ids_.at(node); }
  /// The children that are listed: none of a partition that represents a part file, unless the
  /// nodes of part files are listed too.
  int childCount(const JtNode& node) const;

 private:
  bool withParts_;
  std::vector<JtNode*> nodes_;
  std::unordered_map<const JtNode*, std::int64_t> ids_;
};

}  // namespace tool
