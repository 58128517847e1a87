#pragma once

#include "JtMaterial.h"
#include "JtkAttribute.h"

/// How the surfaces of a node reflect light. Colors are red, green, blue, alpha in 0..1.
class JTK_API JtkMaterial final : public JtkAttribute {
 public:
  /// What setState() takes.
  enum State : int {
    OPEN = 1,  ///< nodes below may have another material
    FINAL = 2  ///< nodes below have this one, unless theirs forces
  };

  /// The default material of the scene graph.
  JtkMaterial();
  /// Over a material of a scene graph. It is copied when it is changed. @param material not null
  explicit JtkMaterial(JtMaterial* material) : JtkAttribute(material), own_(false) {}

  TypeID typeID() const noexcept override { return MATERIAL; }

  /// Sets a color, each component 0 to 1, or the shininess; nothing else changes.
  void setAmbientColor(const jt::Rgba& color);
  void setDiffuseColor(const jt::Rgba& color);
  void setSpecularColor(const jt::Rgba& color);
  void setEmissionColor(const jt::Rgba& color);
  void setShininess(float shininess);
  /// The diffuse color and the shininess.
  const jt::Rgba& diffuseColor() const noexcept { return value().diffuse(); }
  float shininess() const noexcept { return value().shininess(); }

  /// Whether the material hides colors of vertices.
  void setOverrideVertexColors(bool on);
  /// @return 1; 0 for a state that is none, without effect
  int setState(int state);
  int state() const noexcept { return value().isFinal() ? FINAL : OPEN; }

  /// The attribute of the scene graph, to be changed. Not owned.
  JtMaterial* jtMaterial();

 private:
  ~JtkMaterial() override;
  const JtMaterial& value() const noexcept;

  bool own_ = true;
};
