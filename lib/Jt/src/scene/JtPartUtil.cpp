#include "JtPartUtil.h"

#include <array>
#include <string>

#include "Jt.h"

namespace {

struct UnitRow {
  const char* name;
  double metres;
};

// In the order of JtPartUtil::Unit; 0 metres: no conversion.
constexpr std::array<UnitRow, 13> kUnits{{{"", 0},
                                          {"Micrometers", 1e-6},
                                          {"Millimeters", 1e-3},
                                          {"Centimeters", 1e-2},
                                          {"Decimeters", 1e-1},
                                          {"Meters", 1},
                                          {"Kilometers", 1e3},
                                          {"Inches", 0.0254},
                                          {"Feet", 0.3048},
                                          {"Yards", 0.9144},
                                          {"Mils", 2.54e-5},
                                          {"Miles", 1609.344},
                                          {"", 0}}};

bool sameWord(const std::string& a, const std::string& b) {
  const auto lower = [](char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  };
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i)
    if (lower(a[i]) != lower(b[i])) return false;
  return true;
}

}  // namespace

bool JtPartUtil::obtainMeasureUnit(const JtNode* node, Unit& unit) {
  const auto* text =
      node ? jt::as<JtStringPropAtom>(node->property(JtString(Jt::jtPropMeasurementUnits)))
           : nullptr;
  if (!text) return false;
  const std::string word = text->value().stringToMbs();
  for (std::size_t i = 1; i + 1 < kUnits.size(); ++i)
    if (sameWord(word, kUnits[i].name)) {
      unit = static_cast<Unit>(i);
      return true;
    }
  return false;
}

bool JtPartUtil::obtainScaleToXtFromUnit(Unit unit, double& scale) {
  const auto index = static_cast<std::size_t>(unit);
  if (index >= kUnits.size() || kUnits[index].metres == 0) return false;
  scale = kUnits[index].metres;
  return true;
}

double JtPartUtil::millimetresOf(const JtNode& node) {
  constexpr double kMetre = 1000;
  Unit unit{};
  double metres = 0;
  const bool isNamed = obtainMeasureUnit(&node, unit) && obtainScaleToXtFromUnit(unit, metres);
  return isNamed ? kMetre * metres : 0;
}

double JtPartUtil::millimetresAt(const JtNode& node) {
  for (const JtNode* at = &node; at; at = at->parent(0))
    if (const double millimetres = millimetresOf(*at); millimetres > 0) return millimetres;
  return 1;
}

const char* JtPartUtil::unitName(Unit unit) {
  const auto index = static_cast<std::size_t>(unit);
  return index < kUnits.size() ? kUnits[index].name : "";
}
