#pragma once

#include <cstddef>

/// Allocations of the process that fail, counted from `begin`. Every build counts operator new; one
/// without sanitizers also malloc, calloc and realloc, and with them the compression libraries.
namespace faults {

/// @param place the first one that fails, from 0; none with kNever
/// @param forever the following ones fail as well
void begin(std::size_t place, bool forever) noexcept;
/// Allocations since `begin`; all succeed again.
std::size_t end() noexcept;

inline constexpr std::size_t kNever = static_cast<std::size_t>(-1);

}  // namespace faults
