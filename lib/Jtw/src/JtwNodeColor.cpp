#include <optional>
#include <vector>

#include "JtMaterial.h"
#include "JtwNode.h"
#include "JtwRoot.h"
#include "JtwSceneGraph.h"
#include "JtwTransforms.h"
#include "JtwWalkMemo.h"

int JtwNode::getColorAttrIndex(JtNode* node) { return jtw::firstAttribute<JtMaterial>(node); }

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
  jtw::WalkMemo* const memo = this->memo();
  std::vector<const JtNode*> passed;
  std::optional<ApiGraColor> found;
  for (JtNode* node = jtNode(); node && !found; node = node->parent(0)) {
    if (node != jtNode() && endsWalk(node)) break;
    if (memo) {
      if (const auto known = memo->colors.find(node); known != memo->colors.end()) {
        found = known->second;
        break;
      }
      passed.push_back(node);
    }
    ApiGraColor color;
    if (computeNodeColor(node, color)) found = color;
  }
  if (memo)
    for (const JtNode* below : passed) memo->colors.emplace(below, found);
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
