#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace jt {

/// A scalar in the byte order of a file, or one of a file in the machine's: byte-swapped when these
/// differ.
template <class T>
T inFileOrder(T value, bool bigEndian) noexcept {
  static_assert(std::is_arithmetic_v<T>);
  if (bigEndian == (std::endian::native == std::endian::big)) return value;
  if constexpr (std::is_floating_point_v<T>) {
    using Bits = std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>;
    return std::bit_cast<T>(inFileOrder(std::bit_cast<Bits>(value), bigEndian));
  } else {
    using Bits = std::make_unsigned_t<T>;
    auto left = static_cast<Bits>(value);
    Bits swapped = 0;
    for (std::size_t i = 0; i < sizeof(T); ++i) {
      swapped = static_cast<Bits>((sizeof(T) > 1 ? swapped << 8 : 0) | (left & 0xff));
      left = static_cast<Bits>(sizeof(T) > 1 ? left >> 8 : 0);
    }
    return static_cast<T>(swapped);
  }
}

/// Reads a scalar at `bytes`; the caller has checked that it is there.
template <class T>
T loadScalar(const std::byte* bytes, bool bigEndian) noexcept {
  T value;
  std::memcpy(&value, bytes, sizeof(T));
  return inFileOrder(value, bigEndian);
}

}  // namespace jt
