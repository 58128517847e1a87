#pragma once

#include "ApiGraColor.h"

/// The host's material: four colors and a shininess (0 dull .. 128 sharp highlights). By default a
/// matt light gray.
class ApiGraMaterial {
 public:
  /// The colors, and the shininess as JtMaterial counts it.
  const ApiGraColor& getAmbient() const { return ambient_; }
  const ApiGraColor& getDiffuse() const { return diffuse_; }
  const ApiGraColor& getSpecular() const { return specular_; }
  const ApiGraColor& getEmission() const { return emission_; }
  float getShininess() const { return shininess_; }

  /// Sets one of them.
  void setAmbient(const ApiGraColor& color) { ambient_ = color; }
  void setDiffuse(const ApiGraColor& color) { diffuse_ = color; }
  void setSpecular(const ApiGraColor& color) { specular_ = color; }
  void setEmission(const ApiGraColor& color) { emission_ = color; }
  void setShininess(float shininess) { shininess_ = shininess; }

  friend bool operator==(const ApiGraMaterial&, const ApiGraMaterial&) = default;

 private:
  ApiGraColor ambient_{51, 51, 51};
  ApiGraColor diffuse_{204, 204, 204};
  ApiGraColor specular_{0, 0, 0};
  ApiGraColor emission_{0, 0, 0};
  float shininess_ = 15.0F;
};
