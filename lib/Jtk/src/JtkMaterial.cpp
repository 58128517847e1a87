#include "JtkMaterial.h"

JtkMaterial::~JtkMaterial() = default;

JtkMaterial::JtkMaterial() : JtkAttribute(jt::make<JtMaterial>().get()) {}

const JtMaterial& JtkMaterial::value() const noexcept {
  return *static_cast<const JtMaterial*>(jtAttribute());
}

JtMaterial* JtkMaterial::jtMaterial() {
  if (!own_) setJtAttribute(static_cast<JtMaterial*>(value().clone().get()));
  own_ = true;
  return static_cast<JtMaterial*>(held());
}

void JtkMaterial::setAmbientColor(const jt::Rgba& color) {
  jtMaterial()->setAmbientColor(color[0], color[1], color[2], color[3]);
}

void JtkMaterial::setDiffuseColor(const jt::Rgba& color) {
  jtMaterial()->setDiffuseColor(color[0], color[1], color[2], color[3]);
}

void JtkMaterial::setSpecularColor(const jt::Rgba& color) {
  jtMaterial()->setSpecularColor(color[0], color[1], color[2], color[3]);
}

void JtkMaterial::setEmissionColor(const jt::Rgba& color) {
  jtMaterial()->setEmissionColor(color[0], color[1], color[2], color[3]);
}

void JtkMaterial::setShininess(float shininess) { jtMaterial()->setShininess(shininess); }

void JtkMaterial::setOverrideVertexColors(bool on) { jtMaterial()->setOverrideVertexColors(on); }

int JtkMaterial::setState(int state) {
  if (state != OPEN && state != FINAL) return 0;
  jtMaterial()->setFinal(state == FINAL);
  return 1;
}
