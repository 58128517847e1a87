#pragma once

#include "ApiGraphicsPMIAnnotationData.h"
#include "ApiPMIType.h"
#include "RWClassic.h"

/// The data of one PMI annotation: a plain value, copied as a whole.
struct ApiWmPMIAnnotationData {
  ApiPMIType annotationType = API_PMI_NONE;
  /// The text, a line an element, UTF-8.
  RWClassicTValOrderedVector<RWClassicCString> textLines;
  int layer = -1;  ///< -1: none
  /// What is drawn, and how.
  ApiGraphicsPMIAnnotationData graphics;

  friend bool operator==(const ApiWmPMIAnnotationData&, const ApiWmPMIAnnotationData&) = default;
};
