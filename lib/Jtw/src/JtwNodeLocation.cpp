#include <algorithm>
#include <cstddef>
#include <tuple>
#include <vector>

#include "Jt.h"
#include "JtXform.h"
#include "JtwManager.h"
#include "JtwNode.h"
#include "JtwProperties.h"
#include "JtwRoot.h"
#include "JtwSceneGraph.h"
#include "JtwTransforms.h"
#include "JtwUnits.h"

namespace {

/// Ratios below this one are no units: the node then has that of its parent.
constexpr float kLeastRatio = 0.001F;

}  // namespace

const jtw::LengthUnit* jtw::unitOfName(std::string_view name) {
  const auto* unit = std::ranges::find(kLengthUnits, name, &LengthUnit::name);
  return unit == kLengthUnits.end() ? nullptr : unit;
}

const jtw::LengthUnit* jtw::unitOfRatio(float ratio) {
  const auto* unit = std::ranges::find(kLengthUnits, ratio, &LengthUnit::ratio);
  return unit == kLengthUnits.end() ? nullptr : unit;
}

std::optional<float> jtw::ownUnitRatio(const JtNode* node) {
  const JtString* name = stringProperty(node, Jt::jtPropMeasurementUnits);
  const LengthUnit* unit = name ? unitOfName(name->stringToMbs()) : nullptr;
  return unit ? std::optional<float>(unit->ratio) : std::nullopt;
}

// --- Unit

float JtwNode::measurementUnitRatio() {
  if (!locationValid_) relLoc();
  return unitRatio_;
}

bool JtwNode::setMeasurementUnitRatio(float ratio) {
  if (!jtNode_) return false;
  const jtw::LengthUnit* unit = jtw::unitOfRatio(ratio);
  if (!unit) return false;
  removeMeasurementUnitsProperty(jtNode());
  jtw::setString(jtNode(), Jt::jtPropMeasurementUnits, JtString(unit->name), true);
  return true;
}

void JtwNode::removeMeasurementUnitsProperty(JtNode* node) {
  const auto key = jt::make<JtStringPropAtom>(JtString(Jt::jtPropMeasurementUnits));
  jtw::forEachBelow(node, [&key](JtNode& below) { below.deleteProperty(key.get()); });
}

// --- Location

int JtwNode::getXformAttrIndex(JtNode* node) { return jtw::firstAttribute<JtXform>(node); }

void JtwNode::computeLocation() {
  const std::vector<JtNode*> path = walkToParent();
  std::vector<float> ratios(path.size(), 0.0F);
  if (!JtwManager::the().usingJtViewer())
    std::transform(path.begin(), path.end(), ratios.begin(),
                   [](const JtNode* node) { return jtw::ownUnitRatio(node).value_or(0.0F); });

  JtwNode* above = parentNode();
  float ratio = above ? above->measurementUnitRatio() : 1.0F;
  for (std::size_t i = ratios.size(); i-- > 0;) {
    if (ratios[i] < kLeastRatio)
      ratios[i] = ratio;
    else
      ratio = ratios[i];
  }
  unitRatio_ = ratio;

  RTTran3D location;
  for (std::size_t i = 0; i < path.size(); ++i)
    if (getXformAttrIndex(path[i]) >= 0)
      location = jtw::localTransform(path[i], static_cast<double>(ratios[i])) * location;
  relLoc_ = above && above == root_ ? root_->internalRelLoc() * location : location;
  locationValid_ = true;
}

RTTran3D JtwNode::relLoc() {
  if (locationValid_) return relLoc_;
  // The unit comes from the parents: theirs first, from the top, so that deep components need no
  // deep call stack.
  std::vector<JtwNode*> pending{this};
  for (JtwNode* up = parentNode(); up && up != root_ && !up->locationValid_; up = up->parentNode())
    pending.push_back(up);
  for (; !pending.empty(); pending.pop_back()) pending.back()->computeLocation();
  return relLoc_;
}

RTTran3D JtwNode::absLoc() {
  std::vector<JtwNode*> chain;
  JtwNode* top = this;
  JtwNode* up = parentNode();
  for (; up; up = up->parentNode()) {
    chain.push_back(top);
    top = up;
    if (up == root_) break;
  }
  RTTran3D location = up ? up->absLoc() : RTTran3D();
  for (; !chain.empty(); chain.pop_back()) location *= chain.back()->relLoc();
  return location;
}

void JtwNode::setRelLoc(const RTTran3D& location) {
  if (!jtNode_) return;
  // The host may hold on to what is cached, but the move starts from where the node is now.
  const auto cached = std::tuple(relLoc_, unitRatio_, locationValid_);
  locationValid_ = false;
  const RTTran3D current = JtwNode::relLoc();  // that of a root too, whose relLoc() is the identity
  std::tie(relLoc_, unitRatio_, locationValid_) = cached;
  if (location == current) return;
  RTTran3D local = location;
  if (findRealParent() != getGmParent(jtNode()))
    local = jtw::localTransform(jtNode()) * current.inverse() * location;
  jtw::setLocalTransform(*jtNode_, local);
}
