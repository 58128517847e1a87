#include "JtAttribute.h"

#include <bit>

#include "JtMaterial.h"
#include "JtStyles.h"
#include "JtXform.h"

void JtAttribute::setState(JtAttributeState state, bool on) {
  if (isCarried()) return;
  const auto bit = static_cast<std::uint8_t>(state);
  stateFlags_ = static_cast<std::uint8_t>(on ? stateFlags_ | bit : stateFlags_ & ~bit);
  touch();
}

void JtAttribute::clearInhibitFlags(std::uint32_t bits) {
  if (isCarried() || (inhibitFlags_ & bits) == 0) return;
  inhibitFlags_ &= ~bits;
  touch();
}

bool JtAttribute::isBaseEqualTo(const JtAttribute& other) const noexcept {
  const bool hasFieldFlags = (inhibitFlags_ | finalFlags_) != 0;
  return stateFlags_ == other.stateFlags_ && inhibitFlags_ == other.inhibitFlags_ &&
         finalFlags_ == other.finalFlags_ &&
         (!hasFieldFlags || fieldFlagsOf10_ == other.fieldFlagsOf10_) &&
         tail_.value_or(-1) == other.tail_.value_or(-1) &&
         (surplus_ == other.surplus_ ||
          (surplus_ && other.surplus_ && *surplus_ == *other.surplus_));
}

// --- JtMaterial

jt::Ref<JtBase> JtMaterial::clone() const { return jt::Ref<JtBase>(new JtMaterial(*this)); }

void JtMaterial::setAmbientColor(float red, float green, float blue, float alpha) {
  ambient_ = {red, green, blue, alpha};
  clearPattern(0x02);
}

void JtMaterial::setDiffuseColor(float red, float green, float blue, float alpha) {
  diffuse_ = {red, green, blue, alpha};
  setBlending(alpha < 1);
}

void JtMaterial::setBlending(bool on) {
  constexpr unsigned kBlending = 0x0010;
  constexpr unsigned kFactors = 0xffc0;
  constexpr unsigned kUsualFactors = 6U << 6 | 7U << 11;
  unsigned flags = on ? dataFlags_ | kBlending : dataFlags_ & ~kBlending;
  if (on && (flags & kFactors) == 0) flags |= kUsualFactors;
  dataFlags_ = static_cast<std::uint16_t>(flags);
  touch();
}

std::uint32_t JtMaterial::inhibitBits(JtMaterialField field) const noexcept {
  // Before 10.x one bit stands for diffuse colour and alpha together; 9.5 adds one for each.
  const bool is10 = hasFieldFlagsOf10();
  switch (field) {
    case JtMaterialField::ambient:
      return 0x001;
    case JtMaterialField::diffuse:
      return is10 ? 0x040 : 0x082;
    case JtMaterialField::alpha:
      return is10 ? 0x080 : 0x102;
    case JtMaterialField::overrideVertexColors:
      return is10 ? 0x010 : 0x020;
  }
  return 0;
}

bool JtMaterial::states(JtMaterialField field) const noexcept {
  return (inhibitFlags() & inhibitBits(field)) == 0;
}

void JtMaterial::state(JtMaterialField field) { clearInhibitFlags(inhibitBits(field)); }

std::array<std::uint32_t, 20> JtMaterial::values() const noexcept {
  // The low bits tell how 8.x files store the colours.
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
  for (const std::uint32_t value : values()) {
    hash = (hash ^ value) * 0x9e3779b97f4a7c15U;
    hash ^= hash >> 29;
  }
  return static_cast<std::size_t>(hash);
}

void JtMaterial::setSpecularColor(float red, float green, float blue, float alpha) {
  specular_ = {red, green, blue, alpha};
  clearPattern(0x04);
}

void JtMaterial::setEmissionColor(float red, float green, float blue, float alpha) {
  emission_ = {red, green, blue, alpha};
  clearPattern(0x08);
}

void JtMaterial::clearPattern(std::uint8_t bit) {
  pattern_ = static_cast<std::uint8_t>(pattern_ & ~bit);
  dataFlags_ = static_cast<std::uint16_t>(dataFlags_ & ~bit);
  touch();
}

void JtMaterial::setShininess(float shininess) {
  shininess_ = shininess;
  touch();
}

void JtMaterial::setReflectivity(float reflectivity) {
  reflectivity_ = reflectivity;
  touch();
}

void JtMaterial::setBumpiness(float bumpiness) {
  bumpiness_ = bumpiness;
  touch();
}

void JtMaterial::setOverrideVertexColors(bool on) {
  constexpr std::uint16_t kOverride = 0x0020;
  dataFlags_ = static_cast<std::uint16_t>(on ? dataFlags_ | kOverride : dataFlags_ & ~kOverride);
  touch();
}

// --- JtXform

jt::Ref<JtBase> JtXform::clone() const { return jt::Ref<JtBase>(new JtXform(*this)); }

void JtXform::setMatrix(const jt::Matrix4& matrix) {
  matrix_ = matrix;
  storedMask_.reset();
  touch();
}

jt::Matrix4 jt::multiply(const Matrix4& a, const Matrix4& b) {
  Matrix4 product{};
  for (std::size_t row = 0; row < 4; ++row)
    for (std::size_t column = 0; column < 4; ++column) {
      double sum = 0;
      for (std::size_t k = 0; k < 4; ++k) sum += a[4 * row + k] * b[4 * k + column];
      product[4 * row + column] = sum;
    }
  return product;
}

// --- Styles

void JtDrawStyle::set(Flag flag, bool on) {
  const auto bit = static_cast<std::uint8_t>(flag);
  flags_ = static_cast<std::uint8_t>(on ? flags_ | bit : flags_ & ~bit);
  touch();
}

void JtLineStyle::setLineType(JtLineType type) {
  flags_ = static_cast<std::uint8_t>((flags_ & 0xf0) | static_cast<std::uint8_t>(type));
  touch();
}

void JtLineStyle::setAntialiased(bool on) {
  flags_ = static_cast<std::uint8_t>(on ? flags_ | 0x10 : flags_ & ~0x10);
  touch();
}

void JtLineStyle::setWidth(float pixels) {
  width_ = pixels;
  touch();
}

void JtPointStyle::setAntialiased(bool on) {
  flags_ = static_cast<std::uint8_t>(on ? flags_ | 0x10 : flags_ & ~0x10);
  touch();
}

void JtPointStyle::setSize(float pixels) {
  size_ = pixels;
  touch();
}
