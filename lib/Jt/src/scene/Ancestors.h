#pragma once

#include "JtNode.h"

namespace jt::scene {

/// True when `parent` may take `child`, which may be null: neither carried unread nor, with that
/// child, above itself.
bool mayTakeChild(const JtNode& parent, const JtNode* child);

}  // namespace jt::scene
