#include "JtkwEntityCreationData.h"

#include "JtMaterial.h"

namespace {

ApiGraColor colorOf(const jt::Rgba& color) {
  return ApiGraColor::fromUnit(color[0], color[1], color[2], color[3]);
}

}  // namespace

void JtkwEntityCreationData::setInstanceColor(const ApiGraColor& color) {
  material_.setDiffuse(color);
  instanceColor_ = true;
  finalState_ = true;
  defaultColor_ = false;
}

void JtkwEntityCreationData::setPrototypeMaterial(const JtMaterial* material) {
  if (!material) return;
  material_.setAmbient(colorOf(material->ambient()));
  material_.setDiffuse(colorOf(material->diffuse()));
  material_.setSpecular(colorOf(material->specular()));
  material_.setEmission(colorOf(material->emission()));
  material_.setShininess(material->shininess());
  defaultColor_ = false;
  instanceColor_ = material->hasState(JtAttributeState::force);
}
