#pragma once

#include "JtNode.h"
#include "RTTran3D.h"

namespace jtw {

/// Index of the node's first attribute of type T; -1 when it has none or is null.
template <class T>
int firstAttribute(const JtNode* node) {
  if (!node) return -1;
  for (int i = 0; i < node->numAttributes(); ++i)
    if (jt::as<T>(node->attribute(i))) return i;
  return -1;
}

/// The node's first transform, the translation times `scale`; the identity when it has none.
RTTran3D localTransform(const JtNode* node, double scale = 1.0);
/// Puts a transform in the place of the node's first one, or adds it; in single precision.
void setLocalTransform(JtNode& node, const RTTran3D& local);

}  // namespace jtw
