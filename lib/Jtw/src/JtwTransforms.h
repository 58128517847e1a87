#pragma once

#include "JtNode.h"
#include "RTTran3D.h"

namespace jtw {

/// The node's first transform, the translation times `scale`; the identity when it has none.
RTTran3D localTransform(const JtNode* node, double scale = 1.0);
/// Puts a transform in the place of the node's first one, or adds it; in single precision.
void setLocalTransform(JtNode& node, const RTTran3D& local);

}  // namespace jtw
