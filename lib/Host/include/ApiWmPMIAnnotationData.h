#pragma once

#include "ApiPMIType.h"
#include "RTVec3D.h"
#include "RWClassic.h"

/// The data of one PMI annotation: a plain value, copied as a whole.
struct ApiWmPMIAnnotationData {
  ApiPMIType annotationType = API_PMI_NONE;
  /// The text, a line an element, UTF-8.
  RWClassicTValOrderedVector<RWClassicCString> textLines;
  /// The drawn lines, each a sequence of points in millimetres.
  RTTwoLevelRWTOrderedVector<RTVec3D> polylines;

  friend bool operator==(const ApiWmPMIAnnotationData&, const ApiWmPMIAnnotationData&) = default;
};
