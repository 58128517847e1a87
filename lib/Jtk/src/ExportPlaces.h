#pragma once

#include <cstdint>
#include <unordered_map>

#include "JtkHierarchy.h"

namespace jtk {

/// How often the nodes of a hierarchy occur in it.
class ExportPlaces {
 public:
  explicit ExportPlaces(JtkHierarchy& root);

  /// Paths from the root to a node of the hierarchy, the largest value where there are more.
  std::uint64_t pathsTo(const JtkHierarchy& node) const { return paths_.at(&node); }
  /// True for a node with several parents, or with one that has it several times.
  bool isShared(const JtkHierarchy& node) const;
  /// Part nodes, and the places of all of them.
  std::uint64_t parts() const noexcept { return parts_; }
  std::uint64_t instances() const noexcept { return instances_; }

 private:
  std::unordered_map<const JtkHierarchy*, std::uint64_t> paths_;
  std::unordered_map<const JtkHierarchy*, int> parents_;
  std::uint64_t parts_ = 0;
  std::uint64_t instances_ = 0;
};

}  // namespace jtk
