#include "JtwEntity.h"

#include "JtwProperties.h"

using jtw::Key;

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
