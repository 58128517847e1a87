#pragma once

#include <cstdint>

/// The host's object types as they accompany PMI data in an export.
struct NwObj {
  /// Every 32-bit value is valid; those named here have data of their own.
  enum Type : std::int32_t {
    NOTE = 4,
    FRAME = 10,
    COORDINATE_SYSTEM = 11,
    DIMENSION = 14,
    LABEL = 17,
    ANNOTATION = 23,
  };
};
