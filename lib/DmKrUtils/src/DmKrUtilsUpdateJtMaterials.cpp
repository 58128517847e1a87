#include "DmKrUtilsUpdateJtMaterials.h"

#include <algorithm>
#include <exception>
#include <optional>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "JtByteText.h"
#include "JtMaterial.h"
#include "JtShape.h"

namespace dmkr {
namespace {

using Field = JtMaterialField;
using Result = DmKrUtilsUpdateJtMaterials::Result;

/// One entry in a node's list of attributes.
struct Use {
  JtNode* node;
  int index;
  JtMaterial* material;
};

struct Facts {
  int uses = 0;
  /// For a material over vertex colors that does not say whether it hides them: what holds.
  std::optional<bool> overridesColors;
  bool keepsPlace = false;
};

/// The materials of a graph, in the order in which they are met.
struct Materials {
  std::vector<Use> uses;
  std::vector<JtMaterial*> distinct;
  std::unordered_map<const JtMaterial*, Facts> facts;
};

/// What the materials from the top to a node say about vertex colors.
struct Inherited {
  bool overridesColors = false;
  JtMaterial* open = nullptr;  // the nearest one, when it does not say
};

bool hasVertexColors(const JtShape& shape) {
  constexpr std::uint64_t kColorBindings = 0x30;
  const auto* vertices = jt::as<JtVertexShape>(&shape);
  if (vertices && (vertices->vertexBindings() & kColorBindings) != 0) return true;
  // Many producers leave the node's bindings empty; the geometry decides.
  if (!shape.hasMesh()) return false;
  const auto mesh = shape.mesh();
  shape.releaseMesh();
  return mesh && !mesh->colors.empty();
}

/// Enters the node's own materials; gives what its children inherit.
Inherited addMaterials(JtNode& node, Inherited inherited, Materials& all) {
  for (int index = 0; index < node.numAttributes(); ++index) {
    auto* material = jt::as<JtMaterial>(node.attribute(index));
    if (!material) continue;
    all.uses.push_back({&node, index, material});
    if (++all.facts[material].uses == 1) all.distinct.push_back(material);
    if (material->hasState(JtAttributeState::ignore)) continue;
    if (material->states(Field::overrideVertexColors))
      inherited = {material->overrideVertexColors(), nullptr};
    else
      inherited.open = material;
  }
  const auto* shape = jt::as<JtShape>(&node);
  if (!shape || !inherited.open) return inherited;
  Facts& facts = all.facts[inherited.open];
  if (!facts.overridesColors && hasVertexColors(*shape))
    facts.overridesColors = inherited.overridesColors;
  return inherited;
}

Materials collect(JtPartition& top) {
  struct Step {
    JtNode* node;
    Inherited inherited;
  };
  Materials all;
  std::unordered_set<const JtNode*> shared;
  std::vector<Step> pending{{&top, {}}};
  while (!pending.empty()) {
    const Step step = pending.back();
    pending.pop_back();
    if (step.node->numParents() > 1 && !shared.insert(step.node).second) continue;
    const Inherited inherited = addMaterials(*step.node, step.inherited, all);
    const auto* partition = jt::as<JtPartition>(step.node);
    if (partition && partition->externalPartition()) continue;
    for (int index = step.node->numChildren(); index-- > 0;)
      if (JtNode* child = step.node->child(index)) pending.push_back({child, inherited});
  }
  return all;
}

/// The component in 0..1; not a number becomes `fallback`.
float inRange(float component, float fallback) {
  return component != component ? fallback : std::clamp(component, 0.0F, 1.0F);
}

bool bringInRange(jt::Rgba& color) {
  const jt::Rgba old = color;
  for (std::size_t i = 0; i < color.size(); ++i) color[i] = inRange(color[i], i == 3 ? 1.0F : 0.0F);
  return color != old;
}

/// Sets color and opacity; blending follows only a new opacity.
void setDiffuse(JtMaterial& material, const jt::Rgba& color) {
  const bool isBlending = material.blending();
  const bool sameAlpha = material.diffuse()[3] == color[3];
  material.setDiffuseColor(color[0], color[1], color[2], color[3]);
  if (sameAlpha && material.blending() != isBlending) material.setBlending(isBlending);
}

bool clamp(JtMaterial& material) {
  jt::Rgba ambient = material.ambient();
  jt::Rgba diffuse = material.diffuse();
  jt::Rgba specular = material.specular();
  jt::Rgba emission = material.emission();
  const bool ambientChanges = bringInRange(ambient);
  const bool diffuseChanges = bringInRange(diffuse);
  const bool specularChanges = bringInRange(specular);
  const bool emissionChanges = bringInRange(emission);
  if (ambientChanges) material.setAmbientColor(ambient[0], ambient[1], ambient[2], ambient[3]);
  if (diffuseChanges) setDiffuse(material, diffuse);
  if (specularChanges)
    material.setSpecularColor(specular[0], specular[1], specular[2], specular[3]);
  if (emissionChanges)
    material.setEmissionColor(emission[0], emission[1], emission[2], emission[3]);
  return ambientChanges || diffuseChanges || specularChanges || emissionChanges;
}

bool complete(JtMaterial& material) {
  const bool hasAmbient = material.states(Field::ambient);
  if (hasAmbient == material.states(Field::diffuse)) return false;
  if (hasAmbient) {
    const jt::Rgba& ambient = material.ambient();
    // Before 10.x the color may bring its opacity along.
    const bool hasAlpha = material.states(Field::alpha);
    material.state(Field::diffuse);
    const bool bringsAlpha = !hasAlpha && material.states(Field::alpha);
    const float alpha = bringsAlpha ? 1.0F : material.diffuse()[3];
    setDiffuse(material, {ambient[0], ambient[1], ambient[2], alpha});
  } else {
    const jt::Rgba& diffuse = material.diffuse();
    material.setAmbientColor(diffuse[0], diffuse[1], diffuse[2], 1);
    material.state(Field::ambient);
  }
  return true;
}

bool moveAlpha(JtMaterial& material) {
  const jt::Rgba ambient = material.ambient();
  const jt::Rgba diffuse = material.diffuse();
  const float alpha = ambient[3];
  const bool isElsewhere = diffuse[3] < 1 && material.states(Field::alpha);
  // 0 is what producers write that never thought of opacity.
  if (alpha <= 0 || alpha >= 1 || isElsewhere || !material.states(Field::ambient)) return false;
  material.setAmbientColor(ambient[0], ambient[1], ambient[2], 1);
  material.setDiffuseColor(diffuse[0], diffuse[1], diffuse[2], alpha);
  material.state(Field::alpha);
  return true;
}

bool stateOverride(JtMaterial& material, const Facts& facts) {
  if (!facts.overridesColors) return false;
  material.setOverrideVertexColors(*facts.overridesColors);
  material.state(Field::overrideVertexColors);
  return true;
}

void convert(JtMaterial& material, const Facts& facts, Result& result) {
  if (clamp(material)) ++result.clamped;
  if (complete(material)) ++result.completed;
  if (moveAlpha(material)) ++result.alphaMoved;
  if (stateOverride(material, facts)) ++result.overridesStated;
}

struct Hash {
  std::size_t operator()(const JtMaterial* material) const { return material->hash(); }
};
struct IsEqual {
  bool operator()(const JtMaterial* a, const JtMaterial* b) const { return a->isEqualTo(*b); }
};

/// Lists the first of equal materials in the place of the others.
void share(Materials& all, Result& result) {
  std::unordered_set<JtMaterial*, Hash, IsEqual> first(all.distinct.size());
  // Whatever gives way lives until the end: it is still looked up by its address.
  const std::vector<jt::Ref<JtMaterial>> holders(all.distinct.begin(), all.distinct.end());
  std::unordered_set<const JtMaterial*> gone;
  for (const Use& use : all.uses) {
    if (all.facts[use.material].keepsPlace) continue;
    JtMaterial* const shown = *first.insert(use.material).first;
    if (shown != use.material && use.node->replaceAttribute(use.index, shown) &&
        gone.insert(use.material).second)
      ++result.shared;
  }
}

void update(JtPartition& partition, bool isInUse, Result& result) {
  Materials all = collect(partition);
  result.materials = all.distinct.size();
  for (JtMaterial* material : all.distinct) {
    Facts& facts = all.facts[material];
    facts.keepsPlace = isInUse && material->refCount() > facts.uses;
    convert(*material, facts, result);
  }
  share(all, result);
}

}  // namespace
}  // namespace dmkr

bool DmKrUtilsUpdateJtMaterials::execute(JtPartition* partition, Result& result) const {
  result = {};
  jt::setLastError({});
  if (!partition) return false;
  try {
    dmkr::update(*partition, isInUse_, result);
    return true;
  } catch (const std::exception& failure) {
    const JtStorageLocation* const place = partition->storageLocation();
    jt::setLastError(failure, place ? jt::bytesOfText(place->displayName()) : std::string());
    return false;
  }
}
