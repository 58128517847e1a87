#include "JtwProperties.h"

#include "JtwSharedAtoms.h"

namespace jtw {

JtPropAtom* findProperty(const JtNode* node, const JtPropAtom* key) {
  JtPropAtom* value = nullptr;
  if (!node || !node->lookupProperty(key, value)) return nullptr;
  return value;
}

JtPropAtom* findProperty(const JtNode* node, Key key) { return findProperty(node, keyAtom(key)); }

std::optional<int> intProperty(const JtNode* node, Key key) {
  const auto* atom = jt::as<JtInt32PropAtom>(findProperty(node, key));
  return atom ? std::optional<int>(atom->value()) : std::nullopt;
}

const JtString* stringProperty(const JtNode* node, Key key) {
  const auto* atom = jt::as<JtStringPropAtom>(findProperty(node, key));
  return atom ? &atom->value() : nullptr;
}

const JtString* stringProperty(const JtNode* node, const char* key) {
  const auto* atom = node ? jt::as<JtStringPropAtom>(node->property(JtString(key))) : nullptr;
  return atom ? &atom->value() : nullptr;
}

bool setInt(JtNode* node, Key key, int value, bool replace) {
  return node && node->addProperty(keyAtom(key), jt::make<JtInt32PropAtom>(value).get(), replace);
}

bool setString(JtNode* node, Key key, const JtString& value, bool replace) {
  return node && node->addProperty(keyAtom(key), jt::make<JtStringPropAtom>(value).get(), replace);
}

bool setString(JtNode* node, const char* key, const JtString& value, bool replace) {
  if (!node) return false;
  const auto keyAtom = jt::make<JtStringPropAtom>(JtString(key));
  return node->addProperty(keyAtom.get(), jt::make<JtStringPropAtom>(value).get(), replace);
}

bool eraseProperty(JtNode* node, Key key) { return node && node->deleteProperty(keyAtom(key)); }

bool eraseProperty(JtNode* node, const char* key) {
  const auto keyAtom = jt::make<JtStringPropAtom>(JtString(key));
  return node && node->deleteProperty(keyAtom.get());
}

bool carriesKey(const JtNode* node) {
  return jt::as<JtInt32PropAtom>(findProperty(node, Key::protoKey)) != nullptr;
}

}  // namespace jtw
