#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "JtAttribute.h"

namespace jt {
/// 4x4 matrix, row after row, for ROW vectors: p' = p * M, translation in the last row (places 12,
/// 13 and 14). world(child) = M(child) * world(parent).
using Matrix4 = std::array<double, 16>;

constexpr Matrix4 kIdentity{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

/// The product a * b: for row vectors, a is applied first.
JT_API Matrix4 multiply(const Matrix4& a, const Matrix4& b);
}  // namespace jt

/// Geometric transform attribute.
class JT_API JtXform : public JtAttribute {
 public:
  JtXform() = default;
  /// A transform of that matrix.
  explicit JtXform(const jt::Matrix4& matrix) : matrix_(matrix) {}
  static const JtType* classTypeID();
  const JtType* typeID() const override { return classTypeID(); }
  jt::Ref<JtBase> clone() const override;

  /// Row-vector matrix; lengths in the unit of the node that lists the attribute. Held in double
  /// precision; files before 10.0 store single precision.
  const jt::Matrix4& matrix() const noexcept { return matrix_; }
  void setMatrix(const jt::Matrix4& matrix);

 private:
  friend struct jt::file::FieldAccess;
  jt::LocalVersion version_;
  // Which values the file stored; kept while the matrix is unchanged, since a file may store values
  // that equal the identity.
  std::optional<std::uint16_t> storedMask_;
  std::optional<bool> doubleValues_;  // as read; else what the generation has
  jt::Matrix4 matrix_ = jt::kIdentity;
};
