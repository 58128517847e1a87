#pragma once

#include <string>

#include "JtNode.h"

namespace jt {

/// Names from the root down, by first parents: "/Hall/Cell/Bolt". What represents or holds a file
/// has no step of its own; a node without name is called by its element.
std::string pathOf(const JtNode& node);

}  // namespace jt
