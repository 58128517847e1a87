#include "JtwLeaf.h"

#include "JtwEntity.h"
#include "JtwLink.h"
#include "JtwProperties.h"
#include "JtwSubDevice.h"

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

JtwEntity::JtwEntity(VisPartNode* part, JtwRoot* root, const RWClassicWString& name)
    : JtwLeaf(part, root), name_(name) {}

JtwEntity::~JtwEntity() = default;

RWClassicWString JtwEntity::name() {
  const RWClassicWString stored = JtwNode::name();
  return stored.empty() ? name_ : stored;
}

bool JtwEntity::isPreserved(bool /*deep*/) {
  return jtw::intProperty(jtNode(), Key::notUnitedEntity).value_or(0) != 0;
}

void JtwEntity::setPreserved(bool preserved) {
  jtw::setInt(jtNode(), Key::notUnitedEntity, preserved ? 1 : 0, false);
}

bool JtwEntity::shouldCalculateApx() {
  if (jtw::intProperty(jtNode(), Key::apxShouldCalculate).value_or(0) == 0) return false;
  jtw::eraseProperty(jtNode(), Key::apxShouldCalculate);
  return true;
}

void JtwEntity::setShouldCalculateApx(bool calculate) {
  jtw::setInt(jtNode(), Key::apxShouldCalculate, calculate ? 1 : 0, false);
}

JtwLink::~JtwLink() = default;
JtwSubDevice::~JtwSubDevice() = default;
