#pragma once

#include <string>
#include <vector>

#include "JtAssembly.h"

namespace tool {

/// A copy of an assembly, as the command line asks for it.
struct CopyNames {
  std::string input;   ///< path of the assembly's file
  std::string output;  ///< FILE that is written; "-" is standard output
  /// The part files are written anew, as in another version, and not taken over.
  bool changesParts = false;
};

/// Writes a graph to `names.output`, and first the part files at the same places relative to it as
/// to `names.input`. Where that would replace files of the assembly itself they go into a folder
/// named after the output, and the graph refers to them there; parts that would not change and lie
/// in the right place already are left alone. After a failure no new file is left. Throws Failure.
/// @param graph the assembly, or a clone of it
/// @param parts the files that the assembly refers to; none: the graph alone is written
/// @return the report of the graph, with those of the part files in `alsoSaved`
jt::SaveReport saveCopy(JtPartition& graph, JtPartition& assembly,
                        const std::vector<jt::PartFile>& parts, const CopyNames& names,
                        const jt::SaveOptions& options);

}  // namespace tool
