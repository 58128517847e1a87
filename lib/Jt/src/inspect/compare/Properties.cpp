#include "inspect/compare/Properties.h"

#include <algorithm>
#include <unordered_map>

#include "Jt.h"
#include "JtTexture.h"
#include "VisMetaDataNode.h"
#include "inspect/compare/Values.h"

namespace jt::compare_detail {

namespace {

bool sameKey(const JtPropAtom& a, const JtPropAtom& b) {
  return a.typeID() == b.typeID() && sameAtom(a, b);
}

}  // namespace

bool isOfOneGeneration(const JtSceneObject& object) {
  return isCarriedUnread(object) || as<JtShaderEffects>(&object);
}

void PropertyComparison::entriesOf(const JtNode& node, std::vector<Entry>& out) {
  out.clear();
  JtPropAtom* key = nullptr;
  JtPropAtom* value = nullptr;
  for (int i = 0; node.getProperty(i, key, value); ++i) out.push_back({key, value, {}});
}

void PropertyComparison::sortByKey(std::vector<Entry>& entries) {
  for (Entry& entry : entries) entry.text = atomText(*entry.key);
  std::stable_sort(entries.begin(), entries.end(), [](const Entry& x, const Entry& y) {
    return std::pair(x.key->typeID(), std::string_view(x.text)) <
           std::pair(y.key->typeID(), std::string_view(y.text));
  });
}

void PropertyComparison::compare(PairId pair, const JtNode& a, const JtNode& b) {
  entriesOf(a, entriesA_);
  entriesOf(b, entriesB_);
  const bool sameOrder = std::ranges::equal(
      entriesA_, entriesB_, [](const Entry& x, const Entry& y) { return sameKey(*x.key, *y.key); });
  if (sameOrder) {
    for (std::size_t i = 0; i < entriesA_.size(); ++i)
      compareValues(pair, entriesA_[i], entriesB_[i]);
    return;
  }
  sortByKey(entriesA_);
  sortByKey(entriesB_);
  compareSorted(pair);
}

void PropertyComparison::compareSorted(PairId pair) {
  const auto order = [](const Entry& x, const Entry& y) {
    return std::pair(x.key->typeID(), std::string_view(x.text)) <
           std::pair(y.key->typeID(), std::string_view(y.text));
  };
  auto atA = entriesA_.begin();
  auto atB = entriesB_.begin();
  while (atA != entriesA_.end() || atB != entriesB_.end()) {
    if (atB == entriesB_.end() || (atA != entriesA_.end() && order(*atA, *atB)))
      tellLonely(pair, *atA++, true);
    else if (atA == entriesA_.end() || order(*atB, *atA))
      tellLonely(pair, *atB++, false);
    else
      compareValues(pair, *atA++, *atB++);
  }
}

void PropertyComparison::compareValues(PairId pair, const Entry& a, const Entry& b) {
  const auto* lateA = as<JtLateLoadedPropAtom>(a.value);
  const auto* lateB = as<JtLateLoadedPropAtom>(b.value);
  if (lateA && lateB) {
    compareLate(pair, atomText(*a.key), a, b);
    return;
  }
  if (isCarriedUnread(*a.value) && isCarriedUnread(*b.value)) {
    const auto same = sameCarriedBytes(*a.value, *b.value, forms_);
    if (!same)
      report_.skip();
    else if (!*same)
      report(pair, a, std::string("other bytes"), std::string("other bytes"));
    return;
  }
  if (!sameAtom(*a.value, *b.value)) {
    report(pair, a, atomValue(*a.value), atomValue(*b.value));
    return;
  }
  if (a.value->stateFlags() != b.value->stateFlags()) {
    const auto flags = [](const JtPropAtom& atom) {
      return "state flags " + std::to_string(atom.stateFlags());
    };
    report(pair, a, flags(*a.value), flags(*b.value));
  }
  if (const auto* pointer = as<JtPtrPropAtom>(a.value))
    pointers_.push_back({pair, atomText(*a.key), pointer->targetId(),
                         static_cast<const JtPtrPropAtom*>(b.value)->targetId()});
}

void PropertyComparison::compareLate(PairId pair, const std::string& key, const Entry& a,
                                     const Entry& b) {
  // Metadata in memory may have been changed since it was read.
  const auto* holderA = as<VisMetaDataNode>(report_.pair(pair).a);
  const auto* holderB = as<VisMetaDataNode>(report_.pair(pair).b);
  const JtMetaData* dataA = holderA ? holderA->metaData() : nullptr;
  const JtMetaData* dataB = holderB ? holderB->metaData() : nullptr;
  if (dataA && dataB && key == "JT_LLPROP_METADATA")
    segments_.compareMetaData(pair, *dataA, *dataB);
  else
    segments_.compareLate(pair, key, *as<JtLateLoadedPropAtom>(a.value),
                          *as<JtLateLoadedPropAtom>(b.value));
}

void PropertyComparison::tellLonely(PairId pair, const Entry& entry, bool inA) {
  if (!forms_.sameGeneration && isOfOneGeneration(*entry.value)) {
    report_.skip();
    return;
  }
  const ComparedValue value = atomValue(*entry.value);
  report(pair, entry, inA ? value : ComparedValue(), inA ? ComparedValue() : value);
}

void PropertyComparison::report(PairId pair, const Entry& entry, const ComparedValue& a,
                                const ComparedValue& b) {
  const std::string key = atomText(*entry.key);
  const auto kind = key == Jt::jtPropName ? DifferenceKind::name : DifferenceKind::property;
  report_.add(pair, kind, key, [&](Difference& difference) {
    difference.a = a;
    difference.b = b;
  });
}

void PropertyComparison::comparePointers() {
  if (pointers_.empty()) return;
  std::unordered_multimap<std::int32_t, std::int32_t> partners;
  for (const NodePair& pair : report_.pairs())
    partners.emplace(pair.a->objectId(), pair.b->objectId());
  for (const Pointer& pointer : pointers_) {
    const auto [first, last] = partners.equal_range(pointer.a);
    const bool isNowhere = pointer.a == 0 && pointer.b == 0;
    // Ids of other objects mean something in their file only.
    const bool isUnknown = pointer.a != 0 && pointer.b != 0 && first == last;
    const bool isPartner =
        std::any_of(first, last, [&](const auto& partner) { return partner.second == pointer.b; });
    if (isNowhere || isUnknown || isPartner) continue;
    const auto text = [](std::int32_t id) {
      return id == 0 ? std::string("no object") : "object " + std::to_string(id);
    };
    report_.add(pointer.pair, DifferenceKind::property, pointer.key, [&](Difference& difference) {
      difference.a = text(pointer.a);
      difference.b = text(pointer.b);
    });
  }
}

}  // namespace jt::compare_detail
