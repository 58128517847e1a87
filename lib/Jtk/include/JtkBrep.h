#pragma once

#include "JtPropAtom.h"
#include "JtString.h"
#include "JtkEntity.h"

/// Precise geometry of a part: a handle on the segment that holds it. The bytes are carried.
class JTK_API JtkBrep final : public JtkEntity {
 public:
  /// @param key  of the part node's property that names the segment
  /// @param atom that names it; not null
  JtkBrep(JtString key, JtLateLoadedPropAtom* atom);

  TypeID typeID() const noexcept override { return BREP; }
  const JtString& key() const noexcept { return key_; }
  /// Not owned.
  JtLateLoadedPropAtom* atom() const noexcept { return atom_.get(); }
  /// Type of the segment: 17 XT, 18 wireframe, 2 JT B-rep, ...
  int segmentType() const noexcept { return atom_->segmentType(); }

  /// True for types of segments with precise geometry.
  static bool isSegmentType(int type) noexcept;

 private:
  ~JtkBrep() override;

  JtString key_;
  jt::Ref<JtLateLoadedPropAtom> atom_;
};
