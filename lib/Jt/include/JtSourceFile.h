#pragma once

#include <vector>

#include "JtPropAtom.h"
#include "JtStorageManager.h"

// The files that scene graphs were read from: which they are, whether they can still be read, and
// what belongs together in them.

namespace jt {

/// The opened file that a node, an attribute or a property value was read from, also for a copy of
/// it; null for one that was made in memory. Not owned.
JT_API const FileImage* fileOf(const JtSceneObject& object) noexcept;

/// What a node needs besides an XT segment that names bodies in MultiXT segments of its file: the
/// values of that file that name those, one each. Empty for geometry of its own and for segments
/// that no value names. Throws JtFormatError when the system cannot read the file.
JT_API std::vector<Ref<JtLateLoadedPropAtom>> bodyPoolsOf(const JtLateLoadedPropAtom& xt);

}  // namespace jt
