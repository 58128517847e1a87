#pragma once

#include "JtwExport.h"

class JtPartition;
class JtwRoot;

namespace jtw {

/// True when JT data carries the mark of native JT: this system did not write it, and it became a
/// component when it was opened.
JTW_API bool isMarkedNative(const JtPartition& partition);

/// True when a partition has a child that opening takes for the component.
JTW_API bool holdsComponent(const JtPartition& partition);

/// Completes a component that the caller made and filled, before it is written for the first time:
/// removes the mark of native JT, which a root puts on all data without a component, converts the
/// materials as a material update does and marks them as updated, so that no update finds anything
/// to do. False when the root has no component or memory ran out.
JTW_API bool completeNewComponent(JtwRoot& root);

}  // namespace jtw
