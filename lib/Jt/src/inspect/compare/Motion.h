#pragma once

#include <optional>

#include "JtCompare.h"
#include "JtXform.h"

namespace jt::compare_detail {

/// The motion that leads from one placement to another; nothing when it is not rigid.
/// @param millimetres in the unit of length of both
std::optional<PlacementChange> motionBetween(const Matrix4& from, const Matrix4& to,
                                             double millimetres);

}  // namespace jt::compare_detail
