#pragma once

#include "JtXform.h"
#include "JtkPart.h"

// Precise geometry of the nodes of a part.

namespace jtk {

/// True for a node that names precise geometry.
bool hasBreps(const JtNode& node);
/// Removes what names precise geometry.
void removeBreps(JtNode& node);
/// Adds the precise geometry of a node to a part.
/// @param toPart transform from the node to the part, in the unit of the node
/// @param scale millimetres per unit of the node
/// @param isHidden whether the node is not shown
void addBreps(JtkPart& part, const JtNode& node, const jt::Matrix4& toPart, double scale,
              bool isHidden);
/// Adds the segments in which XT geometry of the part names bodies. Other nodes of the file may
/// name them.
void addBodyPools(JtkPart& part);

}  // namespace jtk
