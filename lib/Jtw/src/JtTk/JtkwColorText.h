#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "ApiGraColor.h"

namespace jtw {

/// A material with this diffuse colour as 17 numbers, "%f" each and separated by commas: ambient,
/// diffuse, specular and emission colour, each red, green, blue and alpha in 0..1, and shininess.
/// All but the diffuse colour are fixed. The decimal sign is a point in every locale.
std::string multiCadColorText(const ApiGraColor& diffuse);

/// The diffuse colour, the fifth to eighth number of such a text; nothing when one of them is
/// missing or is no number. What follows them is not looked at.
std::optional<ApiGraColor> colorOfMultiCadText(std::string_view text);

/// A colour as attributes of PMI entities have it: "%#010x" of red + 256 * green + 65536 * blue.
std::string pmiColorText(const ApiGraColor& color);

/// The colour of such a text: a hexadecimal number, with or without "0x". Nothing for other texts.
std::optional<ApiGraColor> colorOfPmiText(std::string_view text);

}  // namespace jtw
