#include "PartGeometry.h"

#include <algorithm>
#include <memory>
#include <string>
#include <utility>

#include "JtLOD.h"
#include "JtPathAttributes.h"
#include "JtSwitch.h"
#include "NodeUnits.h"
#include "PartBreps.h"

namespace jtk {
namespace {

/// A node on the way to shapes, and what the path to it adds up to.
struct Step {
  JtNode* node;
  int lod;  ///< -1: not below an LOD node yet
  bool isHidden;
  jt::PathAttributes path;            ///< without the node itself
  std::vector<JtAttribute*> carried;  ///< neither transforms nor materials
  bool hasAttributes;                 ///< whether the path has any
};

bool isComposed(const JtAttribute* attribute) {
  return jt::as<JtXform>(attribute) || jt::as<JtMaterial>(attribute);
}

/// Puts what the path hands down onto the shape itself.
void takePath(JtShape& shape, const Step& step) {
  jt::PathAttributes path = step.path;
  path.enter(shape);
  for (int i = shape.numAttributes(); i-- > 0;)
    if (isComposed(shape.attribute(i))) shape.removeAttribute(i);
  std::vector<jt::Ref<JtAttribute>> own;
  while (JtAttribute* attribute = shape.attribute(0)) {
    own.emplace_back(attribute);
    shape.removeAttribute(0);
  }
  if (path.toRoot() != jt::kIdentity) shape.appendAttribute(jt::make<JtXform>(path.toRoot()).get());
  if (const auto material = path.material().material())
    shape.appendAttribute(const_cast<JtMaterial*>(material.get()));
  for (JtAttribute* attribute : step.carried) shape.appendAttribute(attribute);
  for (const auto& attribute : own) shape.appendAttribute(attribute.get());
}

void addShape(JtkPart& part, const JtShape& shape, const Step& step, double scale) {
  const jt::Ref<JtBase> copy = shape.clone();
  auto* own = jt::as<JtShape>(copy.get());
  if (!own) return;
  if (step.hasAttributes) takePath(*own, step);
  removeBreps(*own);
  if (scale != 1) scaleShape(*own, scale);
  if (step.isHidden) own->setIgnored(true);
  part.addShape(own, std::max(step.lod, 0), JtkPart::listOf(*own));
}

/// A part keeps its own transforms, those below it go to the geometry.
void addBrepsOf(JtkPart& part, const Step& step, bool isPart, double scale) {
  if (!hasBreps(*step.node)) return;
  jt::PathAttributes path = step.path;
  if (!isPart) path.enter(*step.node);
  addBreps(part, *step.node, path.toRoot(), scale,
           !isPart && (step.isHidden || step.node->isIgnored()));
}

/// The step from a node to one of its children.
Step below(const Step& step, JtNode& child, int lod) {
  Step next{&child, lod, step.isHidden, step.path, step.carried, step.hasAttributes};
  next.path.enter(*step.node);
  for (int i = 0; i < step.node->numAttributes(); ++i) {
    next.hasAttributes = true;
    JtAttribute* attribute = step.node->attribute(i);
    if (!isComposed(attribute)) next.carried.push_back(attribute);
  }
  next.isHidden = step.isHidden || step.node->isIgnored();
  return next;
}

void pushChildren(const Step& step, bool isTop, std::vector<Step>& open) {
  // The attributes of the part itself stay with the part.
  const Step start = isTop ? Step{step.node, step.lod, false, {}, {}, false} : step;
  const auto push = [&](JtNode* child, int lod) {
    if (!child) return;
    if (isTop)
      open.push_back({child, lod, false, {}, {}, false});
    else
      open.push_back(below(start, *child, lod));
  };
  if (const auto* alternatives = jt::as<JtSwitch>(step.node)) {
    push(alternatives->child(alternatives->selectedChild()), step.lod);
    return;
  }
  const bool isLOD = jt::as<JtLOD>(step.node) != nullptr;
  for (int i = step.node->numChildren(); i-- > 0;)
    push(step.node->child(i),
         isLOD ? std::min(std::max(step.lod, i), JtkPart::kMostLODs - 1) : step.lod);
}

}  // namespace

void addGeometry(JtkPart& part, JtNode& node, double scale, bool isExact) {
  constexpr std::size_t kMostPaths = 1'000'000;
  std::vector<Step> open{{&node, -1, false, {}, {}, false}};
  bool isTop = !jt::as<JtShape>(&node) && !jt::as<JtLOD>(&node);
  for (std::size_t paths = 0; !open.empty() && paths < kMostPaths; ++paths) {
    const Step step = std::move(open.back());
    open.pop_back();
    if (isExact) addBrepsOf(part, step, isTop, scale);
    if (const auto* lod = jt::as<JtRangeLOD>(step.node);
        lod && part.rangeLimits().empty() && !lod->rangeLimits().empty()) {
      std::vector<float> limits = lod->rangeLimits();
      for (float& limit : limits) limit = static_cast<float>(static_cast<double>(limit) * scale);
      part.setRangeLimits(std::move(limits));
    }
    if (const auto* shape = jt::as<JtShape>(step.node))
      addShape(part, *shape, step, scale);
    else if (step.node->isOpaque())
      part.setMissingShapes("the part has a node of a type that is not known");
    else
      pushChildren(step, isTop, open);
    isTop = false;
  }
  if (isExact) addBodyPools(part);
  if (!open.empty())
    part.setMissingShapes("the part has more than " + std::to_string(kMostPaths) +
                          " places of groups and shapes");
}

}  // namespace jtk
