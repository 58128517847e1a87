#pragma once

#include <string>
#include <vector>

#include "Failure.h"
#include "JtAssembly.h"

namespace tool {

class JsonWriter;
class Session;

// Assemblies of several files: a JT file with the part files that it refers to.

/// A JT file, opened with its part files.
struct OpenedAssembly {
  jt::Ref<JtPartition> top;
  std::vector<jt::PartFile> parts;
};

/// Opens a JT file and the part files that it refers to, directly and through others. Part files
/// that cannot be opened are warnings. Throws Failure.
OpenedAssembly openAssembly(Session& session, const std::string& path);

/// The part files that a JT file refers to, closed again: of a large assembly one can be looked at
/// after the other. None for a file that cannot be read.
std::vector<jt::PartFile> listPartFiles(JtStorageLocation& location, const jt::ReadLimits& limits);

/// Writes the member "files" of a result.
void writeFiles(JsonWriter& json, const std::vector<jt::PartFile>& parts);
/// `done`, or `no` when part files could not be read: the answer is about the rest only.
ExitCode exitCodeOf(const std::vector<jt::PartFile>& parts);

}  // namespace tool
