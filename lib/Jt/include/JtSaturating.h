#pragma once

#include <cstdint>
#include <limits>

// Counts of what shared nodes add up to: they grow exponentially with depth, so that a small file
// can exceed every integer.

namespace jt {

/// a + b, or the largest value where that overflows.
constexpr std::uint64_t saturatingSum(std::uint64_t a, std::uint64_t b) noexcept {
  constexpr std::uint64_t kMost = std::numeric_limits<std::uint64_t>::max();
  return a > kMost - b ? kMost : a + b;
}

/// a * b, or the largest value where that overflows.
constexpr std::uint64_t saturatingProduct(std::uint64_t a, std::uint64_t b) noexcept {
  constexpr std::uint64_t kMost = std::numeric_limits<std::uint64_t>::max();
  return b != 0 && a > kMost / b ? kMost : a * b;
}

}  // namespace jt
