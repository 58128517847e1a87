#include "JtkwNodeAddresses.h"

#include <unordered_map>

#include "JtString.h"
#include "JtkEntityFactory.h"
#include "JtkPart.h"

namespace jtw {
namespace {

/// How often each node was stored and not taken yet.
std::unordered_map<std::uint64_t, std::uint64_t>& storedNodes() {
  static auto* const nodes = new std::unordered_map<std::uint64_t, std::uint64_t>;
  return *nodes;
}

/// Reads an integer property and removes it. Nothing when there is none.
bool take(JtkPart& part, const JtString& key, std::uint32_t& value, bool& isRemoved) {
  JtkProperty* property = part.property(key);
  if (!property) return false;
  value = static_cast<std::uint32_t>(property->integerValue());
  isRemoved = part.removeProperty(property) == 1;
  return true;
}

// Made before the first address is stored: taking one needs no memory.
const JtString& lowKey() {
  static const auto& key = *new JtString(kNodeAddress);
  return key;
}
const JtString& highKey() {
  static const auto& key = *new JtString(kNodeAddressHigh);
  return key;
}

void addProperty(JtkPart& part, const JtString& key, std::uint32_t value) {
  const jt::Ref<JtkProperty> property(
      JtkEntityFactory::createProperty(key, static_cast<int>(value)));
  part.addProperty(property.get());
}

}  // namespace

void storeNodeAddress(JtkPart& part, JtNode& node) {
  jt::Ref<JtNode> earlier;
  takeNodeAddress(part, earlier);
  const auto address = reinterpret_cast<std::uintptr_t>(&node);
  const auto low = static_cast<std::uint32_t>(address);
  const auto high = static_cast<std::uint32_t>(static_cast<std::uint64_t>(address) >> 32U);
  std::uint64_t& count = storedNodes()[address];
  addProperty(part, lowKey(), low);
  if (high != 0) addProperty(part, highKey(), high);
  ++count;
  node.ref();
}

bool takeNodeAddress(JtkPart& part, jt::Ref<JtNode>& node) {
  std::uint32_t low = 0;
  std::uint32_t high = 0;
  bool isRemoved = false;
  take(part, lowKey(), low, isRemoved);
  take(part, highKey(), high, isRemoved);
  const std::uint64_t address = (std::uint64_t{high} << 32U) | low;
  const auto stored = storedNodes().find(address);
  if (address != 0 && stored != storedNodes().end()) {
    if (--stored->second == 0) storedNodes().erase(stored);
    // NOLINTNEXTLINE(performance-no-int-to-ptr): how the toolkit's parts carry it.
    node = jt::Ref<JtNode>::adopt(reinterpret_cast<JtNode*>(address));
  }
  return isRemoved;
}

void dropNodeAddresses(JtkHierarchy& top) noexcept {
  top.visitDistinct([](JtkHierarchy& node) noexcept {
    jt::Ref<JtNode> stored;
    if (node.isOfType(JtkEntity::PART)) takeNodeAddress(static_cast<JtkPart&>(node), stored);
  });
}

}  // namespace jtw
