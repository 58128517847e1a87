#include "NodeProperties.h"

#include <cmath>
#include <unordered_set>

#include "Jt.h"
#include "VisMetaDataNode.h"

namespace mesh {
namespace {

using Value = Property::second_type;

/// Appends to a list of properties; the first value under a key counts.
class Collector {
 public:
  explicit Collector(std::vector<Property>& properties) : properties_(properties) {
    for (const auto& [key, value] : properties) keys_.insert(key);
  }
  void add(const std::string& key, Value value) {
    if (key.empty() || key == Jt::jtPropName || key == Jt::jtPropMeasurementUnits) return;
    const double* number = std::get_if<double>(&value);
    if (number && !std::isfinite(*number)) return;  // most formats cannot say it
    if (keys_.insert(key).second) properties_.emplace_back(key, std::move(value));
  }

 private:
  std::vector<Property>& properties_;
  std::unordered_set<std::string> keys_;
};

std::optional<Value> valueOf(const JtPropAtom* atom) {
  if (const auto* text = jt::as<JtStringPropAtom>(atom)) return text->value().stringToMbs();
  if (const auto* whole = jt::as<JtInt32PropAtom>(atom)) return std::int64_t{whole->value()};
  if (const auto* number = jt::as<JtFloatPropAtom>(atom))
    return static_cast<double>(number->value());
  return std::nullopt;
}

std::optional<Value> valueOf(const JtMetaData::Value& value) {
  if (const auto* text = std::get_if<JtString>(&value)) return text->stringToMbs();
  if (const auto* whole = std::get_if<std::int32_t>(&value)) return std::int64_t{*whole};
  if (const auto* number = std::get_if<float>(&value)) return static_cast<double>(*number);
  return std::nullopt;
}

/// Keys in metadata may end in "::".
std::string plainKey(const JtString& key) {
  std::string text = key.stringToMbs();
  if (text.ends_with("::")) text.resize(text.size() - 2);
  return text;
}

}  // namespace

void readProperties(JtNode& node, std::vector<Property>& properties) {
  Collector collector(properties);
  for (int i = 0; i < node.numProperties(); ++i) {
    JtPropAtom* key = nullptr;
    JtPropAtom* value = nullptr;
    if (!node.getProperty(i, key, value)) continue;
    const auto* text = jt::as<JtStringPropAtom>(key);
    const auto content = valueOf(value);
    if (text && content) collector.add(text->value().stringToMbs(), *content);
  }
  auto* owner = jt::as<VisMetaDataNode>(&node);
  // Metadata that cannot be read is no reason to lose the geometry.
  if (!owner || !owner->ensureMetaData() || !owner->metaData()) return;
  for (const JtMetaData::Entry& entry : owner->metaData()->entries())
    if (const auto content = valueOf(entry.value)) collector.add(plainKey(entry.key), *content);
}

}  // namespace mesh
