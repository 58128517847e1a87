#include "JtPathAttributes.h"

#include <algorithm>
#include <cmath>

#include "JtPartition.h"
#include "JtStyles.h"
#include "JtTexture.h"

namespace jt {
namespace {

bool isFinite(const Matrix4& matrix) {
  return std::all_of(matrix.begin(), matrix.end(), [](double v) { return std::isfinite(v); });
}

std::uint32_t bitOf(std::size_t field) { return 1U << field; }

/// The fields that are final for what is below the material.
std::uint32_t finalFieldsOf(const JtMaterial& material) {
  if (material.finalFlags() == 0) return 0;
  std::uint32_t fields = 0;
  for (std::size_t i = 0; i < kMaterialFields; ++i)
    if (material.isFinal(static_cast<JtMaterialField>(i))) fields |= bitOf(i);
  return fields;
}

/// The nearest style holds, unless one above is final and it does not force.
template <class Style>
void takeStyle(const Style*& holding, const JtAttribute* attribute) {
  const auto* own = as<Style>(attribute);
  if (!own || own->hasState(JtAttributeState::ignore)) return;
  if (!holding || !holding->isFinal() || own->hasState(JtAttributeState::force)) holding = own;
}

}  // namespace

Matrix4 localTransform(const JtNode& node, bool& isFinal) {
  Matrix4 local = kIdentity;
  const bool isFinalAbove = isFinal;
  for (int i = 0; i < node.numAttributes(); ++i) {
    const auto* xform = as<JtXform>(node.attribute(i));
    if (!xform || xform->hasState(JtAttributeState::ignore) || !isFinite(xform->matrix())) continue;
    if (isFinalAbove && !xform->hasState(JtAttributeState::force)) continue;
    local = multiply(local, xform->matrix());
    isFinal = isFinal || xform->isFinal();
  }
  return local;
}

void InheritedMaterial::take(const JtMaterial& own, std::uint32_t final) {
  if (own.hasState(JtAttributeState::ignore)) return;
  const bool forces = own.hasState(JtAttributeState::force);
  for (std::size_t i = 0; i < kMaterialFields; ++i)
    if (own.states(static_cast<JtMaterialField>(i)) && (forces || !(final & bitOf(i))))
      sources_[i] = &own;
}

Ref<const JtMaterial> InheritedMaterial::material() const {
  const bool isOne = std::ranges::all_of(sources_, [this](auto* s) { return s == sources_[0]; });
  if (isOne) return sources_[0];
  auto mixed = make<JtMaterial>();
  mixed->setOverrideVertexColors(false);
  for (std::size_t i = 0; i < kMaterialFields; ++i)
    if (sources_[i]) mixed->takeField(static_cast<JtMaterialField>(i), *sources_[i]);
  return mixed;
}

const InheritedTexture& PathAttributes::texture() const noexcept {
  static const InheritedTexture kNone;
  const auto lowest = std::ranges::min_element(
      textures_, {}, [](const InheritedTexture& texture) { return texture.attribute->channel(); });
  return lowest == textures_.end() ? kNone : *lowest;
}

/// @param inherited count of the textures that are from ancestors
void PathAttributes::takeTexture(const JtTextureImage& own, std::size_t inherited) {
  constexpr std::uint32_t kImages = 0x01;  // field of the flags: type and images
  if (own.hasState(JtAttributeState::ignore) || (own.inhibitFlags() & kImages) != 0) return;
  const auto known = std::ranges::find(
      textures_, own.channel(), [](const InheritedTexture& t) { return t.attribute->channel(); });
  const bool isFinal = (own.finalFlags() & kImages) != 0;
  if (known == textures_.end()) {
    textures_.push_back({&own, file_, isFinal});
    return;
  }
  const bool isFromAbove = static_cast<std::size_t>(known - textures_.begin()) < inherited;
  if (isFromAbove && known->isFinal && !own.hasState(JtAttributeState::force)) return;
  *known = {&own, file_, isFinal || known->isFinal};
}

Matrix4 PathAttributes::enter(const JtNode& node) {
  const auto* partition = as<JtPartition>(&node);
  if (partition && !partition->externalPartition()) file_ = partition;
  const Matrix4 local = localTransform(node, isTransformFinal_);
  toRoot_ = multiply(local, toRoot_);
  const std::uint32_t finalAbove = finalFields_;
  const std::size_t inherited = textures_.size();
  for (int i = 0; i < node.numAttributes(); ++i) {
    if (const auto* material = as<JtMaterial>(node.attribute(i))) {
      material_.take(*material, finalAbove);
      if (!material->hasState(JtAttributeState::ignore)) finalFields_ |= finalFieldsOf(*material);
    } else if (const auto* texture = as<JtTextureImage>(node.attribute(i))) {
      takeTexture(*texture, inherited);
    } else {
      takeStyle(lineStyle_, node.attribute(i));
      takeStyle(pointStyle_, node.attribute(i));
    }
  }
  return local;
}

}  // namespace jt
