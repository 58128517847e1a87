#pragma once

#include <optional>
#include <span>
#include <string_view>

#include "HostExport.h"
#include "RWClassic.h"

/// The environment variables of the system, all in one place. Read when asked for, never cached
/// here.
class HOST_API ApiEnvironment {
 public:
  /// JT data is looked for in .co and .cor documents too. Set to any value, also the empty one: on.
  static constexpr std::string_view DEBUG_JT_IN_CO = "JTW_DEBUG_JT_IN_CO";

  /// The measurement unit of a node counts as millimetres, whatever it says. Set to any value: on.
  static constexpr std::string_view IGNORE_MEASUREMENT_UNITS =
      "KR_IGNORE_MEASUREMENT_UNITS_PROPERTY";

  /// A variable as a list of them shows it. Both are off when not set.
  struct Variable {
    std::string_view name;
    std::string_view sentence;
  };

  /// The variables that exist.
  static std::span<const Variable> list();

  /// The value of a variable; nothing when it is not set.
  static std::optional<RWClassicCString> get(std::string_view name);

  /// Whether a variable is set, to any value.
  static bool isSet(std::string_view name) { return get(name).has_value(); }
};
