#pragma once

#include <array>
#include <optional>
#include <string_view>

#include "JtNode.h"

namespace jtw {

/// A unit of length as JT files name it, and how the host counts it in millimetres.
struct LengthUnit {
  std::string_view name;
  float ratio;
};

// Micrometres count as 0.1 on purpose, both ways: existing components are stored like that.
inline constexpr std::array<LengthUnit, 10> kLengthUnits{{
    {"Micrometers", 0.1F},
    {"Millimeters", 1.0F},
    {"Centimeters", 10.0F},
    {"Decimeters", 100.0F},
    {"Meters", 1000.0F},
    {"Kilometers", 1000000.0F},
    {"Inches", 25.4F},
    {"Feet", 304.8F},
    {"Yards", 914.4F},
    {"Miles", 1609344.0F},
}};

/// The unit of that name (letter case counts) or of exactly that ratio; null when there is none.
const LengthUnit* unitOfName(std::string_view name);
const LengthUnit* unitOfRatio(float ratio);

/// The ratio of the unit that the node itself names; nothing when it names none of the table.
std::optional<float> ownUnitRatio(const JtNode* node);

}  // namespace jtw
