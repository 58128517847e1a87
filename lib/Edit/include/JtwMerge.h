#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "JtCompare.h"
#include "JtwExport.h"
#include "JtwObjects.h"
#include "JtwPatch.h"

namespace jtw {

/// Whose changes count where two sides changed the same thing.
enum class MergeSide : std::uint8_t { neither, ours, theirs };

/// Something that both sides changed, each in its own way.
struct MergeConflict {
  std::string at;  ///< the object, as in patches
  PatchWhat what = PatchWhat::value;
  std::string name;
  PatchValue base;
  PatchValue ours;
  PatchValue theirs;
  std::string reason;  ///< for readers
};

/// A change that the merged component has, and who made it.
struct MergedChange {
  bool ours = false;
  bool theirs = false;
  PatchChange change;  ///< from the base
};

/// What merging found.
struct MergeResult {
  Patch patch;  ///< the changes that lead from `ours` to the merged component
  std::vector<MergeConflict> conflicts;  ///< those that a chosen side decided too
  /// What was taken from the sides, without the order of objects and what follows from other
  /// changes: all changes of ours in their order, then those of theirs alone.
  std::vector<MergedChange> taken;
};

/// Merges the changes that two sides made to a component, object by object by their keys. What one
/// side changed is taken, and what both changed alike. Conflicts are: a value with two new values,
/// an object that one side removed and the other changed, filled or attached something to, moves
/// that lead in a circle or to two parents, and two new objects with one key that are not the same.
/// Of orders that both changed, that of `ours` holds.
/// @param side decides conflicts; while there are some and neither side is chosen, the patch is not
///   to be applied
JTW_API MergeResult merge(const ComponentFacts& base, const ComponentFacts& ours,
                          const ComponentFacts& theirs, MergeSide side = MergeSide::neither);

/// Content that no patch can hold, such as geometry, and that both sides changed: the first
/// difference of each.
struct ContentConflict {
  jt::Difference ours;
  jt::Difference theirs;
};

/// What merging whole components found.
struct ComponentMerge {
  MergeResult result;
  std::optional<ContentConflict> content;
  /// The patch leads from `theirs` to the merged component: content that no patch can hold has to
  /// come from where it starts.
  bool startsFromTheirs = false;

  /// Conflicts, that of the content among them.
  std::size_t conflictCount() const { return result.conflicts.size() + (content ? 1U : 0U); }
};

/// Merges as merge(), from the side whose content no patch can hold. Nothing is changed, but that
/// changes are tried on `base`: where that is the same component as another one, call
/// Objects::forgetChanges() for the other afterwards.
JTW_API ComponentMerge mergeComponents(Objects& base, const Objects& ours, const Objects& theirs,
                                       MergeSide side = MergeSide::neither);

}  // namespace jtw
