#pragma once

#include "JtkPMIDrawing.h"

// Names of the attributes that PMI entities of the host carry in a file. Identity attributes have
// the names of the node properties (JtwPropertyNames.h).

namespace jtw::pmi {

inline constexpr const char* kName = "Description";
inline constexpr const char* kLayer = "Layer";
inline constexpr const char* kMulticadName = "JTTK MULTICAD NAME";
inline constexpr const char* kMulticadColor = "JTTK MULTICAD COLOR";
inline constexpr const char* kMulticadVisibility = "JTTK MULTICAD VISIBILITY";
inline constexpr const char* kForegroundColor = "PMITextForegroundColor";
inline constexpr const char* kBackgroundColor = "PMITextBackgroundColor";
inline constexpr const char* kBackgroundOpacity = "PMITextBackgroundOpacity";
inline constexpr const char* kShowBorder = "PMITextShowBorder";
inline constexpr const char* kTextSize = "PMITextSize";
inline constexpr const char* kTextInPlane = "PMITextInPlane";
inline constexpr const char* kGeometryColor = "PMIGeometryColor";
inline constexpr const char* kGeometryWidth = "PMIGeometryWidth";
inline constexpr const char* kLocale = "VELOR_PMI_LOCALE";
inline constexpr const char* kAnchorPoint = "PMI_PROP_ANCHOR_POINT";

/// The lines of the text, joined by line feeds: files keep only the strokes otherwise.
inline constexpr const char* kTextLines = "KrPMIText";
/// How many of the last polylines are strokes of the text.
inline constexpr const char* kTextStrokes = jtk::kTextStrokesAttribute;

}  // namespace jtw::pmi
