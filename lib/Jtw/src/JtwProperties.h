#pragma once

#include <optional>

#include "JtNode.h"
#include "JtString.h"
#include "JtwPropertyNames.h"

// Typed access to the properties of a JT node. A null node has no properties; a value of another
// type than the one asked for counts as absent.

namespace jtw {

/// The value atom under a key, or null. Not owned.
JtPropAtom* findProperty(const JtNode* node, const JtPropAtom* key);
JtPropAtom* findProperty(const JtNode* node, Key key);

std::optional<int> intProperty(const JtNode* node, Key key);
/// Valid until the property changes; null when absent.
const JtString* stringProperty(const JtNode* node, Key key);
const JtString* stringProperty(const JtNode* node, const char* key);

/// The result is that of JtNode::addProperty; false for a null node.
bool setInt(JtNode* node, Key key, int value, bool replace);
bool setString(JtNode* node, Key key, const JtString& value, bool replace);
bool setString(JtNode* node, const char* key, const JtString& value, bool replace);
bool eraseProperty(JtNode* node, Key key);
bool eraseProperty(JtNode* node, const char* key);

/// True when the node is the JT node of a host object with a prototype key.
bool carriesKey(const JtNode* node);

}  // namespace jtw
