#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ApiGraColor.h"
#include "JtwExport.h"
#include "RTTran3D.h"

namespace jtw {

// Values as texts, as the command line and scripts have them. `name` is what messages call the
// value. All throw EditError "usage".

/// Finite numbers with commas between them; nothing when the text is anything else.
JTW_API std::optional<std::vector<double>> parseNumbers(std::string_view text);
/// "true" or "false".
JTW_API bool parseTruth(const std::string& name, const std::string& text);
/// "#rrggbb", "#rrggbbaa", three or four numbers from 0 to 1 with commas between them, or the name
/// of a color: the sixteen basic ones of CSS and orange.
JTW_API ApiGraColor parseColor(const std::string& name, const std::string& text);
/// The greatest number in a location that JT files can keep in every unit of length: they have
/// single precision.
inline constexpr double kGreatestCoordinate = 1e30;
/// Whether every number of a location is one that JT files can keep.
JTW_API bool isStorable(const RTTran3D& location);
/// Three numbers (a place in millimetres), six (and degrees about x, y, z), or the 16 of a matrix
/// for column vectors, row by row, that can be inverted.
JTW_API RTTran3D parseLocation(const std::string& name, const std::string& text);
/// The host's ratio of the unit with that name: "mm", or "Millimeters" in any case of letters. It
/// is millimetres in one of it, but for micrometers, see parseLengthUnit().
JTW_API float parseUnit(const std::string& name, const std::string& text);
/// A unit of length with its true size.
struct NamedLength {
  const char* name = "";   ///< as files have it: "Millimeters"
  double millimetres = 1;  ///< in one of it; the host's ratio of micrometers is another one
};
/// The unit with that name, as parseUnit() takes it.
JTW_API NamedLength parseLengthUnit(const std::string& name, const std::string& text);

/// The text, if it is UTF-8.
JTW_API const std::string& parseText(const std::string& name, const std::string& text);

}  // namespace jtw
