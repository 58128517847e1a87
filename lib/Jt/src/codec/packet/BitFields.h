#pragma once

// Packet values split into bit fields: high bits often repeat where low bits do not.

#include <cstdint>
#include <span>
#include <vector>

namespace jt::codec {

/// Move-to-front transform over a window of the 16 latest values.
struct MoveToFront {
  std::vector<std::int32_t> places;  ///< index in the window; -1: a new value
  std::vector<std::int32_t> newValues;

  explicit MoveToFront(std::span<const std::int32_t> values);
};

/// A range of bits of all values.
struct BitField {
  enum class Form : std::uint8_t {
    plain,
    small,  ///< in arithmetic code
    moved,  ///< move-to-front indices
  };
  unsigned low = 0;  ///< first bit
  unsigned width = 0;
  Form form = Form::plain;
};

struct BitFields {
  std::vector<BitField> fields;  ///< from the top down
  double cost = 0;               ///< bits a value, and what it costs to decode them
};

constexpr unsigned kMostBitFields = 4;

/// The cheapest split of `value - base` into fields, estimated from a sample.
/// @param mostFields 1..kMostBitFields
BitFields bestFields(std::span<const std::int32_t> values, std::int32_t base, unsigned width,
                     unsigned mostFields);

}  // namespace jt::codec
