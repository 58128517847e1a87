#pragma once

#include <vector>

#include "JtNode.h"
#include "MeshScene.h"

namespace mesh {

/// Adds the properties of a JT node that are texts or numbers, without its name and unit, and what
/// its metadata segment holds. A key that is there already stays as it is.
void readProperties(JtNode& node, std::vector<Property>& properties);

}  // namespace mesh
