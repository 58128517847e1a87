#pragma once

// Runs of fields of one width: the bitlength codec with variable widths of packets from Mk.2 on.

#include <cstdint>
#include <span>
#include <vector>

#include "codec/packet/Bits.h"

namespace jt::codec {

/// Values in runs, close to the fewest bits possible.
class WidthRuns {
 public:
  static constexpr unsigned kChangeWidth = 4;  ///< of the fields that change the width
  static constexpr unsigned kLengthWidth = 4;  ///< of the fields with the length of a run

  /// None.
  WidthRuns() = default;
  /// @param mean is taken off each value
  WidthRuns(std::span<const std::int32_t> values, std::int32_t mean);

  std::int32_t mean() const noexcept { return mean_; }
  /// Bits of the runs; without any the greatest number.
  std::size_t bits() const noexcept { return bits_; }
  /// Appends them. @param values as before
  void put(std::span<const std::int32_t> values, WordBitWriter& bits) const;

 private:
  struct Run {
    std::uint8_t length = 0;
    std::uint8_t width = 0;
  };

  std::int32_t mean_ = 0;
  std::size_t bits_ = SIZE_MAX;
  std::vector<Run> runs_;
};

}  // namespace jt::codec
