#include "PartBreps.h"

#include <string>
#include <unordered_set>
#include <vector>

#include "JtSourceFile.h"
#include "NodeUnits.h"

namespace jtk {
namespace {

constexpr int kXT = 17;
constexpr int kWireframe = 18;

/// Visits key and atom of each property that names precise geometry.
template <class Visit>
void visitBreps(const JtNode& node, const Visit& visit) {
  JtPropAtom* key = nullptr;
  JtPropAtom* value = nullptr;
  for (int i = 0; node.getProperty(i, key, value); ++i) {
    const auto* text = jt::as<JtStringPropAtom>(key);
    auto* late = jt::as<JtLateLoadedPropAtom>(value);
    if (text && late && JtkBrep::isSegmentType(late->segmentType())) visit(*text, *late);
  }
}

/// Wireframes are in the unit of their node, everything else is in metres.
jt::Matrix4 placementOf(int segmentType, const jt::Matrix4& toPart, double scale) {
  const jt::Matrix4 placed = scaledTransform(toPart, scale);
  if (segmentType != kWireframe || scale == 1) return placed;
  jt::Matrix4 enlarged = jt::kIdentity;
  for (const std::size_t place : {0U, 5U, 10U}) enlarged[place] = scale;
  return jt::multiply(enlarged, placed);
}

}  // namespace

bool hasBreps(const JtNode& node) {
  bool isFound = false;
  visitBreps(node, [&](const auto&, const auto&) { isFound = true; });
  return isFound;
}

void removeBreps(JtNode& node) {
  std::vector<jt::Ref<JtStringPropAtom>> keys;
  visitBreps(node, [&](const JtStringPropAtom& key, const auto&) {
    keys.push_back(jt::make<JtStringPropAtom>(key.value()));
  });
  for (const auto& key : keys) node.deleteProperty(key.get());
}

void addBreps(JtkPart& part, const JtNode& node, const jt::Matrix4& toPart, double scale,
              bool isHidden) {
  visitBreps(node, [&](const JtStringPropAtom& key, JtLateLoadedPropAtom& atom) {
    const auto brep = jt::make<JtkBrep>(key.value(), &atom);
    const int type = atom.segmentType();
    brep->setPlacement(placementOf(type, toPart, scale), isHidden);
    const bool isPlain = brep->placement() == jt::kIdentity && !isHidden;
    if (isPlain && type == kXT && !part.brep())
      part.setBrep(brep.get());
    else if (isPlain && type == kWireframe && !part.wireframeBrep())
      part.setWireframeBrep(brep.get());
    else
      part.setIndexedBrep(part.numIndexedBreps(), brep.get());
  });
}

void addBodyPools(JtkPart& part) {
  std::unordered_set<JtGuid> known;
  std::vector<const JtkBrep*> breps{part.brep()};
  for (int i = 0; i < part.numIndexedBreps(); ++i) breps.push_back(part.indexedBrep(i));
  for (const JtkBrep* brep : breps)
    if (brep) known.insert(brep->atom()->segmentId());
  int number = 1;
  for (const JtkBrep* brep : breps) {
    if (!brep) continue;
    for (const auto& pool : jt::bodyPoolsOf(*brep->atom())) {
      if (!known.insert(pool->segmentId()).second) continue;
      std::string key = "JT_LLPROP_MULTIXTBREP";
      if (number++ > 1) key += std::to_string(number - 1);
      part.setIndexedBrep(part.numIndexedBreps(),
                          jt::make<JtkBrep>(JtString(key), pool.get()).get());
    }
  }
}

}  // namespace jtk
