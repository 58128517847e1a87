#pragma once

#include <cstddef>
#include <cstdint>

namespace jt {

/// 2^64 divided by the golden ratio. A product with it depends on every bit of the other factor in
/// its upper bits (Fibonacci hashing).
inline constexpr std::uint64_t kHashFactor = 0x9e3779b97f4a7c15U;

/// The hash of a sequence: `hash` of what came before, then `value`. The order counts.
constexpr std::uint64_t mixHash(std::uint64_t hash, std::uint64_t value) noexcept {
  hash = (hash ^ value) * kHashFactor;
  return hash ^ (hash >> 32);
}

/// A pointer as a number, for tables that mix it themselves and for mixHash().
struct PointerHash {
  /// The address.
  std::size_t operator()(const void* pointer) const noexcept {
    return reinterpret_cast<std::uintptr_t>(pointer);
  }
};

}  // namespace jt
