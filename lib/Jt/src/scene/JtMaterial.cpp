#include "JtMaterial.h"

#include <algorithm>
#include <bit>

#include "JtHash.h"
#include "scene/Recording.h"

jt::Ref<JtBase> JtMaterial::clone() const { return jt::Ref<JtBase>(new JtMaterial(*this)); }

void JtMaterial::setAmbientColor(float red, float green, float blue, float alpha) {
  record(ambient_);
  ambient_ = {red, green, blue, alpha};
  clearPattern(0x02);
}

void JtMaterial::setDiffuseColor(float red, float green, float blue, float alpha) {
  record(diffuse_);
  diffuse_ = {red, green, blue, alpha};
  setBlending(alpha < 1);
}

void JtMaterial::setBlending(bool on) {
  constexpr unsigned kBlending = 0x0010;
  constexpr unsigned kFactors = 0xffc0;
  constexpr unsigned kUsualFactors = 6U << 6 | 7U << 11;
  unsigned flags = on ? dataFlags_ | kBlending : dataFlags_ & ~kBlending;
  if (on && (flags & kFactors) == 0) flags |= kUsualFactors;
  change(dataFlags_);
  dataFlags_ = static_cast<std::uint16_t>(flags);
}

namespace {

// In the order of JtMaterialField. Before 10.x bit 1 is for diffuse color and alpha together; 9.5
// adds one for each.
constexpr std::array<jt::FieldBits, jt::kMaterialFields> kMaterialBits{{{0x001, 0x01},
                                                                        {0x004, 0x02},
                                                                        {0x008, 0x04},
                                                                        {0x010, 0x08},
                                                                        {0x020, 0x10},
                                                                        {0x040, 0x20},
                                                                        {0x082, 0x40},
                                                                        {0x102, 0x80}}};

const jt::FieldBits& bitsOf(JtMaterialField field) {
  return kMaterialBits[static_cast<std::size_t>(field)];
}

constexpr unsigned kOverrideFlag = 0x0020;
/// Blending and its factors.
constexpr unsigned kBlendFlags = 0xffd0;

}  // namespace

std::span<const jt::FieldBits> JtMaterial::fieldBits() const noexcept { return kMaterialBits; }

bool JtMaterial::states(JtMaterialField field) const noexcept {
  return (inhibitFlags() & bitsOf(field).from10) == 0;
}

bool JtMaterial::isFinal(JtMaterialField field) const noexcept {
  return (finalFlags() & bitsOf(field).from10) != 0;
}

void JtMaterial::state(JtMaterialField field) { stateField(bitsOf(field)); }

void JtMaterial::takeField(JtMaterialField field, const JtMaterial& from) {
  const auto takeFlags = [&](unsigned mask) {
    change(dataFlags_);
    dataFlags_ = static_cast<std::uint16_t>((dataFlags_ & ~mask) | (from.dataFlags_ & mask));
  };
  switch (field) {
    case JtMaterialField::ambient:
      return setAmbientColor(from.ambient_[0], from.ambient_[1], from.ambient_[2],
                             from.ambient_[3]);
    case JtMaterialField::specular:
      setShininess(from.shininess_);
      setBumpiness(from.bumpiness_);
      return setSpecularColor(from.specular_[0], from.specular_[1], from.specular_[2],
                              from.specular_[3]);
    case JtMaterialField::emission:
      return setEmissionColor(from.emission_[0], from.emission_[1], from.emission_[2],
                              from.emission_[3]);
    case JtMaterialField::blending:
      return takeFlags(kBlendFlags);
    case JtMaterialField::overrideVertexColors:
      return takeFlags(kOverrideFlag);
    case JtMaterialField::reflectivity:
      return setReflectivity(from.reflectivity());
    case JtMaterialField::diffuse:
      change(diffuse_);
      std::copy_n(from.diffuse_.begin(), 3, diffuse_.begin());
      return;
    case JtMaterialField::alpha:
      change(diffuse_);
      diffuse_[3] = from.diffuse_[3];
      return;
  }
}

std::array<std::uint32_t, 20> JtMaterial::values() const noexcept {
  // The low bits select how 8.x files store the colors.
  constexpr unsigned kStorage = 0x000f;
  std::array<std::uint32_t, 20> all{
      dataFlags_ & ~kStorage, std::bit_cast<std::uint32_t>(shininess_),
      std::bit_cast<std::uint32_t>(reflectivity()), std::bit_cast<std::uint32_t>(bumpiness_)};
  std::size_t next = 4;
  for (const jt::Rgba* color : {&ambient_, &diffuse_, &specular_, &emission_})
    for (const float component : *color) all[next++] = std::bit_cast<std::uint32_t>(component);
  return all;
}

bool JtMaterial::isEqualTo(const JtMaterial& other) const noexcept {
  return values() == other.values() && isBaseEqualTo(other);
}

std::size_t JtMaterial::hash() const noexcept {
  std::uint64_t hash = stateFlags();
  for (const std::uint32_t value : values()) hash = jt::mixHash(hash, value);
  return static_cast<std::size_t>(hash);
}

void JtMaterial::setSpecularColor(float red, float green, float blue, float alpha) {
  record(specular_);
  specular_ = {red, green, blue, alpha};
  clearPattern(0x04);
}

void JtMaterial::setEmissionColor(float red, float green, float blue, float alpha) {
  record(emission_);
  emission_ = {red, green, blue, alpha};
  clearPattern(0x08);
}

void JtMaterial::clearPattern(std::uint8_t bit) {
  change(pattern_, dataFlags_);
  pattern_ = static_cast<std::uint8_t>(pattern_ & ~bit);
  dataFlags_ = static_cast<std::uint16_t>(dataFlags_ & ~bit);
}

void JtMaterial::setShininess(float shininess) {
  change(shininess_);
  shininess_ = shininess;
}

void JtMaterial::setReflectivity(float reflectivity) {
  change(reflectivity_);
  reflectivity_ = reflectivity;
}

void JtMaterial::setBumpiness(float bumpiness) {
  change(bumpiness_);
  bumpiness_ = bumpiness;
}

void JtMaterial::setOverrideVertexColors(bool on) {
  change(dataFlags_);
  dataFlags_ =
      static_cast<std::uint16_t>(on ? dataFlags_ | kOverrideFlag : dataFlags_ & ~kOverrideFlag);
}
