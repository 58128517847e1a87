#pragma once

#include <vector>

#include "JtPropAtom.h"
#include "JtString.h"
#include "JtXform.h"
#include "JtkWire.h"

/// Precise geometry of a part: a handle on the segment that holds it, whose bytes are carried; of a
/// wireframe that an importer has read, also its wires.
class JTK_API JtkBrep final : public JtkEntity {
 public:
  /// @param key  of the part node's property that names the segment
  /// @param atom that names it; not null
  JtkBrep(JtString key, JtLateLoadedPropAtom* atom);

  TypeID typeID() const noexcept override { return BREP; }
  /// Key of the part node's property that names the segment.
  const JtString& key() const noexcept { return key_; }
  /// Not owned.
  JtLateLoadedPropAtom* atom() const noexcept { return atom_.get(); }
  /// Type of the segment: 17 XT, 18 wireframe, 2 JT B-rep, ...
  int segmentType() const noexcept { return atom_->segmentType(); }

  /// Where the geometry lies in its part, in millimetres for row vectors; the identity as a rule.
  const jt::Matrix4& placement() const noexcept { return placement_; }
  /// True when the geometry is not shown.
  bool isHidden() const noexcept { return isHidden_; }
  void setPlacement(const jt::Matrix4& placement, bool isHidden) {
    placement_ = placement;
    isHidden_ = isHidden;
  }

  /// How many entities of a type there are: wires.
  int numEntities(TypeID type) const noexcept;
  /// Not owned; null when there is none.
  JtkEntity* entity(TypeID type, int index) const noexcept;
  /// Appends a wire and takes a reference. What is stored does not change. @param wire not null
  void addWire(JtkWire* wire) { wires_.emplace_back(wire); }

  /// True for types of segments with precise geometry.
  static bool isSegmentType(int type) noexcept;

 private:
  ~JtkBrep() override;

  JtString key_;
  jt::Ref<JtLateLoadedPropAtom> atom_;
  std::vector<jt::Ref<JtkWire>> wires_;
  jt::Matrix4 placement_ = jt::kIdentity;
  bool isHidden_ = false;
};
