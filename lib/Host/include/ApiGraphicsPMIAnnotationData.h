#pragma once

#include <cstdint>

#include "ApiGraColor.h"
#include "RTVec3D.h"
#include "RWClassic.h"

/// How the host draws a PMI annotation. Lengths are in millimetres, in the coordinates of the JT
/// node that carries the annotation.
struct ApiGraphicsPMIAnnotationData {
  /// What a drawn line of an annotation is. Every 16-bit number is valid and is carried as it is:
  /// JT files of other producers have numbers that ISO 14306 does not name.
  enum GeomPolylineTypes : std::int16_t {
    GENERAL_LINE = 0,
    ARROW = 1,
  };

  /// The values below that can be set, one bit each.
  enum Flag : short {
    FOREGROUND_COLOR = 1 << 0,    ///< textForegroundColor
    BACKGROUND_COLOR = 1 << 1,    ///< textBackgroundColor
    BACKGROUND_OPACITY = 1 << 2,  ///< the alpha of textBackgroundColor
    BORDER = 1 << 3,              ///< textHasBorder
    FONT_SIZE = 1 << 4,           ///< fontSize
    DISPLAY_MODE = 1 << 5,        ///< textInPlane
    GEOM_COLOR = 1 << 6,          ///< geomColor
    GEOM_WIDTH = 1 << 7,          ///< geomWidth
  };

  short instanceFlags = 0;   ///< values set for this annotation
  short prototypeFlags = 0;  ///< values that come from its prototype

  ApiGraColor textForegroundColor;
  ApiGraColor textBackgroundColor;
  bool textHasBorder = false;
  int fontSize = 0;
  bool textInPlane = true;  ///< false: the text faces the viewer
  ApiGraColor geomColor;
  int geomWidth = 0;  ///< of lines, in pixels

  /// Directions of the annotation plane.
  RTVec3D displayPlaneXAxis{1, 0, 0};
  RTVec3D displayPlaneYAxis{0, 1, 0};
  /// The strokes of the text, and all other lines with the type of each (none: all GENERAL_LINE).
  RTTwoLevelRWTOrderedVector<RTVec3D> textPolylineSet;
  RTTwoLevelRWTOrderedVector<RTVec3D> geomPolylineSet;
  RWClassicTValOrderedVector<GeomPolylineTypes> geomPolylineTypes;
  float textHeight = 0;

  /// True if one of the flags is set for this annotation.
  bool isInstanceInfo(short flags) const { return (instanceFlags & flags) != 0; }
  /// True if one of the flags comes from the prototype.
  bool isPrototypeInfo(short flags) const { return (prototypeFlags & flags) != 0; }

  friend bool operator==(const ApiGraphicsPMIAnnotationData&,
                         const ApiGraphicsPMIAnnotationData&) = default;
};
