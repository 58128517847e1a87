#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

#include "JtMaterial.h"

/// Light set attribute: adds lights for what is below.
class JT_API JtLightSet : public JtAttribute {
 public:
  static const JtType* classTypeID();
  const JtType* typeID() const override { return classTypeID(); }
  /// Object ids of the light elements, as stored.
  const std::vector<std::int32_t>& lightIds() const noexcept { return lights_; }

 private:
  friend struct jt::file::FieldAccess;
  jt::LocalVersion version_;
  std::vector<std::int32_t> lights_;
};

/// What both kinds of light have.
class JT_API JtLight : public JtAttribute {
 public:
  static const JtType* classTypeID();
  /// The colors, and the brightness that they are multiplied with.
  const jt::Rgba& ambient() const noexcept { return ambient_; }
  const jt::Rgba& diffuse() const noexcept { return diffuse_; }
  const jt::Rgba& specular() const noexcept { return specular_; }
  float brightness() const noexcept { return brightness_; }
  /// 1 viewpoint, 2 model, 3 world.
  std::int32_t coordinateSystem() const noexcept { return coordinateSystem_; }
  bool castsShadow() const noexcept { return shadowCaster_ != 0; }
  float shadowOpacity() const noexcept { return shadowOpacity_; }

 private:
  friend struct jt::file::FieldAccess;
  jt::LocalVersion lightVersion_;
  jt::Rgba ambient_{0, 0, 0, 1};
  jt::Rgba diffuse_{1, 1, 1, 1};
  jt::Rgba specular_{1, 1, 1, 1};
  float brightness_ = 1;
  std::int32_t coordinateSystem_ = 1;
  std::uint8_t shadowCaster_ = 0;
  float shadowOpacity_ = 0;
  std::optional<std::array<float, 2>> shadowAlpha_;  // non-shadow and shadow factor

 protected:
  jt::LocalVersion version_;
};

/// A light infinitely far away.
class JT_API JtInfiniteLight : public JtLight {
 public:
  static const JtType* classTypeID();
  const JtType* typeID() const override { return classTypeID(); }
  /// The direction that the light shines in.
  const std::array<float, 3>& direction() const noexcept { return direction_; }

 private:
  friend struct jt::file::FieldAccess;
  std::array<float, 3> direction_{0, 0, -1};
};

/// A light at a place, all around (spread angle 180) or a spot (0 to 90 degrees).
class JT_API JtPointLight : public JtLight {
 public:
  static const JtType* classTypeID();
  const JtType* typeID() const override { return classTypeID(); }
  /// Homogeneous coordinates x, y, z, w, in the unit of the node.
  const std::array<float, 4>& position() const noexcept { return position_; }
  /// Constant, linear, quadratic.
  const std::array<float, 3>& attenuation() const noexcept { return attenuation_; }
  /// Degrees.
  float spreadAngle() const noexcept { return spreadAngle_; }
  /// The axis of a spot, and how much its light gathers there.
  const std::array<float, 3>& spotDirection() const noexcept { return spotDirection_; }
  std::int32_t spotIntensity() const noexcept { return spotIntensity_; }

 private:
  friend struct jt::file::FieldAccess;
  std::array<float, 4> position_{0, 0, 0, 1};
  std::array<float, 3> attenuation_{1, 0, 0};
  float spreadAngle_ = 180;
  std::array<float, 3> spotDirection_{0, 0, -1};
  std::int32_t spotIntensity_ = 0;
};
