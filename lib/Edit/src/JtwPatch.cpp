// Facts of components, and the difference of two of them.

#include "JtwPatch.h"

#include <algorithm>
#include <array>
#include <tuple>
#include <unordered_set>
#include <utility>

#include "FactReading.h"

namespace jtw {

const char* patchWhatName(PatchWhat what) noexcept {
  static constexpr std::array kNames{"object", "parent", "order", "value", "property"};
  return kNames[static_cast<std::size_t>(what)];
}

const PatchValue& PatchObject::value(PatchWhat what, const std::string& name) const noexcept {
  static const PatchValue kNothing;
  const auto found = std::ranges::find_if(
      facts, [&](const PatchFact& fact) { return fact.what == what && fact.name == name; });
  return found == facts.end() ? kNothing : found->value;
}

ComponentFacts::ComponentFacts(const Objects& objects) : objects_(readFacts(objects, nullptr)) {
  places_.reserve(objects_.size());
  for (std::size_t i = 0; i < objects_.size(); ++i) places_.emplace(objects_[i].at, i);
}

const PatchObject* ComponentFacts::find(const std::string& at) const {
  const auto found = places_.find(at);
  return found == places_.end() ? nullptr : &objects_[found->second];
}

namespace {

class Difference {
 public:
  Difference(const ComponentFacts& a, const ComponentFacts& b) : a_(a), b_(b) {}

  std::vector<PatchChange> find() {
    for (const PatchObject& object : b_.objects()) compare(a_.find(object.at), object);
    for (const PatchObject& object : a_.objects())
      if (object.isKeyed() && !b_.find(object.at))
        add(object.at, {PatchWhat::object, {}, {}}, object.value(PatchWhat::object), {});
    for (const PatchObject& object : b_.objects()) compareOrders(object);
    return std::move(changes_);
  }

 private:
  void add(const std::string& at, const PatchFact& fact, const PatchValue& before,
           const PatchValue& after) {
    changes_.push_back({at, fact.what, fact.name, before, after});
  }

  void compare(const PatchObject* a, const PatchObject& b) {
    if (!a && !b.isKeyed()) return;
    static const std::vector<PatchFact> kNone;
    const std::vector<PatchFact>& was = a ? a->facts : kNone;
    // An object of another kind is made anew: all of its facts count.
    const bool isNew = !a || a->value(PatchWhat::object) != b.value(PatchWhat::object);
    if (a && isNew) made_.insert(b.at);
    const auto order = [](const PatchFact& x, const PatchFact& y) {
      return std::tie(x.what, x.name) < std::tie(y.what, y.name);
    };
    auto x = was.begin();
    auto y = b.facts.begin();
    while (x != was.end() || y != b.facts.end()) {
      if (y == b.facts.end() || (x != was.end() && order(*x, *y))) {
        if (x->what != PatchWhat::order && !isNew) add(b.at, *x, x->value, {});
        ++x;
      } else if (x == was.end() || order(*y, *x)) {
        if (y->what != PatchWhat::order) add(b.at, *y, {}, y->value);
        ++y;
      } else {
        if (x->what != PatchWhat::order && (isNew || x->value != y->value || hasNewParent(*y)))
          add(b.at, *y, x->value, y->value);
        ++x;
        ++y;
      }
    }
  }

  /// What is below an object that is made anew is moved to it.
  bool hasNewParent(const PatchFact& fact) const {
    const auto* parent =
        fact.what == PatchWhat::parent ? std::get_if<std::string>(&fact.value) : nullptr;
    return parent && made_.contains(*parent);
  }

  /// What is listed below an object once the other changes are made: what stays, then what is new,
  /// then what was moved there.
  void compareOrders(const PatchObject& b) {
    for (const PatchFact& fact : b.facts) {
      if (fact.what != PatchWhat::order) continue;
      const PatchObject* a = a_.find(b.at);
      const PatchValue& was = a ? a->value(PatchWhat::order, fact.name) : kNothing;
      const auto* before = std::get_if<std::vector<double>>(&was);
      const auto& after = std::get<std::vector<double>>(fact.value);
      if (before && *before == after && made_.empty()) continue;
      std::unordered_set<double> staying;
      std::vector<double> reached;
      if (before && !made_.contains(b.at))
        for (const double key : *before)
          if (isListedBelow(key, b.at)) {
            reached.push_back(key);
            staying.insert(key);
          }
      for (const bool moved : {false, true})
        for (const double key : after)
          if (!staying.contains(key) && isMove(key) == moved) reached.push_back(key);
      if (reached != after) add(b.at, fact, was, fact.value);
    }
  }

  static std::string placeOf(double key) { return std::to_string(static_cast<long>(key)); }
  bool isListedBelow(double key, const std::string& parent) const {
    const PatchObject* object = b_.find(placeOf(key));
    if (!object || made_.contains(object->at)) return false;
    const auto* listed = std::get_if<std::string>(&object->value(PatchWhat::parent));
    return listed && *listed == parent;
  }
  bool isMove(double key) const {
    const std::string at = placeOf(key);
    return a_.find(at) && !made_.contains(at);
  }

  inline static const PatchValue kNothing;
  const ComponentFacts& a_;
  const ComponentFacts& b_;
  std::vector<PatchChange> changes_;
  std::unordered_set<std::string> made_;  // objects that change their kind
};

}  // namespace

Patch difference(const ComponentFacts& a, const ComponentFacts& b) {
  return {{}, Difference(a, b).find()};
}

}  // namespace jtw
