#include <optional>
#include <vector>

#include "JtMaterial.h"
#include "JtPathAttributes.h"
#include "JtwLeaf.h"
#include "JtwRoot.h"
#include "JtwSceneGraph.h"
#include "JtwTransforms.h"
#include "JtwWalkMemo.h"

int JtwNode::getColorAttrIndex(JtNode* node) { return jt::firstAttribute<JtMaterial>(node); }

bool JtwNode::computeNodeColor(JtNode* node, ApiGraColor& color) {
  const int index = getColorAttrIndex(node);
  if (index < 0) return false;
  auto* material = jt::as<JtMaterial>(node->attribute(index));
  constexpr auto kStale = JtMaterial::_IS_MIXED_ACCUM | JtMaterial::_MIXED_ACCUM_MODIFIED;
  if ((material->accumFlags() & kStale) == kStale) material->_accumDynState();
  const jt::Rgba& diffuse = material->diffuse();
  color = ApiGraColor::fromUnit(diffuse[0], diffuse[1], diffuse[2], diffuse[3]);
  return true;
}

bool JtwNode::findOwnColor() {
  using Found = std::optional<ApiGraColor>;
  const auto own = [](JtNode& node) {
    ApiGraColor color;
    return computeNodeColor(&node, color) ? Found(color) : Found();
  };
  jtw::WalkMemo* const memo = this->memo();
  const Found found = jtw::walkUp<Found>(
      jtNode(), memo ? &memo->colors : nullptr,
      [&](JtNode& node) { return own(node) ? nullptr : nextOfWalk(node); },
      [&](const Found* above, JtNode& node) {
        const Found color = own(node);
        return color || !above ? color : *above;
      });
  if (!found) return false;
  color_ = *found;
  colorIsDefault_ = false;
  return true;
}

ApiGraColor JtwNode::evaluateColor(bool& isDefault) {
  // Up the parents until one knows its color, then down again: no deep call stack.
  std::vector<JtwNode*> asking;
  ApiGraColor color;
  bool none = true;
  for (JtwNode* node = this; node; node = node->parentNode()) {
    if (node != this && node == root_) {
      color = node->evaluateColor(none);
      break;
    }
    if (!node->colorEvaluated_) asking.push_back(node);
    if (node->colorEvaluated_ || node->findOwnColor()) {
      color = node->color_;
      none = node->colorIsDefault_;
      break;
    }
  }
  for (JtwNode* node : asking) {
    node->color_ = color;
    node->colorIsDefault_ = none;
    node->colorEvaluated_ = true;
  }
  isDefault = none;
  return color;
}

ApiGraColor jtw::colorOf(JtwNode& node, bool& isDefault) {
  return node.isCollection() ? node.evaluateColor(isDefault)
                             : static_cast<JtwLeaf&>(node).color(isDefault);
}

void JtwNode::setColor(const ApiGraColor& color, bool forced, bool overrideVertexColors) {
  color_ = color;
  colorEvaluated_ = true;
  colorIsDefault_ = false;
  if (!jtNode_) return;
  removeColorAttribute(jtNode());
  const auto material = jt::make<JtMaterial>();
  float red = 0;
  float green = 0;
  float blue = 0;
  color.getRGB(red, green, blue);
  material->setDiffuseColor(red, green, blue, color.getAlpha());
  if (forced) material->setForce(true);
  if (overrideVertexColors) material->setOverrideVertexColors(true);
  jtNode_->appendAttribute(material.get());
}

void JtwNode::removeColorAttribute(JtNode* node) {
  jtw::forEachBelow(node, [](JtNode& below) {
    const int index = getColorAttrIndex(&below);
    if (index >= 0) below.removeAttribute(index);
  });
}
