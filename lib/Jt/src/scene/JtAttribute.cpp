#include "JtAttribute.h"

#include "JtMaterial.h"
#include "JtStyles.h"
#include "JtXform.h"

void JtAttribute::setState(JtAttributeState state, bool on) {
  if (isCarried()) return;
  const auto bit = static_cast<std::uint8_t>(state);
  stateFlags_ = static_cast<std::uint8_t>(on ? stateFlags_ | bit : stateFlags_ & ~bit);
  touch();
}

// --- JtMaterial

jt::Ref<JtBase> JtMaterial::clone() const { return jt::Ref<JtBase>(new JtMaterial(*this)); }

void JtMaterial::setAmbientColor(float red, float green, float blue, float alpha) {
  ambient_ = {red, green, blue, alpha};
  clearPattern(0x02);
}

void JtMaterial::setDiffuseColor(float red, float green, float blue, float alpha) {
  diffuse_ = {red, green, blue, alpha};
  constexpr std::uint16_t kBlending = 0x0010;
  dataFlags_ =
      static_cast<std::uint16_t>(alpha < 1 ? dataFlags_ | kBlending : dataFlags_ & ~kBlending);
  touch();
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
