#pragma once

#include <cstdint>

/// The elements that the host's manipulators and dimensions are drawn with.
struct ApiGraphicsManipulatorElementGraphicsData {
  /// Every 32-bit value is valid; those named here occur in dimensions.
  enum Type : std::int32_t {
    LINE = 2,
    ARROW = 4,
  };
};
