#include "inspect/compare/Objects.h"

#include <algorithm>
#include <string_view>

#include "JtLights.h"
#include "JtXform.h"
#include "file/elements/ElementTable.h"
#include "file/graph/SceneReader.h"
#include "inspect/compare/Values.h"

namespace jt::compare_detail {

namespace {

file::Format formOf(const JtPartition& partition) {
  if (const file::Container* container = partition.container()) return container->format();
  return {partition.version().major, partition.version().minor, false};
}

/// The light with an object id, made for the occasion; empty when there is none.
Ref<JtSceneObject> lightOf(const JtSceneObject& set, std::int32_t id) {
  const file::SceneSource* source = file::SceneSource::sourceOf(set);
  const std::uint32_t element = source ? source->find(id) : file::SceneSource::kNone;
  if (element == file::SceneSource::kNone) return {};
  file::Links links;
  const file::ElementKind* kind = nullptr;
  return file::SceneReader::readElement(*source, element, links, kind, nullptr);
}

/// Fields that are computed from geometry, which is compared itself: an area changes with the whole
/// outline of a shape, the extent of a file with every unit and transform on the way to it.
bool isDerived(const JtSceneObject& object, std::string_view name) {
  if (name == "area") return true;
  const auto* partition = as<JtPartition>(&object);
  return partition && numOwnChildren(*partition) > 0 && name.ends_with("oundingBox");
}

double limitOf(std::string_view field, const Tolerance& tolerance) {
  static constexpr std::string_view kLengths[] = {
      "boundingBox", "transformedBoundingBox", "untransformedBoundingBox", "rangeLimits", "center",
      "position"};
  const bool isLength = std::ranges::find(kLengths, field) != std::end(kLengths);
  return isLength ? tolerance.length : tolerance.plain;
}

bool areMatricesClose(std::span<const double> a, std::span<const double> b,
                      const Tolerance& tolerance) {
  for (std::size_t i = 0; i < 16; ++i) {
    const bool isLinear = i < 12 && i % 4 != 3;
    const bool isTranslation = i >= 12 && i < 15;
    const double limit = isLinear        ? tolerance.rotation
                         : isTranslation ? tolerance.length
                                         : tolerance.plain;
    if (!isClose(a[i], b[i], limit)) return false;
  }
  return true;
}

/// The matrix as far as a form holds it.
std::vector<double> matrixOf(const JtXform& xform, const file::Format& format) {
  std::vector<double> values(xform.matrix().begin(), xform.matrix().end());
  if (!format.has(file::Feature::doubleTransforms))
    for (double& value : values) value = static_cast<double>(static_cast<float>(value));
  return values;
}

}  // namespace

Forms::Forms(const JtPartition& a, const JtPartition& b) {
  const file::Format formA = formOf(a);
  const file::Format formB = formOf(b);
  sameGeneration = formA.sameGenerationAs(formB);
  sameBytes = sameGeneration && formA.bigEndian == formB.bigEndian;
  haveReflectivity = formA.has(file::Feature::materialReflectivity) &&
                     formB.has(file::Feature::materialReflectivity);
  const auto isOlder = [](const file::Format& x, const file::Format& y) {
    return std::pair(x.major, x.minor) < std::pair(y.major, y.minor);
  };
  common = isOlder(formA, formB) ? formA : formB;
  // Field lists of some attributes have no 8.x form.
  if (common.major < 9) common = {9, 5};
  common.bigEndian = false;
}

bool isCarriedUnread(const JtSceneObject& object) {
  const JtType* type = object.typeID();
  if (type == JtOpaqueAttribute::classTypeID() || type == JtOpaquePropAtom::classTypeID())
    return true;
  const auto* node = as<JtNode>(&object);
  return node && node->isOpaque();
}

std::optional<bool> sameCarriedBytes(const JtSceneObject& a, const JtSceneObject& b,
                                     const Forms& forms) {
  const file::SceneSource* sourceA = file::SceneSource::sourceOf(a);
  const file::SceneSource* sourceB = file::SceneSource::sourceOf(b);
  if (!forms.sameBytes || !sourceA || !sourceB) return {};
  return std::ranges::equal(sourceA->body(file::SceneSource::elementOf(a)),
                            sourceB->body(file::SceneSource::elementOf(b)));
}

/// Fields that are compared otherwise, or that only describe how their file stores things.
bool ObjectComparison::isLeftOut(const JtSceneObject& object, std::string_view name,
                                 const Tolerance& tolerance) const {
  static constexpr std::string_view kAlways[] = {"storedValuesMask", "elementValue",
                                                 "reservedBoundingBox"};
  static constexpr std::string_view kStorage[] = {"vertexBindings",
                                                  "vertexBindingsAgain",
                                                  "lastVertexBindings",
                                                  "textureAndColorBinding",
                                                  "quantizationParameters",
                                                  "bitsPerVertexAndColor",
                                                  "size",
                                                  "compressionLevel"};
  // Older than the oldest common form, so that form shows nothing.
  if (!forms_.haveReflectivity && name == "reflectivity") return true;
  if (std::ranges::find(kAlways, name) != std::end(kAlways)) return true;
  if (!tolerance.isExact() && isDerived(object, name)) return true;
  // With a tolerance, too: rounding is what it allows.
  const bool countsStorage = forms_.sameGeneration && tolerance.isExact();
  return !countsStorage && std::ranges::find(kStorage, name) != std::end(kStorage);
}

void ObjectComparison::list(const JtSceneObject& object, const Tolerance& tolerance,
                            file::FieldList& out) const {
  out.clear();
  const file::ElementKind* kind = file::findElementKind(object.typeID());
  if (!kind) return;
  file::FieldLister lister(out, forms_.common, forms_.sameBytes);
  kind->list(lister, object);
  // How many of these there are may differ.
  std::erase_if(out.fields,
                [&](const auto& field) { return isLeftOut(object, field.name, tolerance); });
}

void ObjectComparison::compare(const JtSceneObject& a, const JtSceneObject& b,
                               const Tolerance& tolerance, const OnDifference& report) {
  list(a, tolerance, listA_);
  list(b, tolerance, listB_);
  const char* last = "";
  std::size_t repeat = 0;
  for (std::size_t i = 0; i < std::max(listA_.fields.size(), listB_.fields.size()); ++i) {
    const auto* fieldA = i < listA_.fields.size() ? &listA_.fields[i] : nullptr;
    const auto* fieldB = i < listB_.fields.size() ? &listB_.fields[i] : nullptr;
    if (!fieldA || !fieldB || std::string_view(fieldA->name) != fieldB->name) {
      report((fieldA ? fieldA : fieldB)->name,
             fieldA ? fieldValue(listA_, *fieldA) : ComparedValue(),
             fieldB ? fieldValue(listB_, *fieldB) : ComparedValue());
      break;
    }
    repeat = std::string_view(last) == fieldA->name ? repeat + 1 : 0;
    last = fieldA->name;
    if (std::string_view(last) == "lightObjectId") {
      compareLights(a, b, tolerance, report);
      break;
    }
    if (sameField(listA_, *fieldA, listB_, *fieldB, limitOf(last, tolerance))) continue;
    std::string name = last;
    if (repeat > 0) name += "[" + std::to_string(repeat) + "]";
    report(name, fieldValue(listA_, *fieldA), fieldValue(listB_, *fieldB));
    // Lists of another length: what follows does not line up.
    if (name == "image") break;
  }
  const auto* xformA = as<JtXform>(&a);
  const auto* xformB = as<JtXform>(&b);
  if (!xformA || !xformB) return;
  const std::vector<double> matrixA = matrixOf(*xformA, forms_.common);
  const std::vector<double> matrixB = matrixOf(*xformB, forms_.common);
  if (!areMatricesClose(matrixA, matrixB, tolerance)) report("matrix", matrixA, matrixB);
}

/// Light sets name their lights by ids, which mean something in their file only.
void ObjectComparison::compareLights(const JtSceneObject& a, const JtSceneObject& b,
                                     const Tolerance& tolerance, const OnDifference& report) {
  const auto& lightsA = static_cast<const JtLightSet&>(a).lightIds();
  const auto& lightsB = static_cast<const JtLightSet&>(b).lightIds();
  if (lightsA.size() != lightsB.size()) {
    report("lights", static_cast<std::int64_t>(lightsA.size()),
           static_cast<std::int64_t>(lightsB.size()));
    return;
  }
  for (std::size_t i = 0; i < lightsA.size(); ++i) {
    const std::string name = "lights[" + std::to_string(i) + "].";
    const Ref<JtSceneObject> lightA = lightOf(a, lightsA[i]);
    const Ref<JtSceneObject> lightB = lightOf(b, lightsB[i]);
    if (!lightA && !lightB) continue;
    if (!lightA || !lightB || lightA->typeID() != lightB->typeID()) {
      report(name + "type", lightA ? ComparedValue(lightA->typeID()->name()) : ComparedValue(),
             lightB ? ComparedValue(lightB->typeID()->name()) : ComparedValue());
    } else if (!as<JtLightSet>(lightA.get())) {  // sets in sets would not end
      ObjectComparison(forms_).compare(
          *lightA, *lightB, tolerance,
          [&](const std::string& field, const ComparedValue& x, const ComparedValue& y) {
            report(std::string(name).append(field), x, y);
          });
    }
  }
}

bool ObjectComparison::isSame(const JtSceneObject& a, const JtSceneObject& b,
                              const Tolerance& tolerance) {
  if (isCarriedUnread(a) || isCarriedUnread(b))
    return sameCarriedBytes(a, b, forms_).value_or(true);
  bool same = true;
  compare(a, b, tolerance, [&](const auto&, const auto&, const auto&) { same = false; });
  return same;
}

}  // namespace jt::compare_detail
