#include "JtkTransform.h"

JtkTransform::~JtkTransform() = default;

JtkTransform::JtkTransform(const jt::Matrix4& matrix)
    : JtkAttribute(jt::make<JtXform>(matrix).get()) {}

const jt::Matrix4& JtkTransform::matrix() const noexcept {
  return static_cast<const JtXform*>(jtAttribute())->matrix();
}
