#include "ApiGraColor.h"

#include <algorithm>
#include <cmath>

namespace {

float clampUnit(float value) { return std::isnan(value) ? 0.0F : std::clamp(value, 0.0F, 1.0F); }

std::uint8_t toByte(float unit) {
  return static_cast<std::uint8_t>(std::lround(clampUnit(unit) * 255.0F));
}

}  // namespace

ApiGraColor ApiGraColor::fromUnit(float red, float green, float blue, float alpha) {
  return {toByte(red), toByte(green), toByte(blue), clampUnit(alpha)};
}

void ApiGraColor::getRGB(float& red, float& green, float& blue) const {
  red = static_cast<float>(red_) / 255.0F;
  green = static_cast<float>(green_) / 255.0F;
  blue = static_cast<float>(blue_) / 255.0F;
}

void ApiGraColor::getRGB(std::uint8_t& red, std::uint8_t& green, std::uint8_t& blue) const {
  red = red_;
  green = green_;
  blue = blue_;
}

void ApiGraColor::setRGB(std::uint8_t red, std::uint8_t green, std::uint8_t blue) {
  red_ = red;
  green_ = green;
  blue_ = blue;
}
