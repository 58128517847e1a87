#pragma once

// The hash that shape elements store over their decoded arrays.

#include <cstdint>
#include <span>
#include <vector>

namespace jt::codec {

/// Hash of 32-bit words; hashes of several arrays are chained by the seed.
std::uint32_t hash32(std::span<const std::int32_t> words, std::uint32_t seed) noexcept;
/// Hash of numbers that count as 16 bits each.
std::uint32_t hash16(std::span<const std::int32_t> halves, std::uint32_t seed) noexcept;

}  // namespace jt::codec
