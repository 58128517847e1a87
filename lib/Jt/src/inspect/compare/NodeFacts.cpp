#include "inspect/compare/NodeFacts.h"

#include <bit>
#include <cmath>
#include <functional>

#include "Jt.h"
#include "JtHash.h"
#include "JtMaterial.h"
#include "JtPartUtil.h"
#include "JtPartition.h"
#include "JtXform.h"

namespace jt::compare_detail {

namespace {

std::uint64_t hashOf(const JtString& text) { return TextHash{}(text) | 1U; }

std::uint64_t hashOf(float value) noexcept {
  return value == 0 ? 0U : std::bit_cast<std::uint32_t>(value);
}

/// In single precision, since not every version holds more.
std::uint64_t hashOf(const JtAttribute& attribute) {
  auto hash = std::hash<const void*>{}(attribute.typeID());
  if (const auto* xform = as<JtXform>(&attribute))
    for (const double value : xform->matrix())
      hash = mixHash(hash, hashOf(static_cast<float>(value)));
  if (const auto* material = as<JtMaterial>(&attribute))
    for (const float value : material->diffuse()) hash = mixHash(hash, hashOf(value));
  return hash;
}

std::uint64_t hashOf(const Box& box) {
  std::uint64_t hash = 0;
  for (const float value : box.min) hash = mixHash(hash, hashOf(value));
  for (const float value : box.max) hash = mixHash(hash, hashOf(value));
  return hash;
}

/// Greatest distance from the origin.
double reachOf(const Box& box) {
  double square = 0;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    const double most = std::max(std::abs(static_cast<double>(box.min[axis])),
                                 std::abs(static_cast<double>(box.max[axis])));
    square += most * most;
  }
  return std::sqrt(square);
}

/// The same for what a node shows in its parent.
double placedReach(const JtNode& node, double reach) {
  for (int i = 0; i < node.numAttributes(); ++i) {
    const auto* xform = as<JtXform>(node.attribute(i));
    if (!xform) continue;
    const Matrix4& m = xform->matrix();
    double scale = 0;
    for (std::size_t row = 0; row < 3; ++row)
      scale = std::max(scale, std::hypot(m[4 * row], m[4 * row + 1], m[4 * row + 2]));
    reach = scale * reach + std::hypot(m[12], m[13], m[14]);
  }
  return reach;
}

}  // namespace

std::uint64_t hashOf(const JtPropAtom& atom) {
  if (const auto* text = as<JtStringPropAtom>(&atom)) return hashOf(text->value());
  if (const auto* number = as<JtInt32PropAtom>(&atom))
    return mixHash(2, static_cast<std::uint32_t>(number->value()));
  if (const auto* number = as<JtFloatPropAtom>(&atom)) return mixHash(3, hashOf(number->value()));
  return 5;
}

GraphFacts::GraphFacts(const JtNode& root, std::span<const std::string> identityKeys) {
  for (const std::string& key : identityKeys) keys_.emplace_back(key);
  struct Level {
    const JtNode* node;
    NodeFacts* facts;  // the map keeps its entries in place
    int next = 0;
  };
  std::vector<Level> stack;
  const auto enter = [&](const JtNode* node, NodeFacts& facts) {
    facts = describe(*node);
    if (facts.key) keyHashes_.insert(facts.keyHash);
    facts.subtree = facts.content;
    stack.push_back({node, &facts});
  };
  enter(&root, facts_[&root]);
  while (!stack.empty()) {
    Level& level = stack.back();
    if (level.next < numOwnChildren(*level.node)) {
      const JtNode* child = ownChild(*level.node, level.next++);
      ++edges_;
      const auto [place, isNew] = facts_.try_emplace(child);
      if (isNew)
        enter(child, place->second);
      else
        addChild(*level.facts, *child, place->second);
      continue;
    }
    const Level done = level;
    stack.pop_back();
    if (!stack.empty()) addChild(*stack.back().facts, *done.node, *done.facts);
  }
}

void GraphFacts::addChild(NodeFacts& facts, const JtNode& child, const NodeFacts& childFacts) {
  facts.subtree = mixHash(facts.subtree, childFacts.subtree);
  facts.reach = std::max(facts.reach, placedReach(child, childFacts.reach));
}

NodeFacts GraphFacts::describe(const JtNode& node) const {
  static const JtString nameKey(Jt::jtPropName);
  NodeFacts facts;
  std::uint64_t properties = 0;  // their order does not count
  JtPropAtom* key = nullptr;
  JtPropAtom* value = nullptr;
  for (int i = 0; node.getProperty(i, key, value); ++i) {
    properties += mixHash(hashOf(*key), hashOf(*value));
    const auto* text = as<JtStringPropAtom>(key);
    if (!text) continue;
    const auto* valueText = as<JtStringPropAtom>(value);
    if (!facts.name && valueText && text->value() == nameKey) facts.name = &valueText->value();
    for (const JtString& identity : keys_)
      if (!facts.key && text->value() == identity) facts.key = value;
  }
  if (facts.key) facts.keyHash = hashOf(*facts.key);
  if (facts.name && !facts.name->isEmpty()) facts.nameHash = hashOf(*facts.name);
  std::uint64_t hash = std::hash<const void*>{}(node.typeID());
  hash = mixHash(mixHash(hash, node.nodeFlags()), properties);
  for (int i = 0; i < node.numAttributes(); ++i) hash = mixHash(hash, hashOf(*node.attribute(i)));
  if (const auto* shape = as<JtShape>(&node)) {
    hash = mixHash(hash, hashOf(shape->statistics().box));
    facts.reach = reachOf(shape->statistics().box);
  }
  if (const auto* partition = as<JtPartition>(&node))
    hash = mixHash(hash, hashOf(partition->fileName()));
  facts.content = hash;
  facts.millimetres = JtPartUtil::millimetresOf(node);
  return facts;
}

}  // namespace jt::compare_detail
