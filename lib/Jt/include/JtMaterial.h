#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>

#include "JtAttribute.h"

namespace jt {
/// Red, green, blue, alpha in 0..1.
using Rgba = std::array<float, 4>;
}  // namespace jt

/// What a material may leave to what it inherits: its own value is then not taken.
enum class JtMaterialField : std::uint8_t {
  ambient,
  specular,  ///< with shininess and bumpiness
  emission,
  blending,  ///< with the blend factors
  overrideVertexColors,
  reflectivity,
  diffuse,  ///< red, green and blue
  alpha,    ///< the opacity in the diffuse color
};

namespace jt {
constexpr std::size_t kMaterialFields = 8;
}  // namespace jt

/// Material attribute: how a surface reflects light.
class JT_API JtMaterial : public JtAttribute {
 public:
  /// Ambient and diffuse 0.8 gray, specular 0.3 gray, no emission, shininess 30, opaque, overriding
  /// vertex colors.
  JtMaterial() = default;
  static const JtType* classTypeID();
  const JtType* typeID() const override { return classTypeID(); }
  jt::Ref<JtBase> clone() const override;

  /// The colors, and the numbers of the lighting model; those of a field that the material leaves
  /// open do not count.
  const jt::Rgba& ambient() const noexcept { return ambient_; }
  const jt::Rgba& diffuse() const noexcept { return diffuse_; }
  const jt::Rgba& specular() const noexcept { return specular_; }
  const jt::Rgba& emission() const noexcept { return emission_; }
  float shininess() const noexcept { return shininess_; }
  float reflectivity() const noexcept { return reflectivity_.value_or(0.0F); }
  float bumpiness() const noexcept { return bumpiness_; }

  /// Sets the ambient color.
  void setAmbientColor(float red, float green, float blue, float alpha = 1);
  /// Sets color and opacity; blending is switched on when alpha is below 1, off otherwise.
  void setDiffuseColor(float red, float green, float blue, float alpha = 1);
  void setSpecularColor(float red, float green, float blue, float alpha = 1);
  void setEmissionColor(float red, float green, float blue, float alpha = 1);
  void setShininess(float shininess);
  void setReflectivity(float reflectivity);
  void setBumpiness(float bumpiness);

  /// True when the material hides colors stored with the vertices.
  bool overrideVertexColors() const noexcept { return (dataFlags_ & 0x0020) != 0; }
  void setOverrideVertexColors(bool on);
  bool blending() const noexcept { return (dataFlags_ & 0x0010) != 0; }
  /// Switching on gives a material without blend factors the usual ones: source alpha, and one
  /// minus source alpha.
  void setBlending(bool on);

  /// False for a field that the material leaves to what it inherits.
  bool states(JtMaterialField field) const noexcept;
  /// Makes the material's own value of a field count.
  void state(JtMaterialField field);
  /// True when descendants cannot override a field, unless they force.
  bool isFinal(JtMaterialField field) const noexcept;
  using JtAttribute::isFinal;
  /// Copies the value of a field, whether `from` states it or not.
  void takeField(JtMaterialField field, const JtMaterial& from);

  /// True when one of the two can replace the other wherever it is listed: all values are equal
  /// bit for bit, the flags too. How a file stores them does not matter.
  bool isEqualTo(const JtMaterial& other) const noexcept;
  /// Equal for materials that are equal.
  std::size_t hash() const noexcept;

  /// State kept up to date on demand when an attribute mixes fields from several places. Attributes
  /// of this library are always up to date, so the flags are never set.
  static constexpr std::uint32_t _IS_MIXED_ACCUM = 0x1;
  static constexpr std::uint32_t _MIXED_ACCUM_MODIFIED = 0x2;
  std::uint32_t accumFlags() const noexcept { return 0; }
  void _accumDynState() {}

 private:
  friend struct jt::file::FieldAccess;
  void clearPattern(std::uint8_t bit);
  std::span<const jt::FieldBits> fieldBits() const noexcept override;
  std::array<std::uint32_t, 20> values() const noexcept;

  jt::LocalVersion version_;
  // Vertex colors overridden, blend factors 6 and 7, blending off: what real files hold.
  std::uint16_t dataFlags_ = 0x39a0;
  std::uint8_t pattern_ = 0;  // 8.x: colors stored as one number, bits as in dataFlags_
  jt::Rgba ambient_{0.8F, 0.8F, 0.8F, 1};
  jt::Rgba diffuse_{0.8F, 0.8F, 0.8F, 1};
  jt::Rgba specular_{0.3F, 0.3F, 0.3F, 1};
  jt::Rgba emission_{0, 0, 0, 1};
  float shininess_ = 30;
  std::optional<float> reflectivity_ = 0.0F;
  float bumpiness_ = 1;
};
