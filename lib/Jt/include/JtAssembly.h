#pragma once

// Assemblies of several files: partitions that represent part files.

#include <cstddef>
#include <cstdint>
#include <string>
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

/// How many paths lead from `root` down to `node`: in how many places of the assembly it is shown.
/// 0 when there is none; the greatest number when there are more than fit.
JT_API std::uint64_t placesOf(const JtNode& node, const JtNode& root);

}  // namespace jt
