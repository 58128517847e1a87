#pragma once

#include "JtString.h"
#include "JtkMaterial.h"

/// A wire of a B-rep: what identifies a curve, and how it looks.
class JTK_API JtkWire final : public JtkEntity {
 public:
  /// A wire with that id, without name and material.
  explicit JtkWire(int id) : id_(id) {}

  TypeID typeID() const noexcept override { return WIRE; }
  /// Need not be unique.
  int id() const noexcept { return id_; }
  /// Empty: none.
  const JtString& name() const noexcept { return name_; }
  void setName(const JtString& name) { name_ = name; }
  /// Null: that of the part. Not owned.
  const JtkMaterial* material() const noexcept { return material_.get(); }
  /// The wire takes a reference; null: none.
  void setMaterial(JtkMaterial* material) { material_ = jt::Ref<JtkMaterial>(material); }

 private:
  ~JtkWire() override;

  int id_;
  JtString name_;
  jt::Ref<JtkMaterial> material_;
};
