#pragma once

#include <cstdint>

/// How the host draws a PMI annotation.
struct ApiGraphicsPMIAnnotationData {
  /// What a drawn line of an annotation is. Every 16-bit number is valid and is carried as it is:
  /// JT files of other producers have numbers that ISO 14306 does not name.
  enum GeomPolylineTypes : std::int16_t {
    GENERAL_LINE = 0,
    ARROW = 1,
  };
};
