#pragma once

#include "JtXform.h"
#include "JtkAttribute.h"

/// The placement of a node in the one above it.
class JTK_API JtkTransform final : public JtkAttribute {
 public:
  /// @param matrix for row vectors: the translation is in the last row
  explicit JtkTransform(const jt::Matrix4& matrix);
  /// Over a transform of a scene graph. @param transform not null
  explicit JtkTransform(JtXform* transform) : JtkAttribute(transform) {}

  TypeID typeID() const noexcept override { return TRANSFORM; }
  /// The matrix, row after row, for row vectors.
  const jt::Matrix4& matrix() const noexcept;

 private:
  ~JtkTransform() override;
};
