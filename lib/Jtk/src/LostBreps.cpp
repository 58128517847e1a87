#include "LostBreps.h"

#include <algorithm>

#include "JtkBrep.h"

namespace jtk {

DroppedSegments droppedSegments(const jt::SaveReport& report) {
  DroppedSegments dropped;
  for (const jt::SegmentAction& action : report.segments)
    if (action.kind == jt::SegmentAction::Kind::dropped) dropped.emplace(action.id, action.reason);
  return dropped;
}

void addLostBreps(const JtNode& node, const DroppedSegments& dropped,
                  std::vector<std::string>& reasons) {
  JtPropAtom* key = nullptr;
  JtPropAtom* value = nullptr;
  for (int i = 0; node.getProperty(i, key, value); ++i) {
    const auto* late = jt::as<JtLateLoadedPropAtom>(value);
    if (!late || !JtkBrep::isSegmentType(late->segmentType())) continue;
    const auto found = dropped.find(late->segmentId());
    if (found != dropped.end() && std::ranges::find(reasons, found->second) == reasons.end())
      reasons.push_back(found->second);
  }
}

std::vector<std::string> lostBreps(const JtNode& part, const DroppedSegments& dropped) {
  std::vector<std::string> reasons;
  if (dropped.empty()) return reasons;
  addLostBreps(part, dropped, reasons);
  for (int i = 0; i < part.numChildren(); ++i) addLostBreps(*part.child(i), dropped, reasons);
  return reasons;
}

}  // namespace jtk
