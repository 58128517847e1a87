#pragma once

#include "JtFlatMap.h"

class JtNode;
class JtwNode;

namespace jtw {

/// JT nodes with their wrappers: a walk over a component looks each node up.
class WrapperTable : public jt::FlatMap<JtNode*, JtwNode*, jt::PointerHash> {
 public:
  /// Null when the JT node has none, and for null.
  JtwNode* wrapperOf(JtNode* jtNode) const noexcept {
    JtwNode* const* const wrapper = find(jtNode);
    return wrapper ? *wrapper : nullptr;
  }
};

}  // namespace jtw
