#include "JtXform.h"

#include "scene/Recording.h"

jt::Ref<JtBase> JtXform::clone() const { return jt::Ref<JtBase>(new JtXform(*this)); }

void JtXform::setMatrix(const jt::Matrix4& matrix) {
  change(matrix_, storedMask_);
  matrix_ = matrix;
  storedMask_.reset();
}

jt::Matrix4 jt::multiply(const Matrix4& a, const Matrix4& b) {
  Matrix4 product{};
  for (std::size_t row = 0; row < 4; ++row)
    for (std::size_t column = 0; column < 4; ++column) {
      double sum = 0;
      for (std::size_t k = 0; k < 4; ++k) sum += a[4 * row + k] * b[4 * k + column];
      product[4 * row + column] = sum;
    }
  return product;
}
