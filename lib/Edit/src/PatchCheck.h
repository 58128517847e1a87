#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "JtwPatch.h"

namespace jtw {

/// The changes of a patch that fit a component.
class PatchCheck {
 public:
  /// @param force a change that only fits together with one that does not, does not fit either
  /// Throws EditError "bad_patch" for changes that are wrong whatever the component is.
  PatchCheck(const Patch& patch, const std::vector<PatchObject>& objects, bool force);

  /// True when the component has the old value of a change.
  bool isBefore(const PatchChange& change) const;
  /// What does not fit, in the order of the patch.
  std::vector<PatchMisfit> misfits() const;
  bool fits(std::size_t change) const { return reasons_[change].empty(); }
  /// The changes of an object that are about the object itself: its kind, its parent; or null.
  const PatchChange* fitting(const std::string& at, PatchWhat what) const;
  /// Index of an object of the component; nothing when it has none in that place.
  std::optional<std::size_t> indexOf(const std::string& at) const;
  /// The kind of an object after the patch, empty for none.
  std::string kindOf(const std::string& at) const;
  /// What an object is listed under after the patch; empty for the component and for no object.
  std::string parentOf(const std::string& at) const;
  /// The same before the patch.
  std::string parentBefore(const std::string& at) const;

 private:
  struct Slot {  // indices of changes from 1 on; 0 for none
    std::size_t object = 0;
    std::size_t parent = 0;
  };
  void requireSound(std::size_t change);
  void checkAll();
  std::string misfit(const PatchChange& change);
  std::string objectMisfit(const PatchChange& change);
  std::string parentMisfit(const std::string& at, const std::string& kind);
  void checkRemovals();
  void checkCycles();
  bool reject(std::size_t change, const std::string& reason);

  const Patch& patch_;
  const std::vector<PatchObject>& objects_;
  std::unordered_map<std::string, std::size_t> places_;
  std::unordered_map<std::string, Slot> slots_;
  std::vector<std::string> reasons_;  // empty for those that fit
  bool hasChanged_ = false;
};

/// True for a kind without a JT node of its own.
bool isPMIKind(const std::string& kind);

}  // namespace jtw
