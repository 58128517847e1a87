#include "JtLOD.h"

#include <algorithm>

#include "scene/Recording.h"

JtNode* JtLOD::childForLevel(std::uint32_t level) const noexcept {
  const int last = numChildren() - 1;
  return child(level < static_cast<std::uint32_t>(std::max(last, 0)) ? static_cast<int>(level)
                                                                     : last);
}

void JtRangeLOD::setRangeLimits(std::vector<float> limits) {
  change(limits_);
  limits_ = std::move(limits);
}

JtNode* JtRangeLOD::childForDistance(float distance) const noexcept {
  std::uint32_t level = 0;
  while (level < limits_.size() && distance > limits_[level]) ++level;
  return childForLevel(level);
}

void JtRangeLOD::setCenter(const std::array<float, 3>& center) {
  change(center_);
  center_ = center;
}
