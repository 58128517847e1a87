#pragma once

#include <string>

#include "JtPartition.h"

namespace tool {

class Session;

/// Stores validation properties with the parts of an opened assembly, for --check. Warns when there
/// is no part with triangles. Throws Failure for geometry that cannot be decoded.
/// @param file what it was opened from, for messages
void storeValidations(Session& session, JtPartition& top, const std::string& file);

}  // namespace tool
