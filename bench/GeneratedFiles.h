#pragma once

// Files that the benchmarks make for themselves, in a folder of their own that goes with the
// process.

#include <cstdint>
#include <string>

#include "JtPartition.h"

namespace bench {

/// A folder that lives as long as the process.
const std::string& folder();

/// Opens a file by path; throws JtFormatError.
jt::Ref<JtPartition> openFile(const std::string& path, const jt::ReadLimits& limits = {});

/// A location for a path.
jt::Ref<JtStorageLocation> locationOf(const std::string& path);

/// An assembly of `count` nodes, ten below each, in memory: each with a name, a transform and five
/// text properties.
jt::Ref<JtPartition> makeAssembly(std::size_t count, jt::FileVersion version);

/// The same, saved; the path.
const std::string& assemblyFile(std::size_t count);

/// A file with one part and `count` shape segments of `bytesEach` that nothing looks at. With
/// `filled` the segments hold noise, otherwise they are holes in the file.
std::string bulkFile(const std::string& name, std::size_t count, std::size_t bytesEach,
                     bool filled);

/// Peak resident bytes of a process that runs this program again with `--peak WHAT FILE`.
std::uint64_t peakMemory(const std::string& what, const std::string& file);
/// For such a run: prints its own peak to standard output.
void printPeakMemory();

}  // namespace bench
