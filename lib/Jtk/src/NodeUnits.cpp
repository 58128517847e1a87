#include "NodeUnits.h"

#include <cmath>
#include <memory>
#include <unordered_map>
#include <utility>
#include <vector>

#include "Jt.h"
#include "JtPartUtil.h"
#include "JtPathAttributes.h"
#include "JtkUnits.h"
#include "PMIScale.h"
#include "VisMetaDataNode.h"

namespace jtk {
namespace {

constexpr double kMillimetersPerMeter = 1000;

/// Geometry without a mesh of its own is enlarged by a transform.
void enlarge(JtShape& shape, double scale) {
  jt::Matrix4 matrix = jt::kIdentity;
  matrix[0] = matrix[5] = matrix[10] = scale;
  bool isFinal = false;
  const jt::Matrix4 own = jt::localTransform(shape, isFinal);
  for (int i = shape.numAttributes(); i-- > 0;)
    if (jt::as<JtXform>(shape.attribute(i))) shape.removeAttribute(i);
  shape.appendAttribute(jt::make<JtXform>(jt::multiply(matrix, own)).get());
}

/// Everything of one node, without its unit.
void scaleNode(JtNode& node, double scale) {
  if (auto* shape = jt::as<JtShape>(&node)) {
    scaleShape(*shape, scale);
    return;
  }
  scaleTransforms(node, scale);
  auto* holder = jt::as<VisMetaDataNode>(&node);
  if (!holder) return;
  if (const PMIDataManager* pmi = holder->pmi()) holder->setPMI(scaledPMI(*pmi, scale).get());
  holder->addProperty(
      JtString(Jt::jtPropMeasurementUnits),
      jt::make<JtStringPropAtom>(JtString(JtPartUtil::unitName(JtPartUtil::millimeters))).get(),
      true);
}

}  // namespace

/// Millimetres per unit that the node itself names; nothing when it names none.
std::optional<double> ownScale(const JtNode& node) {
  JtPartUtil::Unit unit = JtPartUtil::unknown;
  double meters = 0;
  if (!JtPartUtil::obtainMeasureUnit(&node, unit) ||
      !JtPartUtil::obtainScaleToXtFromUnit(unit, meters))
    return {};
  const double scale = meters * kMillimetersPerMeter;
  // Products of decimal fractions: 0.001 * 1000 need not be 1.
  return std::abs(scale - 1) < 1e-12 ? 1 : scale;
}

/// The scale that a node takes from what is above it.
double inheritedScale(const JtNode& node) {
  constexpr int kMostLevels = 100'000;
  const JtNode* above = node.parent(0);
  for (int level = 0; above && level < kMostLevels; ++level, above = above->parent(0))
    if (const auto scale = ownScale(*above)) return *scale;
  return 1;
}

jt::Matrix4 scaledTransform(const jt::Matrix4& matrix, double scale) {
  jt::Matrix4 scaled = matrix;
  for (const std::size_t place : {12U, 13U, 14U}) scaled[place] *= scale;
  return scaled;
}

void scaleTransforms(JtNode& node, double scale) {
  for (int i = 0; i < node.numAttributes(); ++i) {
    const auto* transform = jt::as<JtXform>(node.attribute(i));
    if (!transform) continue;
    const auto copy = transform->clone();
    auto* scaled = jt::as<JtXform>(copy.get());
    scaled->setMatrix(scaledTransform(transform->matrix(), scale));
    node.replaceAttribute(i, scaled);
  }
}

void scaleShape(JtShape& shape, double scale) {
  scaleTransforms(shape, scale);
  const auto mesh = shape.takes() && shape.hasMesh() ? shape.mesh() : nullptr;
  if (!mesh) {
    enlarge(shape, scale);
    return;
  }
  auto scaled = std::make_shared<jt::Mesh>(*mesh);
  for (jt::Vec3f& position : scaled->positions)
    for (float& value : position) value = static_cast<float>(static_cast<double>(value) * scale);
  shape.releaseMesh();
  shape.setMesh(std::move(scaled));
}

/// A node that is below nodes of several units has that of the first path to it.
void convertToMillimeters(JtNode& top) {
  std::unordered_map<JtNode*, double> scales;
  std::vector<std::pair<JtNode*, double>> open{{&top, inheritedScale(top)}};
  while (!open.empty()) {
    const auto [node, inherited] = open.back();
    open.pop_back();
    const double scale = ownScale(*node).value_or(inherited);
    if (!scales.emplace(node, scale).second) continue;
    for (int i = node->numChildren(); i-- > 0;)
      if (JtNode* child = node->child(i)) open.emplace_back(child, scale);
  }
  for (const auto& [node, scale] : scales)
    if (scale != 1) scaleNode(*node, scale);
}

}  // namespace jtk
