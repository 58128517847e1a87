#pragma once

#include "JtkStrokeFont.h"

namespace jtk {

JtkStrokeFont makeBuiltInFont();
/// What is drawn for a character that no font has: a box.
const JtkStrokeFont::Glyph& unknownGlyph();

}  // namespace jtk
