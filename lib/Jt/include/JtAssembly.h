#pragma once

// Assemblies of several files: partitions that represent part files.

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "JtExport.h"
#include "JtPartition.h"

namespace jt {

/// A file that an assembly refers to.
struct PartFile {
  enum class State : std::uint8_t {
    read,
    missing,
    damaged,  ///< there, and cannot be opened
    outside   ///< not looked at: it lies, or a link leads, out of the folder of the file that names
              ///< it
  };
  std::string file;  ///< path; as the reference has it when no path comes of that
  State state = State::read;
  std::string error;                  ///< why it is not open; empty for `read`
  JtPartition* partition = nullptr;   ///< the opened file, owned by the assembly; null for others
  std::vector<JtPartition*> holders;  ///< the partition nodes that name it, owned by the assembly
};

/// "read", "missing", "damaged" or "outside".
JT_API const char* stateName(PartFile::State state) noexcept;

/// The files that `top` refers to, directly and through others, each once, in the order in which
/// they are met. Only what JtPartition::openAllPartitions was called for is known.
JT_API std::vector<PartFile> partFilesOf(const JtPartition& top);

/// In how many places of an assembly its nodes are shown: how many paths lead from its root down to
/// a node. Remembers what it has counted, so that asking for every node takes one walk over the
/// graph; the graph must not change meanwhile.
class JT_API PlaceCounts {
 public:
  /// @param root must outlive the object
  explicit PlaceCounts(const JtNode& root) : places_{{&root, 1}} {}
  /// 0 when no path leads to the node; the greatest number when there are more than fit.
  std::uint64_t of(const JtNode& node);

 private:
  std::unordered_map<const JtNode*, std::uint64_t> places_;
};

}  // namespace jt
