#pragma once

#include "JtNode.h"
#include "JtkExport.h"

namespace jtk {

/// Converts a scene graph to millimetres, in place: transforms, geometry and PMI of every node that
/// names another unit or is below one that does. Afterwards these nodes name the millimetre.
/// Throws JtFormatError where PMI cannot be changed.
JTK_API void convertToMillimeters(JtNode& top);

}  // namespace jtk
