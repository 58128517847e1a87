#pragma once

#include <unordered_set>

#include "JtNode.h"

namespace jt::scene {

/// A node and everything above it.
std::unordered_set<const JtNode*> ancestorsOf(const JtNode& node);

/// True when `parent` may take `child`, which may be null: neither carried unread nor, with that
/// child, above itself.
bool mayTakeChild(const JtNode& parent, const JtNode* child);

}  // namespace jt::scene
