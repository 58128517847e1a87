#include "JtAttribute.h"

#include <algorithm>
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

namespace {

/// State flag of 8.x and 9.x: final in all fields. Without meaning from 10.x on.
constexpr std::uint8_t kFinalBefore10 = 0x01;

}  // namespace

std::uint32_t JtAttribute::allFields() const noexcept {
  std::uint32_t all = 0;
  for (const jt::FieldBits& field : fieldBits()) all |= field.from10;
  return all != 0 ? all : ~std::uint32_t{0};
}

std::uint32_t JtAttribute::finalFlags() const noexcept {
  if (fieldFlagsOf10_) return finalFlags_;
  return (stateFlags_ & kFinalBefore10) != 0 ? allFields() : 0;
}

bool JtAttribute::isFinal() const noexcept {
  const std::uint32_t flags = finalFlags();
  if (fieldBits().empty()) return flags != 0;
  return (flags & allFields()) == allFields();
}

void JtAttribute::setFinal(bool on) {
  if (isCarried()) return;
  if (fieldFlagsOf10_) {
    finalFlags_ = on ? allFields() : 0;
  } else {
    stateFlags_ = static_cast<std::uint8_t>(on ? stateFlags_ | kFinalBefore10
                                               : stateFlags_ & ~kFinalBefore10);
  }
  touch();
}

std::uint8_t JtAttribute::stateFlagsIn(bool form10) const noexcept {
  if (form10 == fieldFlagsOf10_) return stateFlags_;
  const unsigned others = stateFlags_ & ~unsigned{kFinalBefore10};
  const bool isFinalBefore10 = !form10 && finalFlags_ != 0;
  return static_cast<std::uint8_t>(isFinalBefore10 ? others | kFinalBefore10 : others);
}

std::uint32_t JtAttribute::inhibitFlagsIn(bool form10) const noexcept {
  const auto fields = fieldBits();
  if (fields.empty() || (form10 && fieldFlagsOf10_)) return inhibitFlags_;
  std::uint32_t inhibited = 0;
  std::uint32_t stated = 0;
  for (const jt::FieldBits& field : fields) {
    const std::uint32_t own = fieldFlagsOf10_ ? field.from10 : field.before10;
    const std::uint32_t other = form10 ? field.from10 : field.before10;
    ((inhibitFlags_ & own) != 0 ? inhibited : stated) |= other;
  }
  return inhibited & ~stated;
}

void JtAttribute::stateField(const jt::FieldBits& field) {
  const std::uint32_t bits = fieldFlagsOf10_ ? field.from10 : field.before10;
  if (isCarried() || (inhibitFlags_ & bits) == 0) return;
  inhibitFlags_ &= ~bits;
  touch();
}

bool JtAttribute::isBaseEqualTo(const JtAttribute& other) const noexcept {
  return stateFlags() == other.stateFlags() && inhibitFlags() == other.inhibitFlags() &&
         finalFlags() == other.finalFlags() && tail_.value_or(-1) == other.tail_.value_or(-1) &&
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

namespace {

// In the order of JtMaterialField. Before 10.x bit 1 is for diffuse colour and alpha together; 9.5
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
    dataFlags_ = static_cast<std::uint16_t>((dataFlags_ & ~mask) | (from.dataFlags_ & mask));
    touch();
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
      std::copy_n(from.diffuse_.begin(), 3, diffuse_.begin());
      return touch();
    case JtMaterialField::alpha:
      diffuse_[3] = from.diffuse_[3];
      return touch();
  }
}

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
  dataFlags_ =
      static_cast<std::uint16_t>(on ? dataFlags_ | kOverrideFlag : dataFlags_ & ~kOverrideFlag);
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

std::span<const jt::FieldBits> JtDrawStyle::fieldBits() const noexcept {
  static constexpr jt::FieldBits kBits[] = {{0x01, 0x01}, {0x02, 0x02}, {0x04, 0x04},
                                            {0x08, 0x08}, {0x10, 0x10}, {0x20, 0x20}};
  return kBits;
}

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
