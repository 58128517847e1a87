#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "ApiGraColor.h"

namespace jtw {

/// A material with this diffuse color as 17 numbers, "%f" each and separated by commas: ambient,
/// diffuse, specular and emission color, each red, green, blue and alpha in 0..1, and shininess.
/// All but the diffuse color are fixed. The decimal sign is a point in every locale.
std::string multiCadColorText(const ApiGraColor& diffuse);

/// The diffuse color, the fifth to eighth number of such a text; nothing when one of them is
/// missing or is no number. What follows them is not looked at.
std::optional<ApiGraColor> colorOfMultiCadText(std::string_view text);

/// A color as attributes of PMI entities have it: "%#010x" of red + 256 * green + 65536 * blue.
std::string pmiColorText(const ApiGraColor& color);

/// The color of such a text: a hexadecimal number, with or without "0x". Nothing for other texts.
std::optional<ApiGraColor> colorOfPmiText(std::string_view text);

}  // namespace jtw
