#pragma once

#include "JtAttribute.h"
#include "JtkEntity.h"

/// An attribute of a node: a handle on one of the scene graph. Kinds without a class of their own
/// (textures, styles, lights) are carried as they are.
class JTK_API JtkAttribute : public JtkEntity {
 public:
  /// @param attribute not null; it is shared, never changed
  explicit JtkAttribute(JtAttribute* attribute) : attribute_(attribute) {}

  TypeID typeID() const noexcept override { return ATTRIBUTE; }
  /// The attribute of the scene graph. Not owned.
  const JtAttribute* jtAttribute() const noexcept { return attribute_.get(); }

 protected:
  ~JtkAttribute() override;
  /// Puts another attribute in its place; not null.
  void setJtAttribute(JtAttribute* attribute) { attribute_ = jt::Ref<JtAttribute>(attribute); }
  /// The attribute, to be changed by the class that knows it is not shared.
  JtAttribute* held() const noexcept { return attribute_.get(); }

 private:
  jt::Ref<JtAttribute> attribute_;
};
