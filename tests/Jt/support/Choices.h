#pragma once

#include <array>
#include <bit>
#include <cstdint>
#include <string>
#include <vector>

#include "JtString.h"

/// Decisions taken one after the other from a list of numbers; 0 once they run out, so that a
/// shorter list is a simpler scene.
class Choices {
 public:
  explicit Choices(std::vector<std::uint32_t> numbers) : numbers_(std::move(numbers)) {}
  bool any() const { return next_ < numbers_.size(); }
  std::uint32_t number() { return any() ? numbers_[next_++] : 0; }
  /// 0 .. count - 1
  std::size_t of(std::size_t count) { return number() % count; }
  bool oneIn(std::size_t count) { return of(count) == 1; }
  float real() {
    const auto bits = std::bit_cast<float>(number());
    return bits == 0 ? 0 : bits;  // no negative zero: it equals zero and is not stored
  }
  std::array<float, 3> point() { return {real(), real(), real()}; }
  JtString text() {
    std::u16string units;
    for (std::size_t left = of(9); left > 0; --left)
      units += static_cast<char16_t>(oneIn(3) ? 0xd800 + of(0x800) : number());
    return JtString(std::move(units));
  }

 private:
  std::vector<std::uint32_t> numbers_;
  std::size_t next_ = 0;
};
