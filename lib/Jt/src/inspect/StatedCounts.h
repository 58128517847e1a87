#pragma once

#include <optional>

#include "JtInspect.h"
#include "JtShape.h"

namespace jt {

/// What the node of a shape states of its geometry.
struct StatedCounts {
  ShapeSummary::Counts counts;
  bool isComplete = false;  ///< false: the node does not know
};

StatedCounts statedCounts(const JtShape& shape);

}  // namespace jt
