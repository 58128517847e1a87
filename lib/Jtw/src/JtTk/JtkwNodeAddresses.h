#pragma once

#include <cstdint>

#include "JtNode.h"

class JtkHierarchy;
class JtkPart;

// Scene-graph nodes that parts of the toolkit name by their address until they are written. Only an
// address that was stored by this process leads to a node, whatever a property says.

namespace jtw {

inline constexpr const char* kNodeAddress = "JtNodeAddress";
inline constexpr const char* kNodeAddressHigh = "JtNodeAddressLHS";

/// Stores the address of a node on a part. Takes a reference on the node.
void storeNodeAddress(JtkPart& part, JtNode& node);
/// Takes the address off a part. Takes no memory.
/// @param node the node with the reference that was taken for it; empty when the part has no
///             address, or one that was not stored here
/// @return whether the last property that was there could be removed
bool takeNodeAddress(JtkPart& part, jt::Ref<JtNode>& node);
/// Takes all addresses off a hierarchy and drops their references. Takes no memory.
void dropNodeAddresses(JtkHierarchy& top) noexcept;

}  // namespace jtw
