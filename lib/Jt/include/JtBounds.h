#pragma once

#include <array>
#include <optional>

#include "JtExport.h"
#include "JtNode.h"
#include "JtShape.h"

namespace jt {

/// The corners of a box: bit 0 of the index chooses the greater x, bit 1 y, bit 2 z.
JT_API std::array<std::array<double, 3>, 8> corners(const Box& box);

/// The box around two boxes; one that is not valid adds nothing.
JT_API Box unite(const Box& a, const Box& b);

/// The extent that the boxes of the shapes below a node and the transforms between give, in the
/// coordinates inside the node: its own transform does not count, that of a shape's does. Nothing
/// when there is no shape with a box. Of a partition that represents another file the stored extent
/// counts. Nothing is decoded.
JT_API std::optional<Box> contentBounds(const JtNode& node);

}  // namespace jt
