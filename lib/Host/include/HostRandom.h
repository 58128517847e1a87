#pragma once

#include <array>
#include <cstdint>

#include "HostExport.h"

namespace host {

/// 128 random bits of the system, fit for identifiers. Throws std::system_error where it has none.
HOST_API std::array<std::uint32_t, 4> randomBits();

}  // namespace host
