#pragma once

#include "JtwFrameLists.h"

namespace jtw {

/// Stores the frames among the collection's PMI in that form, over whatever is stored; without any
/// PMI the property is removed. @return false when the JT node cannot be changed
/// @pre the collection has a JT node
bool writeFrames(JtwCollection& collection, FrameForm form);

}  // namespace jtw
