#pragma once

#include <optional>
#include <unordered_map>

#include "ApiGraColor.h"
#include "RTTran3D.h"

class JtNode;
class JtwNode;

namespace jtw {

/// What walks up the scene graph have found, as long as nothing changes it. Every node that a walk
/// passes is entered, so that no part of a way is gone twice.
struct WalkMemo {
  /// Relative to the component parent.
  struct Place {
    RTTran3D location;
    float ratio = 1.0F;
  };
  std::unordered_map<const JtNode*, JtNode*> parents;  ///< JT node of the component parent, or null
  std::unordered_map<const JtNode*, Place> places;
  /// The nearest color below the component parent.
  std::unordered_map<const JtNode*, std::optional<ApiGraColor>> colors;
  std::unordered_map<const JtwNode*, RTTran3D> absLocs;
};

}  // namespace jtw
