#pragma once

#include <memory>

#include "JtBase.h"
#include "JtMesh.h"

namespace jt::file {

/// Geometry that is still to be stored: what the late-loaded atom of a shape holds until then.
class ShapeGeometry final : public JtBase {
 public:
  explicit ShapeGeometry(std::shared_ptr<const Mesh> mesh) : mesh_(std::move(mesh)) {}
  static const JtType* classTypeID() {
    static const JtType type("ShapeGeometry", JtBase::classTypeID());
    return &type;
  }
  const JtType* typeID() const override { return classTypeID(); }

  const std::shared_ptr<const Mesh>& mesh() const noexcept { return mesh_; }

 private:
  std::shared_ptr<const Mesh> mesh_;
};

}  // namespace jt::file
