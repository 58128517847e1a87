// Values of JT nodes.

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <span>
#include <tuple>
#include <utility>

#include "Jt.h"
#include "JtMaterial.h"
#include "JtPathAttributes.h"
#include "JtXform.h"
#include "JtwPropertyNames.h"
#include "JtwTree.h"
#include "PatchValues.h"

namespace jtw {
namespace {

constexpr const char* kColor = "color";
constexpr const char* kHidden = "hidden";
constexpr const char* kMaterial = "material";
constexpr const char* kPlace = "place";
constexpr std::size_t kMaterialNumbers = 18;

/// Properties that values are shown for, with their names as `get` has them.
struct Alias {
  const char* name;
  const char* property;
  ValueShape shape;
};
const std::array<Alias, 9>& aliases() {
  static const std::array<Alias, 9> all{{
      {"attachment", keyName(Key::attachmentParent), ValueShape::integer},
      {"attachmentType", keyName(Key::attachmentType), ValueShape::integer},
      {"attributes", keyName(Key::attributes), ValueShape::text},
      {"displayed", keyName(Key::visibility), ValueShape::truth},
      {"name", Jt::jtPropName, ValueShape::text},
      {"preserved", keyName(Key::notUnitedEntity), ValueShape::truth},
      {"relStringId", keyName(Key::relStringId), ValueShape::text},
      {"uniqueId", keyName(Key::globalUniqueId), ValueShape::text},
      {"unit", Jt::jtPropMeasurementUnits, ValueShape::text},
  }};
  return all;
}

constexpr const char* kCounter = keyName(Key::pmiMaxProtoKey);
constexpr const char* kFrames = keyName(Key::frames);

/// Properties that follow from the objects and their kinds.
bool isDerived(const std::string& property) {
  return property == keyProperty() || property == keyName(Key::objType);
}

template <class T>
const T* first(const JtNode& node) {
  const int index = jt::firstAttribute<T>(&node);
  return index < 0 ? nullptr : jt::as<T>(node.attribute(index));
}

/// Nothing for a value that patches do not hold.
PatchValue valueOf(const JtPropAtom& atom) {
  if (const auto* text = jt::as<JtStringPropAtom>(&atom)) return text->value().stringToMbs();
  if (const auto* number = jt::as<JtInt32PropAtom>(&atom)) return std::int64_t{number->value()};
  if (const auto* number = jt::as<JtFloatPropAtom>(&atom))
    return std::vector<double>{static_cast<double>(number->value())};
  if (const auto* vector = jt::as<JtVector4fPropAtom>(&atom))
    return std::vector<double>(vector->value().begin(), vector->value().end());
  const auto* date = jt::as<JtDatePropAtom>(&atom);
  if (!date || date->utcOffset()) return {};
  const jt::DateFields& fields = date->value();
  return std::vector<double>{
      static_cast<double>(fields.year),   static_cast<double>(fields.month),
      static_cast<double>(fields.day),    static_cast<double>(fields.hour),
      static_cast<double>(fields.minute), static_cast<double>(fields.second)};
}

bool isSingle(double number) {
  return std::isfinite(number) &&
         std::abs(number) <= static_cast<double>(std::numeric_limits<float>::max());
}

jt::Ref<JtPropAtom> atomOf(const PatchValue& value) {
  if (const auto* text = std::get_if<std::string>(&value))
    return jt::make<JtStringPropAtom>(JtString(*text));
  if (const auto* number = std::get_if<std::int64_t>(&value))
    return jt::make<JtInt32PropAtom>(static_cast<int>(*number));
  if (const bool* truth = std::get_if<bool>(&value))
    return jt::make<JtInt32PropAtom>(*truth ? 1 : 0);
  const auto& list = std::get<std::vector<double>>(value);
  if (list.size() == 1) return jt::make<JtFloatPropAtom>(static_cast<float>(list[0]));
  if (list.size() == 4) {
    std::array<float, 4> vector{};
    std::ranges::transform(list, vector.begin(), [](double x) { return static_cast<float>(x); });
    return jt::make<JtVector4fPropAtom>(vector);
  }
  const auto field = [&list](std::size_t i) { return static_cast<std::int16_t>(list[i]); };
  return jt::make<JtDatePropAtom>(
      jt::DateFields{field(0), field(1), field(2), field(3), field(4), field(5)});
}

void append(std::vector<double>& numbers, const jt::Rgba& color) {
  numbers.insert(numbers.end(), color.begin(), color.end());
}

std::vector<double> colorOf(const JtMaterial& material) {
  std::vector<double> numbers;
  append(numbers, material.diffuse());
  return numbers;
}

std::vector<double> materialOf(const JtMaterial& material) {
  std::vector<double> numbers;
  numbers.reserve(kMaterialNumbers);
  append(numbers, material.ambient());
  append(numbers, material.specular());
  append(numbers, material.emission());
  for (const float number : {material.shininess(), material.reflectivity(), material.bumpiness()})
    numbers.push_back(static_cast<double>(number));
  for (const bool flag : {material.overrideVertexColors(),
                          material.hasState(JtAttributeState::force), material.isFinal()})
    numbers.push_back(flag ? 1 : 0);
  return numbers;
}

void setMaterial(JtMaterial& material, const std::vector<double>& numbers) {
  std::array<float, kMaterialNumbers> n{};
  std::ranges::transform(numbers, n.begin(), [](double x) { return static_cast<float>(x); });
  material.setAmbientColor(n[0], n[1], n[2], n[3]);
  material.setSpecularColor(n[4], n[5], n[6], n[7]);
  material.setEmissionColor(n[8], n[9], n[10], n[11]);
  material.setShininess(n[12]);
  material.setReflectivity(n[13]);
  material.setBumpiness(n[14]);
  material.setOverrideVertexColors(n[15] != 0);
  material.setForce(n[16] != 0);
  material.setFinal(n[17] != 0);
}

/// Puts a copy of the node's first attribute of a type, changed, in its place: others may share it.
template <class T, class Change>
bool changeAttribute(JtNode& node, const PatchValue& value, Change change) {
  const int index = jt::firstAttribute<T>(&node);
  if (std::holds_alternative<std::monostate>(value))
    return index < 0 || node.removeAttribute(index);
  const jt::Ref<JtBase> copy =
      index < 0 ? jt::Ref<JtBase>(jt::make<T>()) : node.attribute(index)->clone();
  auto* attribute = jt::as<T>(copy.get());
  change(*attribute, std::get<std::vector<double>>(value));
  return index < 0 ? node.appendAttribute(attribute) : node.replaceAttribute(index, attribute);
}

bool writeProperty(JtNode& node, const std::string& name, const PatchValue& value) {
  const auto key = jt::make<JtStringPropAtom>(JtString(name));
  if (!std::holds_alternative<std::monostate>(value))
    return node.addProperty(key.get(), atomOf(value).get(), true);
  node.deleteProperty(key.get());
  return true;
}

const Alias* aliasOf(const std::string& name) {
  const auto found =
      std::ranges::find_if(aliases(), [&](const Alias& alias) { return name == alias.name; });
  return found == aliases().end() ? nullptr : &*found;
}

/// A truth is stored as 0 or 1; other numbers stay properties.
PatchValue shapedAs(ValueShape shape, PatchValue value) {
  const auto* number = std::get_if<std::int64_t>(&value);
  if (shape != ValueShape::truth || !number || (*number != 0 && *number != 1)) return value;
  return *number == 1;
}

PatchFact propertyFact(std::string key, PatchValue value) {
  for (const Alias& alias : aliases()) {
    if (key != alias.property) continue;
    PatchValue shaped = shapedAs(alias.shape, value);
    if (shapeFault(shaped, alias.shape).empty())
      return {PatchWhat::value, alias.name, std::move(shaped)};
  }
  return {PatchWhat::property, std::move(key), std::move(value)};
}

std::string propertyFault(const PatchValue& value) {
  if (std::holds_alternative<bool>(value)) return "is a truth";
  if (std::holds_alternative<std::int64_t>(value)) return shapeFault(value, ValueShape::integer);
  const auto* list = std::get_if<std::vector<double>>(&value);
  if (!list) return {};
  if (list->size() != 1 && list->size() != 4 && list->size() != 6)
    return "a list of a property has one number, four or six";
  const auto isPart = [](double x) { return std::abs(x) < 32768 && std::trunc(x) == x; };
  if (list->size() == 6 ? !std::ranges::all_of(*list, isPart)
                        : !std::ranges::all_of(*list, isSingle))
    return "a number of the property is out of range";
  return {};
}

}  // namespace

std::string shapeFault(const PatchValue& value, ValueShape shape, std::size_t count) {
  if (std::holds_alternative<std::monostate>(value)) return {};
  if (shape == ValueShape::text)
    return std::holds_alternative<std::string>(value) ? "" : "is no text";
  if (shape == ValueShape::truth)
    return std::holds_alternative<bool>(value) ? "" : "is neither true nor false";
  if (shape == ValueShape::integer) {
    const auto* number = std::get_if<std::int64_t>(&value);
    const bool isInRange = number && *number >= std::numeric_limits<std::int32_t>::min() &&
                           *number <= std::numeric_limits<std::int32_t>::max();
    return isInRange ? "" : "is no whole number of 32 bits";
  }
  const auto* list = std::get_if<std::vector<double>>(&value);
  if (!list || (count != 0 && list->size() != count))
    return "is no list of " + (count == 0 ? "" : std::to_string(count) + " ") + "numbers";
  return std::ranges::all_of(*list, isSingle) ? "" : "has a number that is too large";
}

void readValues(const JtNode& node, bool hasFrames, std::vector<PatchFact>& facts) {
  const std::size_t begin = facts.size();
  if (const JtMaterial* material = first<JtMaterial>(node)) {
    facts.push_back({PatchWhat::value, kColor, colorOf(*material)});
    facts.push_back({PatchWhat::value, kMaterial, materialOf(*material)});
  }
  if (node.isIgnored()) facts.push_back({PatchWhat::value, kHidden, true});
  if (const JtXform* xform = first<JtXform>(node)) {
    const RTTran3D place = RTTran3D(std::span<const double, 16>(xform->matrix())).transposed();
    facts.push_back({PatchWhat::value, kPlace,
                     std::vector<double>(place.values().begin(), place.values().end())});
  }
  JtPropAtom* key = nullptr;
  JtPropAtom* value = nullptr;
  for (int i = 0; node.getProperty(i, key, value); ++i) {
    const auto* name = jt::as<JtStringPropAtom>(key);
    if (!name) continue;
    std::string text = name->value().stringToMbs();
    PatchValue held = hasFrames && text == kFrames ? PatchValue(true) : valueOf(*value);
    if (!std::holds_alternative<std::monostate>(held) && !isDerived(text))
      facts.push_back(propertyFact(std::move(text), std::move(held)));
  }
  std::stable_sort(facts.begin() + static_cast<std::ptrdiff_t>(begin), facts.end(),
                   [](const PatchFact& a, const PatchFact& b) {
                     return std::tie(a.what, a.name) < std::tie(b.what, b.name);
                   });
}

std::string nodeFaultOf(const PatchChange& change) {
  if (change.what == PatchWhat::property) {
    if (isDerived(change.name)) return "is no property that a patch changes";
    return change.name == kFrames && change.after == PatchValue(true) ? std::string()
                                                                      : propertyFault(change.after);
  }
  if (const Alias* alias = aliasOf(change.name)) return shapeFault(change.after, alias->shape);
  if (change.name == kHidden) return shapeFault(change.after, ValueShape::truth);
  if (change.name == kColor) return shapeFault(change.after, ValueShape::numbers, 4);
  if (change.name == kMaterial)
    return shapeFault(change.after, ValueShape::numbers, kMaterialNumbers);
  if (change.name == kPlace) return shapeFault(change.after, ValueShape::numbers, 16);
  return "is no value that there is";
}

bool writeValue(JtNode& node, const PatchChange& change) {
  if (change.what == PatchWhat::property) return writeProperty(node, change.name, change.after);
  if (const Alias* alias = aliasOf(change.name))
    return writeProperty(node, alias->property, change.after);
  if (change.name == kHidden) {
    node.setIgnored(change.after == PatchValue(true));
    return true;
  }
  if (change.name == kColor)
    return changeAttribute<JtMaterial>(node, change.after, [](JtMaterial& material, const auto& n) {
      material.setDiffuseColor(static_cast<float>(n[0]), static_cast<float>(n[1]),
                               static_cast<float>(n[2]), static_cast<float>(n[3]));
    });
  if (change.name == kMaterial)  // without a color there is no material
    return std::holds_alternative<std::monostate>(change.after) ||
           changeAttribute<JtMaterial>(node, change.after, setMaterial);
  return changeAttribute<JtXform>(node, change.after, [](JtXform& xform, const auto& n) {
    const RTTran3D place{std::span<const double, 16>(n.data(), 16)};
    jt::Matrix4 matrix{};
    std::ranges::copy(place.transposed().values(), matrix.begin());
    xform.setMatrix(matrix);
  });
}

bool isCounter(const PatchChange& change) {
  return change.what == PatchWhat::property && change.name == kCounter;
}

bool isFrameList(const PatchChange& change) {
  return change.what == PatchWhat::property && change.name == kFrames;
}

bool isBookkeeping(const PatchChange& change) {
  static constexpr std::array kNames{kCounter, kFrames, keyName(Key::pmiProtoKeys),
                                     keyName(Key::hasPreservedPmi)};
  return change.what == PatchWhat::property &&
         std::ranges::find(kNames, change.name) != kNames.end();
}

}  // namespace jtw
