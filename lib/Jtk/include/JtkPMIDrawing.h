#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "JtPMI.h"
#include "JtkExport.h"

// What a viewer draws of PMI: lines alone, text as strokes.

namespace jtk {

/// Attribute with the number of polylines, the last ones of an entity, that are strokes of text.
inline constexpr const char* kTextStrokesAttribute = "KrPMITextStrokes";

/// The number in a color text: red + 256 * green + 65536 * blue, hexadecimal, with or without
/// "0x". Nothing for other texts.
JTK_API std::optional<std::uint32_t> colorNumber(std::string_view text);

/// A polyline of an entity, in the coordinates and the unit of the node that carries the PMI.
struct PMILine {
  std::vector<std::array<float, 3>> points;
  std::array<float, 3> color{};  ///< red, green, blue in 0..1
  float width = 1;               ///< pixels
  /// Set: the line faces the viewer. Its points are then distances from here, x to the right and y
  /// upwards on the screen.
  std::optional<std::array<float, 3>> anchor;
  std::size_t entity = 0;  ///< index of the entity in the generic form of the PMI
};

/// The lines of all entities that are visible. Text without strokes is drawn with the built-in
/// font. Coordinate systems, part transforms and view styles are not drawn.
/// @param facing false: text that faces the viewer is drawn in the plane of its entity instead
JTK_API std::vector<PMILine> drawnLines(const PMIDataManager& pmi, bool facing = true);

}  // namespace jtk
