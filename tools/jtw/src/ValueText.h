#pragma once

#include <string>
#include <string_view>

#include "ApiGraColor.h"
#include "RTTran3D.h"

namespace tool {

// Values as the command line has them. `name` is what messages call the value. All throw Failure
// "usage".

/// "true" or "false".
bool parseTruth(const std::string& name, const std::string& text);
/// "#rrggbb", "#rrggbbaa", or three or four numbers from 0 to 1 with commas between them.
ApiGraColor parseColor(const std::string& name, const std::string& text);
/// The greatest number in a location that JT files can keep in every unit of length: they have
/// single precision.
inline constexpr double kGreatestCoordinate = 1e30;
/// Whether every number of a location is one that JT files can keep.
bool isStorable(const RTTran3D& location);
/// Three numbers (a place in millimetres), six (and degrees about x, y, z), or the 16 of a matrix
/// for column vectors, row by row, that can be inverted.
RTTran3D parseLocation(const std::string& name, const std::string& text);
/// Millimetres in one of the unit with that name.
float parseUnit(const std::string& name, const std::string& text);
/// The text, if it is UTF-8.
const std::string& parseText(const std::string& name, const std::string& text);

}  // namespace tool
