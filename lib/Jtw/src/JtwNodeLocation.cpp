#include <algorithm>
#include <optional>
#include <tuple>
#include <vector>

#include "Jt.h"
#include "JtPathAttributes.h"
#include "JtXform.h"
#include "JtwManager.h"
#include "JtwNode.h"
#include "JtwProperties.h"
#include "JtwRoot.h"
#include "JtwSceneGraph.h"
#include "JtwTransforms.h"
#include "JtwUnits.h"
#include "JtwWalkMemo.h"

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

int JtwNode::getXformAttrIndex(JtNode* node) { return jt::firstAttribute<JtXform>(node); }

void JtwNode::computeLocation() {
  using Place = jtw::WalkMemo::Place;
  jtw::WalkMemo* const memo = this->memo();
  JtwNode* const above = parentNode();
  const float ratioAbove = above ? above->measurementUnitRatio() : 1.0F;
  const bool takesUnits = !JtwManager::the().usingJtViewer();
  const auto placed = [&](const Place* placeAbove, JtNode& node) {
    Place here = placeAbove ? *placeAbove : Place{{}, ratioAbove};
    const float own = takesUnits ? jtw::ownUnitRatio(&node).value_or(0.0F) : 0.0F;
    if (own >= kLeastRatio) here.ratio = own;
    if (jt::firstAttribute<JtXform>(&node) >= 0)
      here.location = here.location * jtw::localTransform(&node, static_cast<double>(here.ratio));
    return here;
  };
  const auto next = [this](const JtNode& node) { return nextOfWalk(node); };
  const Place place =
      jtNode() ? jtw::walkUp<Place>(jtNode(), memo ? &memo->places : nullptr, next, placed)
               : Place{{}, ratioAbove};
  unitRatio_ = place.ratio;
  relLoc_ = above && above == root_ ? root_->internalRelLoc() * place.location : place.location;
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
  jtw::WalkMemo* const memo = this->memo();
  const auto above = [](JtwNode& node) {
    JtwNode* const parent = node.parentNode();
    return parent == node.root() ? nullptr : parent;
  };
  return jtw::walkUp<RTTran3D>(this, memo ? &memo->absLocs : nullptr, above,
                               [](const RTTran3D* locationAbove, JtwNode& node) {
                                 if (locationAbove) return *locationAbove * node.relLoc();
                                 JtwNode* const parent = node.parentNode();
                                 return parent ? parent->absLoc() * node.relLoc() : RTTran3D();
                               });
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
