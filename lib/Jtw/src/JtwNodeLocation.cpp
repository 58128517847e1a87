#include <algorithm>
#include <optional>
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

int JtwNode::getXformAttrIndex(JtNode* node) { return jtw::firstAttribute<JtXform>(node); }

void JtwNode::computeLocation() {
  jtw::WalkMemo* const memo = this->memo();
  jtw::WalkMemo::Place place;
  JtwNode* const above = parentNode();
  if (above) place.ratio = above->measurementUnitRatio();
  std::vector<const JtNode*> path;  // up to and without the component parent
  for (const JtNode* node = jtNode(); node; node = node->parent(0)) {
    if (!path.empty() && endsWalk(node)) break;
    if (memo)
      if (const auto known = memo->places.find(node); known != memo->places.end()) {
        place = known->second;
        break;
      }
    path.push_back(node);
  }
  const bool takesUnits = !JtwManager::the().usingJtViewer();
  for (; !path.empty(); path.pop_back()) {
    const JtNode* const node = path.back();
    const float own = takesUnits ? jtw::ownUnitRatio(node).value_or(0.0F) : 0.0F;
    if (own >= kLeastRatio) place.ratio = own;
    if (jtw::firstAttribute<JtXform>(node) >= 0)
      place.location = place.location * jtw::localTransform(node, static_cast<double>(place.ratio));
    if (memo) memo->places.emplace(node, place);
  }
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
  std::vector<JtwNode*> chain;
  std::optional<RTTran3D> known;
  JtwNode* top = this;
  JtwNode* up = parentNode();
  for (; up; up = up->parentNode()) {
    if (memo)
      if (const auto found = memo->absLocs.find(top); found != memo->absLocs.end()) {
        known = found->second;
        break;
      }
    chain.push_back(top);
    top = up;
    if (up == root_) break;
  }
  RTTran3D location = known ? *known : up ? up->absLoc() : RTTran3D();
  for (; !chain.empty(); chain.pop_back()) {
    location *= chain.back()->relLoc();
    if (memo) memo->absLocs.emplace(chain.back(), location);
  }
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
