#pragma once

#include <optional>

#include "JtShape.h"
#include "JtXform.h"

// Units of length of the nodes of a scene graph.

namespace jtk {

/// Millimetres per unit that the node itself names; nothing when it names none.
std::optional<double> ownScale(const JtNode& node);
/// The scale that a node takes from what is above it; 1 without any.
double inheritedScale(const JtNode& node);

/// The transform with its translation in millimetres.
jt::Matrix4 scaledTransform(const jt::Matrix4& matrix, double scale);
/// Puts scaled copies in the place of the node's transforms.
void scaleTransforms(JtNode& node, double scale);
/// Converts a shape: its mesh, or where it has none of its own what it is drawn with.
void scaleShape(JtShape& shape, double scale);

}  // namespace jtk
