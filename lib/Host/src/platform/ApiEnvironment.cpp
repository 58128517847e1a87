#include "ApiEnvironment.h"

#include <array>
#include <cstdlib>

namespace {

constexpr std::array<ApiEnvironment::Variable, 2> kVariables{{
    {ApiEnvironment::DEBUG_JT_IN_CO,
     "Set to any value, JT data is looked for in .co and .cor documents too."},
    {ApiEnvironment::IGNORE_MEASUREMENT_UNITS,
     "Set to any value, the measurement units of nodes are ignored and count as millimetres."},
}};

}  // namespace

std::span<const ApiEnvironment::Variable> ApiEnvironment::list() { return kVariables; }

std::optional<RWClassicCString> ApiEnvironment::get(std::string_view name) {
  const char* value = std::getenv(RWClassicCString(name).c_str());
  if (value == nullptr) return std::nullopt;
  return value;
}
