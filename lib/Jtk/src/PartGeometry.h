#pragma once

#include "JtNode.h"
#include "JtkPart.h"

namespace jtk {

/// Adds copies of the shapes below a node to a part: at level of detail i what is below child i of
/// an LOD node. Transforms and materials between the node and a shape go to the copy.
/// @param scale millimetres per unit of the node
/// @param isExact whether the precise geometry of the node and of those below it is added too
void addGeometry(JtkPart& part, JtNode& node, double scale, bool isExact);

}  // namespace jtk
