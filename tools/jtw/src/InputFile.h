#pragma once

#include <string>

#include "JtPartition.h"
#include "JtRefCounted.h"
#include "JtStorageLocation.h"

namespace tool {

class Session;

/// Where a FILE lies that is read; "-" is standard input.
jt::Ref<JtStorageLocation> inputLocation(const std::string& path);
/// Where a FILE goes that is written; "-" is standard output.
jt::Ref<JtStorageLocation> outputLocation(const std::string& path);
/// The options --max-segment and --max-document.
jt::ReadLimits readLimits(const Session& session);

/// Opens a JT file: header, table of contents, scene graph. What was noticed while reading goes to
/// standard error. Throws Failure.
jt::Ref<JtPartition> openFile(Session& session, const std::string& path);

}  // namespace tool
