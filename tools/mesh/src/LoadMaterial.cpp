#include <assimp/material.h>
#include <assimp/scene.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>

#include "Assimp.h"

namespace mesh {
namespace {

/// What JT viewers expect of a shininess.
constexpr float kLeastShininess = 1;
constexpr float kMostShininess = 128;

float unitRange(float value) { return std::isfinite(value) ? std::clamp(value, 0.0F, 1.0F) : 0.0F; }

/// False, with `color` as it was, when the material has none of that kind.
bool readColor(const aiMaterial& source, const char* key, unsigned type, unsigned index,
               jt::Rgba& color) {
  aiColor4D value(0, 0, 0, 1);
  if (source.Get(key, type, index, value) != aiReturn_SUCCESS) return false;
  color = clamped({value.r, value.g, value.b, value.a});
  return true;
}

void readShininess(const aiMaterial& source, Material& material) {
  float value = 0;
  if (source.Get(AI_MATKEY_ROUGHNESS_FACTOR, value) == aiReturn_SUCCESS) {
    // The exponent of a highlight about as wide as that of the rough surface.
    const float roughness = std::clamp(unitRange(value), 0.05F, 1.0F);
    value = 2 / (roughness * roughness) - 1;
  } else if (source.Get(AI_MATKEY_SHININESS, value) != aiReturn_SUCCESS || !(value > 0)) {
    return;
  }
  material.shininess = std::clamp(value, kLeastShininess, kMostShininess);
}

}  // namespace

Material materialFrom(const aiMaterial& source) {
  Material material;
  aiString name;
  if (source.Get(AI_MATKEY_NAME, name) == aiReturn_SUCCESS) material.name = name.C_Str();
  if (!readColor(source, AI_MATKEY_BASE_COLOR, material.diffuse))
    readColor(source, AI_MATKEY_COLOR_DIFFUSE, material.diffuse);
  float opacity = 1;
  // Some programs write the transparency here. An opacity of 0 is therefore read as opaque.
  if (material.diffuse[3] == 1 && source.Get(AI_MATKEY_OPACITY, opacity) == aiReturn_SUCCESS &&
      opacity != 0)
    material.diffuse[3] = unitRange(opacity);
  // Most formats leave it out or black; what surrounds a thing colors it as light does.
  const bool hasAmbient = readColor(source, AI_MATKEY_COLOR_AMBIENT, material.ambient) &&
                          (material.ambient[0] + material.ambient[1] + material.ambient[2] > 0);
  if (!hasAmbient) material.ambient = material.diffuse;
  readColor(source, AI_MATKEY_COLOR_SPECULAR, material.specular);
  readColor(source, AI_MATKEY_COLOR_EMISSIVE, material.emission);
  material.ambient[3] = material.specular[3] = material.emission[3] = 1;
  readShininess(source, material);
  return material;
}

double unitOf(const aiScene& scene, const std::string& extension) {
  constexpr double kMetre = 1000;
  constexpr double kCentimetre = 10;
  if (extension == "fbx") {
    double centimetres = 1;
    float single = 1;
    if (scene.mMetaData && !scene.mMetaData->Get("UnitScaleFactor", centimetres) &&
        scene.mMetaData->Get("UnitScaleFactor", single))
      centimetres = static_cast<double>(single);
    // 2.54 in single precision is still an inch.
    const double unit = std::round(centimetres * kCentimetre * 1e6) / 1e6;
    return std::isfinite(unit) && unit > 0 ? unit : kCentimetre;
  }
  // Formats that are in metres, or are brought to metres by the import library.
  static constexpr std::array<std::string_view, 9> kMetric{"gltf", "glb", "vrm",   "dae", "zae",
                                                           "x3d",  "wrl", "blend", "ifc"};
  const bool isMetric = std::find(kMetric.begin(), kMetric.end(), extension) != kMetric.end();
  return isMetric ? kMetre : 1;
}

}  // namespace mesh
