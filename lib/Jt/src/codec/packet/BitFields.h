#pragma once

// Values of packets as fields of their bits: high bits may come back soon where low ones do not.

#include <cstdint>
#include <span>
#include <vector>

namespace jt::codec {

/// Values by their place among the latest 16.
struct Moves {
  std::vector<std::int32_t> places;  ///< -1 for a fresh value
  std::vector<std::int32_t> fresh;

  explicit Moves(std::span<const std::int32_t> values);
};

/// Some bits of all values.
struct BitField {
  enum class Form : std::uint8_t {
    plain,
    small,  ///< in arithmetic code
    moved,  ///< by their place among the latest
  };
  unsigned low = 0;  ///< first bit
  unsigned width = 0;
  Form form = Form::plain;
};

struct BitFields {
  std::vector<BitField> fields;  ///< from the top down
  double price = 0;              ///< bits a value, and what it costs to decode them
};

constexpr unsigned kMostBitFields = 4;

/// The best way to write what values of so many bits are above a base, judged by a sample.
/// @param mostFields 1..kMostBitFields
BitFields bestFields(std::span<const std::int32_t> values, std::int32_t base, unsigned width,
                     unsigned mostFields);

}  // namespace jt::codec
