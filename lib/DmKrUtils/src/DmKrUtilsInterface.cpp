#include "DmKrUtilsInterface.h"

#include <exception>
#include <stdexcept>
#include <unordered_set>
#include <vector>

#include "JtMaterial.h"
#include "JtStorageLocation.h"

namespace dmkr {
namespace {

/// No flag that could give the attribute a part in how others act.
bool isPlain(const JtAttribute& attribute) {
  return !attribute.hasState(JtAttributeState::force) && attribute.inhibitFlags() == 0 &&
         attribute.finalFlags() == 0;
}

bool looksTheSame(const JtMaterial& a, const JtMaterial& b) {
  return a.ambient() == b.ambient() && a.diffuse() == b.diffuse() && a.specular() == b.specular() &&
         a.emission() == b.emission() && a.shininess() == b.shininess() &&
         a.reflectivity() == b.reflectivity() && a.bumpiness() == b.bumpiness() &&
         a.blending() == b.blending() && a.overrideVertexColors() == b.overrideVertexColors();
}

/// True when the material before this one on the same node says the same.
bool repeatsMaterialBefore(const JtNode& node, int index, const JtMaterial& material) {
  for (int before = index - 1; before >= 0; --before)
    if (const auto* other = jt::as<JtMaterial>(node.attribute(before)))
      return isPlain(*other) && !other->hasState(JtAttributeState::ignore) &&
             (other == &material || looksTheSame(*other, material));
  return false;
}

bool hasNoEffect(const JtNode& node, int index) {
  const JtAttribute* attribute = node.attribute(index);
  if (!attribute || jt::as<JtOpaqueAttribute>(attribute)) return false;
  if (attribute->hasState(JtAttributeState::ignore)) return true;
  if (!isPlain(*attribute)) return false;
  if (const auto* xform = jt::as<JtXform>(attribute)) return xform->matrix() == jt::kIdentity;
  if (const auto* material = jt::as<JtMaterial>(attribute))
    return repeatsMaterialBefore(node, index, *material);
  return false;
}

int cleanNode(JtNode& node) {
  if (!node.isModified() || node.isOpaque()) return 0;
  int removed = 0;
  for (int index = node.numAttributes() - 1; index >= 0; --index)
    if (hasNoEffect(node, index) && node.removeAttribute(index)) ++removed;
  return removed;
}

}  // namespace
}  // namespace dmkr

int DmKrUtilsInterface::cleanupUnusedAttributes(JtNode* top) {
  int removed = 0;
  std::unordered_set<const JtNode*> seen;
  std::vector<JtNode*> open;
  if (top) open.push_back(top);
  while (!open.empty()) {
    JtNode* node = open.back();
    open.pop_back();
    if (!seen.insert(node).second) continue;
    removed += dmkr::cleanNode(*node);
    for (int index = 0; index < node->numChildren(); ++index)
      if (JtNode* child = node->child(index)) open.push_back(child);
  }
  return removed;
}

jt::Ref<JtPartition> DmKrUtilsInterface::OpenJt(const RWClassicCString& path,
                                                const jt::ReadLimits& limits) {
  jt::setLastError({});
  JtPartition* opened = nullptr;
  try {
    const auto place = jt::make<JtFSStorageLocation>(path);
    JtPartition::openPartition(place.get(), nullptr, opened, limits);
  } catch (const std::exception& failure) {
    jt::setLastError(failure, path);
  } catch (...) {
    jt::setLastError(std::runtime_error("an exception of unknown type was thrown"), path);
  }
  return jt::Ref<JtPartition>::adopt(opened);
}

bool DmKrUtilsInterface::setMatrix(JtXform* xform, const jt::Matrix4& matrix) {
  if (!xform) return false;
  xform->setMatrix(matrix);
  return true;
}
