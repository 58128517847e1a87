#include "JtkwPMIAppearanceData.h"

#include <cstdint>
#include <limits>

#include "JtTk/JtkwColorText.h"

void JtkwPMIAppearanceData::setGraColor(const ApiGraColor& color, ColorText& field) {
  field = jtw::pmiColorText(color);
}

void JtkwPMIAppearanceData::setColor(const char* text, ColorText& field) {
  if (text)
    field = RWClassicCString(text);  // a copy first: the text may be the one that goes
  else
    field.reset();
}

void JtkwPMIAppearanceData::getGraColor(const char* text, ApiGraColor& color) {
  color = text ? jtw::colorOfPmiText(text).value_or(ApiGraColor()) : ApiGraColor();
}

void JtkwPMIAppearanceData::getGraMultiCADColor(ApiGraColor& color) const {
  color = multiCAD_ ? jtw::colorOfMultiCadText(*multiCAD_).value_or(ApiGraColor()) : ApiGraColor();
}

void JtkwPMIAppearanceData::setTransparency(const float& alpha) {
  const double percent = static_cast<double>(alpha) * 100.0;
  constexpr double kGreatest = std::numeric_limits<int>::max();
  opacity_ = percent > -kGreatest && percent < kGreatest ? static_cast<int>(percent) : -1;
}
