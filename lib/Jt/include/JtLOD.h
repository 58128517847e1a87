#pragma once

#include <array>
#include <vector>

#include "JtGroup.h"

/// A group whose children are alternatives of falling detail, finest first.
class JT_API JtLOD : public JtGroup {
 public:
  static const JtType* classTypeID();
  const JtType* typeID() const override { return classTypeID(); }
  jt::Ref<JtBase> clone() const override { return jt::Ref<JtBase>(new JtLOD(*this)); }

  JtLOD() = default;
  /// The alternative of a level, 0 the finest; the coarsest when there are fewer. Null when there
  /// is none.
  JtNode* childForLevel(std::uint32_t level) const noexcept;

 protected:
  JtLOD(const JtLOD&) = default;

 private:
  friend struct jt::file::FieldAccess;
  jt::LocalVersion lodVersion_;
  std::vector<float> reservedFloats_;
  std::int32_t reservedInt_ = 0;
};

/// An LOD node whose alternatives are chosen by the distance from the eye.
class JT_API JtRangeLOD : public JtLOD {
 public:
  static const JtType* classTypeID();
  const JtType* typeID() const override { return classTypeID(); }
  jt::Ref<JtBase> clone() const override { return jt::Ref<JtBase>(new JtRangeLOD(*this)); }

  JtRangeLOD() = default;
  /// Increasing distances, in the unit of the node; limit i is the far end for child i. Empty: the
  /// viewer decides.
  const std::vector<float>& rangeLimits() const noexcept { return limits_; }
  void setRangeLimits(std::vector<float> limits);
  /// The alternative for an eye at that distance from the centre: the first whose limit is not
  /// passed, the coarsest behind all limits; the finest when there are no limits or the distance is
  /// no number. Null when there is none.
  JtNode* childForDistance(float distance) const noexcept;
  /// Where distances are measured from, in the node's own coordinates and unit.
  const std::array<float, 3>& center() const noexcept { return center_; }
  void setCenter(const std::array<float, 3>& center);

 protected:
  JtRangeLOD(const JtRangeLOD&) = default;

 private:
  friend struct jt::file::FieldAccess;
  jt::LocalVersion rangeVersion_;
  std::vector<float> limits_;
  std::array<float, 3> center_{};
};
