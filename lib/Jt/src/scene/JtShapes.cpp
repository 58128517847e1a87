#include <algorithm>

#include "JtLOD.h"
#include "JtShape.h"
#include "JtShapeEncoding.h"
#include "JtSwitch.h"
#include "codec/shape/VertexBindings.h"

void JtRangeLOD::setRangeLimits(std::vector<float> limits) {
  limits_ = std::move(limits);
  touch();
}

JtNode* JtLOD::childForLevel(std::uint32_t level) const noexcept {
  const int last = numChildren() - 1;
  return child(level < static_cast<std::uint32_t>(std::max(last, 0)) ? static_cast<int>(level)
                                                                     : last);
}

JtNode* JtRangeLOD::childForDistance(float distance) const noexcept {
  std::uint32_t level = 0;
  while (level < limits_.size() && distance > limits_[level]) ++level;
  return childForLevel(level);
}

void JtRangeLOD::setCenter(const std::array<float, 3>& center) {
  center_ = center;
  touch();
}

void JtSwitch::setSelectedChild(int index) {
  selected_ = index;
  touch();
}

JtNode* JtSwitch::representation(bool selected) const {
  const bool shows = selected_ >= 0 && selected_ < numChildren();
  const int shown = shows ? selected_ : 0;
  if (selected || numChildren() < 2) return child(shown);
  return child(shown == 0 ? 1 : 0);
}

std::string jt::ShapeEncoding::flaw() const {
  const auto check = [](unsigned bits, unsigned least, unsigned most, const char* what) {
    if (bits >= least && bits <= most) return std::string();
    return std::string(what) + " are stored with " + std::to_string(least) + " to " +
           std::to_string(most) + " bits, not " + std::to_string(bits);
  };
  for (std::string flaw : {check(positionBits, 0, kMostPositionBits, "positions"),
                           check(normalBits, 0, kMostNormalBits, "normals"),
                           check(textureBits, 1, kMostTextureBits, "texture coordinates"),
                           check(colourBits, 1, kMostColourBits, "colours")})
    if (!flaw.empty()) return flaw;
  return {};
}

void JtShape::setStatistics(const jt::ShapeStatistics& statistics) {
  statistics_ = statistics;
  reservedBox_ = statistics.box;
  touch();
}

void JtVertexShape::setVertexBindings(std::uint64_t bindings) {
  bindings_ = bindings;
  if (bindingsAgain_) bindingsAgain_ = bindings;
  oldBindings_ = jt::codec::VertexBindings{bindings}.oldForm();
  touch();
}
