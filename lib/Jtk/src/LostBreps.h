#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include "JtGuid.h"
#include "JtNode.h"
#include "JtSave.h"

// Precise geometry that a save left out.

namespace jtk {

using DroppedSegments = std::unordered_map<JtGuid, std::string>;

/// Segments that a save left out, with the reasons.
DroppedSegments droppedSegments(const jt::SaveReport& report);
/// Adds why precise geometry that a node names was left out, once for each reason.
void addLostBreps(const JtNode& node, const DroppedSegments& dropped,
                  std::vector<std::string>& reasons);
/// Why precise geometry of a part's node or of its children was left out, once for each reason.
std::vector<std::string> lostBreps(const JtNode& part, const DroppedSegments& dropped);

}  // namespace jtk
