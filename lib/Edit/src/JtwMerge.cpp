#include "JtwMerge.h"

#include <algorithm>
#include <optional>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "ParentCircle.h"
#include "PatchValues.h"

namespace jtw {
namespace {

bool isNothing(const PatchValue& value) { return std::holds_alternative<std::monostate>(value); }

std::string ownerOf(const std::string& at) { return at.substr(0, at.find('/')); }

std::string slotOf(const PatchChange& change) {
  return change.at + '\n' + patchWhatName(change.what) + '\n' + change.name;
}

/// The key of an object that a change names beside its own: what it is put under or attached to.
std::string usedBy(const PatchChange& change) {
  if (change.what == PatchWhat::parent)
    if (const auto* parent = std::get_if<std::string>(&change.after)) return *parent;
  if (change.what == PatchWhat::value && change.name == "attachment")
    if (const auto* key = std::get_if<std::int64_t>(&change.after)) return std::to_string(*key);
  return {};
}

/// The changes of one side, and which objects they are about.
struct Side {
  explicit Side(std::vector<PatchChange> all) : changes(std::move(all)) {
    for (std::size_t i = 0; i < changes.size(); ++i) {
      const PatchChange& change = changes[i];
      slots.emplace(slotOf(change), i);
      ofObject[ownerOf(change.at)].push_back(i);
      if (change.what == PatchWhat::object && isNothing(change.after)) removed.insert(change.at);
      if (change.what == PatchWhat::object && isNothing(change.before)) added.insert(change.at);
      if (const std::string used = usedBy(change); !used.empty()) users[used].push_back(i);
    }
  }
  const PatchChange* find(const std::string& slot) const {
    const auto found = slots.find(slot);
    return found == slots.end() ? nullptr : &changes[found->second];
  }
  /// It changed the object itself, or put something under it or attached something to it.
  bool touches(const std::string& at) const {
    return !removed.contains(at) && (ofObject.contains(at) || users.contains(at));
  }

  std::vector<PatchChange> changes;
  std::unordered_map<std::string, std::size_t> slots;
  std::unordered_map<std::string, std::vector<std::size_t>> ofObject;
  std::unordered_map<std::string, std::vector<std::size_t>> users;
  std::unordered_set<std::string> removed;
  std::unordered_set<std::string> added;
};

class Merging {
 public:
  Merging(const ComponentFacts& base, const ComponentFacts& ours, const ComponentFacts& theirs,
          MergeSide side)
      : base_(base),
        factsOfOurs_(ours),
        factsOfTheirs_(theirs),
        ours_(difference(base, ours).changes),
        theirs_(difference(base, theirs).changes),
        isTheirs_(side == MergeSide::theirs) {
    if (isTheirs_) across_.emplace(difference(ours, theirs).changes);
  }

  MergeResult run() {
    dropped_.resize(theirs_.changes.size());
    matchAdded();
    for (std::size_t i = 0; i < theirs_.changes.size(); ++i)
      if (!dropped_[i]) match(i);
    matchRemoved();
    matchCycles();
    return result();
  }

 private:
  static const PatchValue& valueOf(const ComponentFacts& facts, const PatchChange& change) {
    static const PatchValue kNothing;
    const PatchObject* object = facts.find(change.at);
    return object ? object->value(change.what, change.name) : kNothing;
  }

  void conflict(const PatchChange& about, std::string reason) {
    conflicts_.push_back({about.at, about.what, about.name, valueOf(base_, about),
                          valueOf(factsOfOurs_, about), valueOf(factsOfTheirs_, about),
                          std::move(reason)});
  }

  void drop(std::size_t change) { dropped_[change] = true; }
  void dropObject(const std::string& at) {
    if (const auto found = theirs_.ofObject.find(at); found != theirs_.ofObject.end())
      for (const std::size_t change : found->second) drop(change);
  }
  /// Takes what leads from ours to theirs: of one slot, or all of an object.
  void take(const std::string& slot) {
    if (const PatchChange* change = across_->find(slot)) taken_.emplace(slot, *change);
  }
  void takeObject(const std::string& at) {
    if (const auto found = across_->ofObject.find(at); found != across_->ofObject.end())
      for (const std::size_t change : found->second)
        taken_.emplace(slotOf(across_->changes[change]), across_->changes[change]);
  }

  /// New objects with one key on both sides.
  void matchAdded() {
    for (const PatchObject& object : factsOfTheirs_.objects()) {
      if (!theirs_.added.contains(object.at) || !ours_.added.contains(object.at)) continue;
      const auto isSame = [&](const PatchObject& a, const PatchObject& b) {
        return std::ranges::all_of(a.facts, [&](const PatchFact& fact) {
          return fact.what == PatchWhat::order ||
                 isBookkeeping({a.at, fact.what, fact.name, {}, {}}) ||
                 b.value(fact.what, fact.name) == fact.value;
        });
      };
      const PatchObject& mine = *factsOfOurs_.find(object.at);
      if (!isSame(object, mine) || !isSame(mine, object)) {
        conflict({object.at, PatchWhat::object, {}, {}, {}}, "both sides added it, not the same");
        if (isTheirs_) takeObject(object.at);
      }
      dropObject(object.at);
    }
  }

  void match(std::size_t index) {
    const PatchChange& change = theirs_.changes[index];
    const PatchChange* mine = ours_.find(slotOf(change));
    if (change.what == PatchWhat::order) {
      if (valueOf(factsOfOurs_, change) != valueOf(base_, change)) drop(index);
    } else if (mine && mine->after == change.after) {
      drop(index);
    } else if (mine && isBookkeeping(change)) {
      if (!isCounter(change)) drop(index);
    } else if (mine && !ours_.removed.contains(ownerOf(change.at)) &&
               !theirs_.removed.contains(ownerOf(change.at))) {
      conflict(change, change.what == PatchWhat::parent ? "it was moved to two places"
                                                        : "it has two new values");
      drop(index);
      if (isTheirs_) take(slotOf(change));
    }
  }

  /// Objects that one side removed and the other one still needs.
  void matchRemoved() {
    for (const PatchChange& change : theirs_.changes)
      if (change.what == PatchWhat::object && isNothing(change.after) && ours_.touches(change.at)) {
        conflict(change, "it was removed by theirs, and changed or used by ours");
        isTheirs_ ? removeBelow(change.at) : keepInOurs(change.at);
      }
    for (const PatchChange& change : ours_.changes)
      if (change.what == PatchWhat::object && isNothing(change.after) &&
          theirs_.touches(change.at)) {
        conflict(change, "it was removed by ours, and changed or used by theirs");
        isTheirs_ ? bringBack(change.at) : leaveRemoved(change.at);
      }
  }

  static std::string parentIn(const ComponentFacts& facts, const std::string& at) {
    const PatchObject* object = facts.find(at);
    const auto* parent =
        object ? std::get_if<std::string>(&object->value(PatchWhat::parent)) : nullptr;
    return parent ? *parent : std::string();
  }

  /// What keeps an object keeps what is above it.
  void keepInOurs(const std::string& at) {
    for (std::string up = at; theirs_.removed.contains(up); up = parentIn(factsOfOurs_, up))
      dropObject(up);
  }

  /// Ours may have put something below an object that goes.
  void removeBelow(const std::string& at) {
    if (below_.empty())
      for (const PatchObject& object : factsOfOurs_.objects())
        if (const std::string parent = parentIn(factsOfOurs_, object.at); !parent.empty())
          below_[parent].push_back(object.at);
    std::vector<std::string> left{at};
    std::unordered_set<std::string> met;
    while (!left.empty()) {
      const std::string next = std::move(left.back());
      left.pop_back();
      if (!met.insert(next).second) continue;
      for (const PatchWhat what : {PatchWhat::object, PatchWhat::parent})
        take(slotOf({next, what, {}, {}, {}}));
      const auto found = below_.find(next);
      if (found != below_.end())
        left.insert(left.end(), found->second.begin(), found->second.end());
    }
    if (const auto users = ours_.users.find(at); users != ours_.users.end())
      for (const std::size_t user : users->second) take(slotOf(ours_.changes[user]));
  }

  void bringBack(const std::string& at) {
    for (std::string up = at; ours_.removed.contains(up); up = parentIn(factsOfTheirs_, up)) {
      dropObject(up);
      takeObject(up);
    }
  }

  /// What theirs put under or attached to an object that stays gone goes with it.
  void leaveRemoved(const std::string& gone) {
    std::vector<std::string> left{gone};
    while (!left.empty()) {
      const std::string at = std::move(left.back());
      left.pop_back();
      dropObject(at);
      const auto users = theirs_.users.find(at);
      if (users == theirs_.users.end()) continue;
      for (const std::size_t user : users->second) {
        const PatchChange& change = theirs_.changes[user];
        drop(user);
        if (change.what == PatchWhat::parent && theirs_.added.contains(change.at))
          left.push_back(change.at);
      }
    }
  }

  std::string mergedParent(const std::string& at) const {
    const std::string slot = slotOf({at, PatchWhat::parent, {}, {}, {}});
    if (const auto taken = taken_.find(slot); taken != taken_.end())
      return std::get_if<std::string>(&taken->second.after)
                 ? std::get<std::string>(taken->second.after)
                 : std::string();
    if (const auto found = theirs_.slots.find(slot);
        found != theirs_.slots.end() && !dropped_[found->second])
      if (const auto* parent = std::get_if<std::string>(&theirs_.changes[found->second].after))
        return *parent;
    return parentIn(factsOfOurs_, at);
  }

  /// Moves that are sound on each side and lead in a circle together.
  void matchCycles() {
    std::unordered_set<std::string> sound{"root"};
    for (std::size_t i = 0; i < theirs_.changes.size(); ++i) {
      const PatchChange& change = theirs_.changes[i];
      if (change.what != PatchWhat::parent || dropped_[i]) continue;
      const std::vector<std::string> way = wayIntoCircle(
          change.at, sound, [this](const std::string& at) { return mergedParent(at); });
      if (way.empty()) continue;
      conflict(change, "it would be below itself by the moves of both sides");
      drop(i);
      // Theirs: all that is on the circle goes where it is there.
      if (isTheirs_)
        for (const std::string& each : way) take(slotOf({each, PatchWhat::parent, {}, {}, {}}));
    }
  }

  MergeResult result() {
    MergeResult result;
    result.conflicts = std::move(conflicts_);
    for (std::size_t i = 0; i < theirs_.changes.size(); ++i) {
      const PatchChange& change = theirs_.changes[i];
      if (dropped_[i] || taken_.contains(slotOf(change))) continue;
      result.patch.changes.push_back(change);
    }
    if (isTheirs_)
      for (const PatchChange& change : across_->changes)
        if (taken_.contains(slotOf(change))) result.patch.changes.push_back(change);
    result.taken = takenFromSides();
    return result;
  }

  std::vector<MergedChange> takenFromSides() const {
    const auto isListed = [](const PatchChange& change) {
      return change.what != PatchWhat::order && !isBookkeeping(change);
    };
    // What theirs decided to remove takes no more changes.
    const auto isGone = [this](const std::string& at) {
      const auto taken = taken_.find(slotOf({ownerOf(at), PatchWhat::object, {}, {}, {}}));
      return taken != taken_.end() && isNothing(taken->second.after);
    };
    std::vector<MergedChange> taken;
    for (const PatchChange& change : ours_.changes) {
      const std::string slot = slotOf(change);
      if (!isListed(change) || taken_.contains(slot) || isGone(change.at)) continue;
      const auto other = theirs_.slots.find(slot);
      const PatchChange* theirs =
          other == theirs_.slots.end() ? nullptr : &theirs_.changes[other->second];
      if (theirs && theirs->after != change.after && !dropped_[other->second]) continue;
      taken.push_back({true, theirs && theirs->after == change.after, change});
    }
    for (std::size_t i = 0; i < theirs_.changes.size(); ++i) {
      const PatchChange& change = theirs_.changes[i];
      if (isListed(change) && (!dropped_[i] || taken_.contains(slotOf(change))))
        taken.push_back({false, true, change});
    }
    return taken;
  }

  const ComponentFacts& base_;
  const ComponentFacts& factsOfOurs_;
  const ComponentFacts& factsOfTheirs_;
  const Side ours_;
  const Side theirs_;
  std::optional<Side> across_;  // from ours to theirs, while theirs decide
  const bool isTheirs_;
  std::vector<bool> dropped_;  // of the changes of theirs
  std::unordered_map<std::string, PatchChange> taken_;
  std::unordered_map<std::string, std::vector<std::string>> below_;
  std::vector<MergeConflict> conflicts_;
};

}  // namespace

MergeResult merge(const ComponentFacts& base, const ComponentFacts& ours,
                  const ComponentFacts& theirs, MergeSide side) {
  return Merging(base, ours, theirs, side).run();
}

// --- Whole components

namespace {

/// Conflicts as they are seen from the other side.
void turnAround(std::vector<MergeConflict>& conflicts) {
  for (MergeConflict& conflict : conflicts) {
    std::swap(conflict.ours, conflict.theirs);
    const auto word = [&conflict](const char* from, const char* to) {
      if (const auto at = conflict.reason.find(from); at != std::string::npos)
        conflict.reason.replace(at, std::string(from).size(), to);
    };
    word("ours", "\x01");
    word("theirs", "ours");
    word("\x01", "theirs");
  }
}

MergeSide turned(MergeSide side) {
  return side == MergeSide::ours     ? MergeSide::theirs
         : side == MergeSide::theirs ? MergeSide::ours
                                     : MergeSide::neither;
}

}  // namespace

ComponentMerge mergeComponents(Objects& base, const Objects& ours, const Objects& theirs,
                               MergeSide side) {
  const ComponentFacts inBase(base);
  const ComponentFacts inOurs(ours);
  const ComponentFacts inTheirs(theirs);
  ComponentMerge merged;
  const auto lossesOfTheirs = lossesOf(base, theirs.root(), difference(inBase, inTheirs), 1);
  if (!lossesOfTheirs.empty()) {
    const auto lossesOfOurs = lossesOf(base, ours.root(), difference(inBase, inOurs), 1);
    if (!lossesOfOurs.empty())
      merged.content = ContentConflict{lossesOfOurs.front(), lossesOfTheirs.front()};
    merged.startsFromTheirs = lossesOfOurs.empty() || side == MergeSide::theirs;
  }
  if (!merged.startsFromTheirs) {
    merged.result = merge(inBase, inOurs, inTheirs, side);
    return merged;
  }
  merged.result = merge(inBase, inTheirs, inOurs, turned(side));
  turnAround(merged.result.conflicts);
  for (MergedChange& change : merged.result.taken) std::swap(change.ours, change.theirs);
  std::stable_partition(merged.result.taken.begin(), merged.result.taken.end(),
                        [](const MergedChange& change) { return change.ours; });
  return merged;
}

}  // namespace jtw
