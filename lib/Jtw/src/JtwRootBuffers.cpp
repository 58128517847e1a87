// The binary data of the host on the component node.

#include <algorithm>
#include <array>
#include <limits>
#include <span>

#include "JtBufferProperty.h"
#include "JtFormatError.h"
#include "JtPropAtom.h"
#include "JtwProperties.h"
#include "JtwRoot.h"
#include "JtwSharedAtoms.h"
#include "VisMetaDataNode.h"

namespace jtw {
namespace {

// Indexed by JtwRoot::JT_BUFFER.
constexpr std::array kBufferKeys{
    Key::kinBuffer,    Key::kinModelingBuffer, Key::kinTechnoBuffer, Key::mopBuffer,
    Key::dotKinBuffer, Key::gmKinBuffer,       Key::plcLogicBlock,   Key::kinTechnoDoubleBuffer,
};

}  // namespace
}  // namespace jtw

JtString JtwRoot::getBufferPropertyName(JT_BUFFER buffer) {
  if (buffer >= jtw::kBufferKeys.size()) return {};
  return JtString(jtw::keyName(jtw::kBufferKeys[buffer]));
}

jt::Ref<JtPropAtom> JtwRoot::createBufferPropertyKey(JT_BUFFER buffer) {
  if (buffer >= jtw::kBufferKeys.size()) return {};
  return jt::Ref<JtPropAtom>(jtw::keyAtom(jtw::kBufferKeys[buffer]));
}

bool JtwRoot::hasBuffer(JT_BUFFER buffer) const {
  const auto key = createBufferPropertyKey(buffer);
  return key && jtw::findProperty(jtNode(), key.get()) != nullptr;
}

bool JtwRoot::setBuffer(JT_BUFFER buffer, const char* data, unsigned size) {
  const auto key = createBufferPropertyKey(buffer);
  if (!jtNode() || !key) return false;
  if (size == 0) {
    jtNode()->deleteProperty(key.get());
    return true;
  }
  if (!data || size > static_cast<unsigned>(std::numeric_limits<std::int32_t>::max())) return false;
  JtBufferProperty property;
  property.setData(std::span(data, size));
  const auto value = jt::make<JtStringPropAtom>(property.toText());
  return jtNode()->addProperty(key.get(), value.get(), true);
}

RTAutoPtr<char> JtwRoot::getBuffer(JT_BUFFER buffer, unsigned& version, bool& found,
                                   unsigned& size) {
  found = false;
  if (auto* node = jt::as<VisMetaDataNode>(jtNode())) node->ensureMetaData();
  const auto key = createBufferPropertyKey(buffer);
  if (!key) return {};
  JtPropAtom* const value = jtw::findProperty(jtNode(), key.get());
  if (!value) return {};

  const jt::Ref<JtBufferProperty> property = readBuffer(value, found);
  if (!property || property->size() == 0) return {};
  const std::span<const char> bytes = property->data();
  RTAutoPtr<char> copy(new char[bytes.size()]);
  std::ranges::copy(bytes, copy.get());
  version = property->version();
  size = static_cast<unsigned>(bytes.size());
  found = true;
  return copy;
}

jt::Ref<JtBufferProperty> JtwRoot::readBuffer(JtPropAtom* value, bool& found) const {
  if (const auto* text = jt::as<JtStringPropAtom>(value)) {
    found = true;
    auto property = jt::make<JtBufferProperty>();
    property->fromText(text->value());
    return property;
  }
  if (auto* late = jt::as<JtLateLoadedPropAtom>(value)) {
    try {
      return jt::Ref<JtBufferProperty>(jt::as<JtBufferProperty>(late->load(partition()).get()));
    } catch (const JtFormatError& error) {
      jt::setLastError(error.what());
    }
  }
  return {};
}
