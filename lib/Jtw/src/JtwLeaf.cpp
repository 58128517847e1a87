#include "JtwLeaf.h"

#include "JtwProperties.h"

using jtw::Key;

JtwLeaf::~JtwLeaf() = default;

void JtwLeaf::setDisplayState(bool displayed) {
  jtw::setInt(jtNode(), Key::visibility, displayed ? 1 : 0, true);
}

bool JtwLeaf::displayState() { return isDisplayed(jtNode()); }

bool JtwLeaf::isDisplayed(const JtNode* node) {
  return jtw::intProperty(node, Key::visibility).value_or(1) != 0;
}

const ApiGraColor& JtwLeaf::color(bool& isDefault) {
  if (!colorEvaluated_) evaluateColor(isDefault);
  isDefault = colorIsDefault_;
  return color_;
}
