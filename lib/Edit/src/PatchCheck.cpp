#include "PatchCheck.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <optional>
#include <unordered_set>

#include "JtwEditError.h"
#include "ParentCircle.h"
#include "PatchValues.h"

namespace jtw {
namespace {

constexpr const char* kRoot = "root";

/// "root", a key, or either with numbers behind it.
bool isPlace(std::string_view at, bool keyedOnly) {
  const std::size_t slash = std::min(at.find('/'), at.size());
  const auto isNumber = [](std::string_view text, std::int64_t least) {
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() && number >= least &&
           number <= std::numeric_limits<std::int32_t>::max() &&
           (text.size() == 1 || text.front() != '0');
  };
  const std::string_view owner = at.substr(0, slash);
  if (owner != kRoot &&
      (!isNumber(owner, std::numeric_limits<std::int32_t>::min()) || owner == "0"))
    return false;
  if (slash == at.size()) return true;
  if (keyedOnly) return false;
  for (std::size_t begin = slash; begin < at.size();) {
    const std::size_t end = std::min(at.find('/', begin + 1), at.size());
    if (!isNumber(at.substr(begin + 1, end - begin - 1), 0)) return false;
    begin = end;
  }
  return true;
}

bool isKind(const PatchValue& value) {
  static constexpr std::array kKinds{"block",  "link",  "sub-device",
                                     "entity", "frame", "annotation"};
  const auto* text = std::get_if<std::string>(&value);
  return std::holds_alternative<std::monostate>(value) ||
         (text && std::ranges::find(kKinds, *text) != kKinds.end());
}

bool isNothing(const PatchValue& value) { return std::holds_alternative<std::monostate>(value); }

std::string textOf(const PatchValue& value) {
  const auto* text = std::get_if<std::string>(&value);
  return text ? *text : std::string();
}

bool isKeyList(const PatchValue& value) {
  const auto* list = std::get_if<std::vector<double>>(&value);
  if (!list) return isNothing(value);
  const auto isKey = [](double x) {
    return x == static_cast<double>(
                    static_cast<std::int32_t>(std::clamp(x, -2147483648.0, 2147483647.0)));
  };
  return std::ranges::all_of(*list, isKey);
}

}  // namespace

bool isPMIKind(const std::string& kind) { return kind == "frame" || kind == "annotation"; }

std::string valueText(const PatchValue& value) {
  constexpr std::size_t kMost = 60;
  const auto number = [](auto x) {
    std::array<char, 32> digits{};
    return std::string(digits.data(), std::to_chars(digits.data(), digits.data() + 32, x).ptr);
  };
  std::string text;
  if (isNothing(value)) return "nothing";
  if (const bool* truth = std::get_if<bool>(&value)) return *truth ? "true" : "false";
  if (const auto* integer = std::get_if<std::int64_t>(&value)) return number(*integer);
  if (const auto* string = std::get_if<std::string>(&value)) {
    if (string->size() <= kMost) return "'" + *string + "'";
    std::size_t end = kMost;
    while (end > 0 && (static_cast<unsigned char>((*string)[end]) & 0xC0) == 0x80) --end;
    return "'" + string->substr(0, end) + "...'";
  }
  for (const double x : std::get<std::vector<double>>(value)) {
    if (text.size() > kMost) return "(" + text + " ...)";
    // Most come from stored singles: their shortest text has fewer digits.
    const auto single = static_cast<float>(x);
    const bool isSingle = static_cast<double>(single) == x;
    text += (text.empty() ? "" : " ") + (isSingle ? number(single) : number(x));
  }
  return "(" + text + ")";
}

PatchCheck::PatchCheck(const Patch& patch, const std::vector<PatchObject>& objects, bool force)
    : patch_(patch), objects_(objects), reasons_(patch.changes.size()) {
  places_.reserve(objects.size());
  for (std::size_t i = 0; i < objects.size(); ++i) places_.emplace(objects[i].at, i);
  std::unordered_set<std::string> met;
  for (std::size_t i = 0; i < patch.changes.size(); ++i) {
    const PatchChange& change = patch.changes[i];
    if (!met.insert(change.at + '\n' + patchWhatName(change.what) + '\n' + change.name).second)
      throw EditError(EditError::Kind::refused, "bad_patch",
                      "changes[" + std::to_string(i) + "] is about what another one changes");
    Slot& slot = slots_[change.at];
    if (change.what == PatchWhat::object) slot.object = i + 1;
    if (change.what == PatchWhat::parent) slot.parent = i + 1;
  }
  for (std::size_t i = 0; i < patch.changes.size(); ++i) requireSound(i);
  do {
    hasChanged_ = false;
    checkAll();
    checkRemovals();
    checkCycles();
  } while (force && hasChanged_);
}

void PatchCheck::requireSound(std::size_t index) {
  const PatchChange& change = patch_.changes[index];
  const auto fail = [index](const std::string& what) {
    throw EditError(EditError::Kind::refused, "bad_patch",
                    "changes[" + std::to_string(index) + "] " + what);
  };
  const bool isOfObject = change.what <= PatchWhat::order;
  if (!isPlace(change.at, isOfObject))
    fail("has a place that names no object: '" + change.at + "'");
  if (change.what == PatchWhat::object || change.what == PatchWhat::parent) {
    if (change.at == kRoot) fail("is about the component itself");
    if (!change.name.empty()) fail("has a name");
  }
  if (change.what == PatchWhat::object && (!isKind(change.before) || !isKind(change.after) ||
                                           (isNothing(change.before) && isNothing(change.after))))
    fail("has a kind that there is not");
  if (change.what == PatchWhat::parent && !isPlace(textOf(change.after), true))
    fail("has a parent that is no object");
  if (change.what == PatchWhat::order) {
    if (change.name != "objects" && change.name != "annotations")
      fail("orders neither objects nor annotations");
    if (!isKeyList(change.after)) fail("has an order that is no list of keys");
  }
  if (change.what != PatchWhat::value && change.what != PatchWhat::property) return;
  if (change.at == kRoot && change.what == PatchWhat::value && change.name == "key") {
    const auto* key = std::get_if<std::int64_t>(&change.after);
    if (!key || !shapeFault(change.after, ValueShape::integer).empty() || *key <= 0)
      fail("has a key that is none");
    return;
  }
  const std::string fault =
      isPMIKind(kindOf(change.at)) ? annotationFaultOf(change) : nodeFaultOf(change);
  if (!fault.empty()) fail("(" + change.name + ") " + fault);
}

std::optional<std::size_t> PatchCheck::indexOf(const std::string& at) const {
  const auto found = places_.find(at);
  return found == places_.end() ? std::nullopt : std::optional(found->second);
}

const PatchChange* PatchCheck::fitting(const std::string& at, PatchWhat what) const {
  const auto slot = slots_.find(at);
  if (slot == slots_.end()) return nullptr;
  const std::size_t place = what == PatchWhat::object ? slot->second.object : slot->second.parent;
  return place == 0 || !fits(place - 1) ? nullptr : &patch_.changes[place - 1];
}

std::string PatchCheck::kindOf(const std::string& at) const {
  if (at == kRoot) return "component";
  if (const PatchChange* change = fitting(at, PatchWhat::object)) return textOf(change->after);
  const auto index = indexOf(at);
  return index ? textOf(objects_[*index].value(PatchWhat::object)) : std::string();
}

std::string PatchCheck::parentOf(const std::string& at) const {
  if (kindOf(at).empty()) return {};
  if (const PatchChange* change = fitting(at, PatchWhat::parent)) return textOf(change->after);
  return parentBefore(at);
}

std::string PatchCheck::parentBefore(const std::string& at) const {
  const auto index = indexOf(at);
  return index ? textOf(objects_[*index].value(PatchWhat::parent)) : std::string();
}

bool PatchCheck::reject(std::size_t change, const std::string& reason) {
  if (reason.empty() || !fits(change)) return false;
  reasons_[change] = reason;
  hasChanged_ = true;
  return true;
}

void PatchCheck::checkAll() {
  for (std::size_t i = 0; i < reasons_.size(); ++i)
    if (fits(i)) reject(i, misfit(patch_.changes[i]));
}

std::string PatchCheck::objectMisfit(const PatchChange& change) {
  const auto index = indexOf(change.at);
  if (isNothing(change.before)) {
    if (index) return "the key is that of another object";
    return parentMisfit(change.at, textOf(change.after));
  }
  if (!index) return "there is no such object";
  const PatchValue& kind = objects_[*index].value(PatchWhat::object);
  if (kind != change.before)
    return "it is of the kind " + valueText(kind) + ", not " + valueText(change.before);
  return isNothing(change.after) ? std::string() : parentMisfit(change.at, textOf(change.after));
}

std::string PatchCheck::parentMisfit(const std::string& at, const std::string& kind) {
  const std::string parent = parentOf(at);
  if (parent.empty()) return "nothing says what it goes under";
  const std::string above = kindOf(parent);
  if (above.empty()) return "there is no object " + parent + " for it to go under";
  if (isPMIKind(above) || (isPMIKind(kind) && above == "entity"))
    return "object " + parent + " cannot hold it: it is of the kind " + above;
  return {};
}

std::string PatchCheck::misfit(const PatchChange& change) {
  if (change.what == PatchWhat::object) return objectMisfit(change);
  const auto slot = slots_.find(change.at);
  const std::size_t object = slot->second.object;
  if (object != 0 && !fits(object - 1)) return "the object does not fit";
  const PatchChange* own = fitting(change.at, PatchWhat::object);
  if (own && isNothing(own->after)) return "the patch removes the object";
  const std::string owner = change.at.substr(0, change.at.find('/'));
  if (owner != change.at) {
    const PatchChange* ofOwner = fitting(owner, PatchWhat::object);
    if (ofOwner) return "object " + owner + " is new or removed";
  }
  const auto index = indexOf(change.at);
  if (!own) {
    if (!index) return "there is no such object";
    if (!isBefore(change) && !isBookkeeping(change))
      return "it is " + valueText(objects_[*index].value(change.what, change.name)) + ", not " +
             valueText(change.before);
  }
  return change.what == PatchWhat::parent ? parentMisfit(change.at, kindOf(change.at))
                                          : std::string();
}

bool PatchCheck::isBefore(const PatchChange& change) const {
  const auto index = indexOf(change.at);
  if (!index) return isNothing(change.before);
  const PatchValue& held = objects_[*index].value(change.what, change.name);
  if (held == change.before) return true;
  // Other numbers than those of placements are singles, written as short as they can be.
  const auto* x = std::get_if<std::vector<double>>(&held);
  const auto* y = std::get_if<std::vector<double>>(&change.before);
  return x && y && change.what != PatchWhat::order && change.name != "place" &&
         std::ranges::equal(*x, *y, [](double a, double b) {
           return static_cast<float>(a) == static_cast<float>(b);
         });
}

/// Nothing that the patch does not know of goes with an object.
void PatchCheck::checkRemovals() {
  std::unordered_map<std::string, std::string> heldBy;  // an object that stays, by its parent
  for (auto object = objects_.rbegin(); object != objects_.rend(); ++object) {
    const PatchChange* change = fitting(object->at, PatchWhat::object);
    if (change && isNothing(change->after)) {
      const auto held = heldBy.find(object->at);
      if (held != heldBy.end())
        reject(slots_.at(object->at).object - 1, "it holds object " + held->second);
    }
    if (const std::string parent = parentOf(object->at); !parent.empty())
      heldBy.emplace(parent, object->at);
  }
}

void PatchCheck::checkCycles() {
  std::unordered_set<std::string> sound{kRoot};
  for (std::size_t i = 0; i < reasons_.size(); ++i) {
    const PatchChange& change = patch_.changes[i];
    if (change.what != PatchWhat::parent || !fits(i)) continue;
    const auto parentIn = [this](const std::string& at) { return parentOf(at); };
    if (wayIntoCircle(change.at, sound, parentIn).empty()) continue;
    reject(i, "it would be moved below itself");
    // A new object goes with its parent.
    if (const std::size_t object = slots_.at(change.at).object; object != 0)
      reject(object - 1, "it would be below itself");
  }
}

std::vector<PatchMisfit> PatchCheck::misfits() const {
  std::vector<PatchMisfit> all;
  for (std::size_t i = 0; i < reasons_.size(); ++i)
    if (!reasons_[i].empty()) all.push_back({i, reasons_[i]});
  return all;
}

}  // namespace jtw
