#pragma once

#include <vector>

#include "file/container/Container.h"
#include "file/shapes/ShapeSegment.h"

namespace jt {

/// What is wrong or unusual about one shape segment: its first element with geometry decodes, and
/// its hashes are right. Never throws for the segment's content. Safe from several threads.
/// @param variants how the file's surfaces are walked
std::vector<Diagnostic> checkShape(const file::Container& container, const file::TocEntry& entry,
                                   codec::VariantChoice& variants);

}  // namespace jt
