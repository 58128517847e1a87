#include "JtwMeasurementUnits.h"

#include <charconv>
#include <cmath>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

#include "ApiEnvironment.h"
#include "JtPartUtil.h"
#include "JtPartition.h"
#include "JtwProperties.h"
#include "VisMetaDataNode.h"
#include "VisPartNode.h"

namespace jtw {
namespace {

constexpr double kMillimetersPerMeter = 1000.0;

std::optional<double> recordedScale(const JtNode& node) {
  const JtString* text = stringProperty(&node, kMeasurementUnitProp);
  if (!text) return std::nullopt;
  const std::string digits = text->stringToMbs();
  double scale = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), scale);
  if (error != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
  return std::isfinite(scale) && scale > 0 ? std::optional(scale) : std::nullopt;
}

JtString scaleText(double scale) {
  char digits[32];
  const auto [end, error] = std::to_chars(digits, digits + sizeof digits, scale);
  return JtString(std::string_view(digits, static_cast<std::size_t>(end - digits)));
}

void recordScale(JtNode& node, bool takeRecorded) {
  const std::optional<double> recorded = recordedScale(node);
  if (recorded && takeRecorded) return;
  double scale = 1;
  if (!JtwMeasurementUnitsInterface::getScaleFromUnits(&node, scale)) return;
  if (std::abs(scale - 1) < 1e-9 || recorded == scale) return;
  setString(&node, kMeasurementUnitProp, scaleText(scale), true);
}

}  // namespace
}  // namespace jtw

bool JtwMeasurementUnitsInterface::getScaleFromUnits(JtNode* node, double& scale) {
  static const bool ignored = ApiEnvironment::isSet(ApiEnvironment::IGNORE_MEASUREMENT_UNITS);
  if (ignored) {
    scale = 1;
    return true;
  }
  JtPartUtil::Unit unit = JtPartUtil::unknown;
  if (!jt::as<VisMetaDataNode>(node) || !JtPartUtil::obtainMeasureUnit(node, unit)) return false;
  if (unit == JtPartUtil::unknown || unit == JtPartUtil::native) {
    scale = 1;
    return true;
  }
  double metersPerUnit = 0;
  if (!JtPartUtil::obtainScaleToXtFromUnit(unit, metersPerUnit)) return false;
  scale = metersPerUnit * jtw::kMillimetersPerMeter;
  return true;
}

void JtwMeasurementUnitsInterface::recordScales(JtPartition& partition, bool takeRecorded) {
  std::unordered_set<const JtNode*> seen;
  std::vector<JtNode*> open{&partition};
  while (!open.empty()) {
    JtNode* node = open.back();
    open.pop_back();
    if (!seen.insert(node).second) continue;
    jtw::recordScale(*node, takeRecorded);
    const auto* file = jt::as<JtPartition>(node);
    if (jt::as<VisPartNode>(node) || (file && file->externalPartition())) continue;
    for (int index = 0; index < node->numChildren(); ++index)
      if (JtNode* child = node->child(index)) open.push_back(child);
  }
}
