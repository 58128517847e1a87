#pragma once

// What a save leaves out, by the objects that it belongs to.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "JtExport.h"
#include "JtPartition.h"
#include "JtSave.h"

namespace jt {

/// A node that loses something.
struct LosingNode {
  std::int32_t nodeId = 0;          ///< in its file; 0: none
  std::optional<std::int32_t> key;  ///< see lossesOf()
  std::string name;                 ///< may be empty
  std::string path;                 ///< from the root down: "/Hall/Cell/Bolt", as NodePaths has it
};

/// A segment that a save leaves out.
struct Loss {
  JtGuid segment;
  std::int32_t type = 0;
  std::string reason;
  std::vector<LosingNode> nodes;  ///< that name the segment; empty for one that no node names
};

/// What a save, or a dry run, leaves out of a file and of its part files.
/// Geometry that was encoded anew is none.
/// @param top what was saved, with its part files open
/// @param keyProperty key of the property that holds the keys of a host's objects; null: none
JT_API std::vector<Loss> lossesOf(const JtPartition& top, const SaveReport& report,
                                  const char* keyProperty = nullptr);

}  // namespace jt
