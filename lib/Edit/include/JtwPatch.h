#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <variant>
#include <vector>

#include "JtCompare.h"
#include "JtwExport.h"
#include "JtwObjects.h"

// The changes that lead from one component to another as data, and their application to a third.
// Objects are matched by key.
//
// What a patch can hold: objects that were added, removed or moved; the order of objects and of
// annotations below a parent; the values of objects, frames and annotations; texts, numbers and
// dates among the properties of their JT nodes; placements, colors, visibility and such properties
// of the nodes below an object. It holds no geometry, no metadata segments and no textures:
// lossesOf() lists what remains different.

namespace jtw {

/// One side of a change: nothing, a truth, a whole number, a text or numbers.
using PatchValue =
    std::variant<std::monostate, bool, std::int64_t, std::string, std::vector<double>>;

/// A value for messages, on one line; long ones are cut.
JTW_API std::string valueText(const PatchValue& value);

/// What a change is about, in the order in which the changes of an object are listed.
enum class PatchWhat : std::uint8_t {
  object,    ///< the object itself; the value is its kind, see kindName()
  parent,    ///< what it is listed under; the value is the place of that
  order,     ///< the keys of what is listed under it: "objects" or "annotations"
  value,     ///< a value of the object; see patchValues()
  property,  ///< a property of its JT node: a text, a whole number; one number, four or six in a
             ///< list are a single, a vector or a date
};

/// "object", "parent", "order", "value", "property".
JTW_API const char* patchWhatName(PatchWhat what) noexcept;

/// One change.
struct PatchChange {
  /// The object: "root", its key, or "7/0/1": of the nodes below the object with key 7 that are no
  /// objects with keys, in the first one (0) the second (1).
  std::string at;
  PatchWhat what = PatchWhat::value;
  std::string name;  ///< of a value, an order or a property; else empty
  PatchValue before;
  PatchValue after;

  friend bool operator==(const PatchChange&, const PatchChange&) = default;
};

/// Changes that belong together.
struct Patch {
  std::string base;  ///< what the first component was called
  std::vector<PatchChange> changes;
};

/// A fact about an object: what a patch may change.
struct PatchFact {
  PatchWhat what = PatchWhat::value;
  std::string name;
  PatchValue value;

  friend bool operator==(const PatchFact&, const PatchFact&) = default;
};

/// An object, or a node below one, with its facts; ordered by what they are and by name.
struct PatchObject {
  std::string at;
  std::vector<PatchFact> facts;

  /// The value of a fact; nothing where there is none.
  const PatchValue& value(PatchWhat what, const std::string& name = {}) const noexcept;
  /// False for a node below an object that is no object with a key.
  bool isKeyed() const noexcept { return at.find('/') == std::string::npos; }
};

/// All facts about a component, apart from it.
class JTW_API ComponentFacts {
 public:
  /// Reads the facts; the component is not changed.
  explicit ComponentFacts(const Objects& objects);

  /// In the order of a listing, what is above before what is below.
  const std::vector<PatchObject>& objects() const noexcept { return objects_; }
  /// The object in that place, or null.
  const PatchObject* find(const std::string& at) const;

 private:
  std::vector<PatchObject> objects_;
  std::unordered_map<std::string, std::size_t> places_;
};

/// The changes that lead from `a` to `b`, but for what no patch can hold. Equal inputs give equal
/// patches. Takes time in proportion to the objects.
JTW_API Patch difference(const ComponentFacts& a, const ComponentFacts& b);

/// Why a change cannot be made.
struct PatchMisfit {
  std::size_t change = 0;  ///< index in the patch
  std::string reason;      ///< for readers
};

/// What an application did.
struct ApplyResult {
  std::size_t applied = 0;           ///< how many changes were made
  std::vector<PatchMisfit> misfits;  ///< in the order of the patch
};

/// Makes the changes of a patch as one transaction; nothing is saved. Every change is checked
/// against the component first: the object and its parent are there, its value is the old one.
/// @param force what does not fit is left out; else nothing is changed when anything does not fit
/// Throws EditError: "usage", "bad_patch", for a value that what is changed cannot have; "refused"
/// when the model refuses a change, with the component as it was.
JTW_API ApplyResult applyPatch(Objects& objects, const Patch& patch, bool force = false);

/// What remains different when `patch` is applied to `a`, which should be as `b` then. `a` is as it
/// was afterwards. @param most how many are listed
/// Throws as applyPatch(), and JtFormatError for a damaged segment.
JTW_API std::vector<jt::Difference> lossesOf(Objects& a, const JtwRoot& b, const Patch& patch,
                                             std::size_t most = 1000);

}  // namespace jtw
