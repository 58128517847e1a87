#include "file/save/SegmentConversion.h"

#include <algorithm>

#include "JtPMI.h"
#include "JtSourceFile.h"
#include "base/ParallelFor.h"
#include "file/segments/SegmentObjects.h"
#include "file/segments/XtBrep.h"

namespace jt::file {

namespace {

ConvertedSegment dropped(std::string reason) {
  ConvertedSegment result;
  result.reason = std::move(reason);
  return result;
}

constexpr const char* kVersionReason = "the version changes";

ConvertedSegment made(Buffer bytes, std::string reason = kVersionReason) {
  ConvertedSegment result;
  result.bytes = std::move(bytes);
  result.reason = std::move(reason);
  return result;
}

/// An element that is explained by its fields and holds no mesh: null shapes.
Buffer convertFields(const SegmentElement& element, const ShapeKind& kind, const Container& from,
                     const TocEntry& entry, const Format& format, int level) {
  ShapeElement shape(codec::Budget::forInput(element.body.size()));
  shape.kind = kind.kind;
  Reader reader(element.body, from.format(), element.bodyOffset);
  kind.read(reader, shape);
  ByteSink body;
  Writer writer(body, format);
  writer.setConverting(true);
  kind.write(writer, shape);
  SegmentBuilder segment(format);
  segment.add(kind.guid, element.frame.baseType, body.bytes());
  return std::move(segment).finish(entry.id, entry.type(), level);
}

/// Adds the PMI of a segment unless it is among the objects already. False when there is none; PMI
/// that cannot be read stays as it is.
bool addPMI(const Container& from, const TocEntry& entry, std::vector<Ref<JtBase>>& objects) {
  constexpr std::int32_t kPMISegment = 3;
  constexpr std::int32_t kMetaDataSegment = 4;
  if (entry.type() != kPMISegment && entry.type() != kMetaDataSegment) return false;
  const JtType* type = PMIDataManager::classTypeID();
  const auto isPMI = [&](const Ref<JtBase>& object) { return object->typeID() == type; };
  if (std::ranges::any_of(objects, isPMI)) return true;
  try {
    Ref<JtBase> pmi = readSegmentObject(from, entry, type);
    if (!pmi) return false;
    objects.push_back(std::move(pmi));
    return true;
  } catch (const JtFormatError& error) {
    if (error.code() == "too_large") throw;  // raising a limit keeps it
    return false;
  }
}

std::string reasonOf(const JtFormatError& error) {
  return "it cannot be read, so it cannot be converted: " + error.message();
}

}  // namespace

void SegmentConverter::setChanged(const TocEntry& entry, Ref<JtBase> object, const char* reason) {
  Changes& changes = changes_[&entry];
  if (changes.objects.empty()) changes.reason = reason;
  for (const Ref<JtBase>& other : changes.objects) {
    if (other == object.get()) return;
    if (other->typeID() == object->typeID())
      throw JtFormatError("segment_shared", std::string("two changed objects of type ") +
                                                object->typeID()->name() +
                                                " go to one segment; change only one of them");
  }
  changes.objects.push_back(std::move(object));
}

const ConvertedSegment& SegmentConverter::convert(const Container& from, const TocEntry& entry) {
  {
    const std::lock_guard lock(mutex_);
    const auto found = done_.find(&entry);
    if (found != done_.end()) return *found->second;
  }
  const auto changed = changes_.find(&entry);
  const Changes* changes = changed == changes_.end() ? nullptr : &changed->second;
  auto result = std::make_unique<ConvertedSegment>();
  try {
    *result = make(from, entry, changes);
  } catch (const JtFormatError& error) {
    if (changes || isReadFailure(error.code()) || error.code() == "too_large") throw;
    *result = dropped(reasonOf(error));
  }
  const std::lock_guard lock(mutex_);
  return *done_.try_emplace(&entry, std::move(result)).first->second;
}

void SegmentConverter::convertShapes(const Container& from) {
  if (from.format().sameSegmentsAs(format_)) return;
  std::vector<const TocEntry*> shapes;
  for (const TocEntry& entry : from.toc())
    if (isShapeSegment(entry.type())) shapes.push_back(&entry);
  parallelFor(shapes.size(), [&](std::size_t i) { convert(from, *shapes[i]); });
}

codec::VariantChoice& SegmentConverter::variantsOf(const Container& from) {
  const std::lock_guard lock(mutex_);
  auto& variants = variants_[&from];
  if (!variants)
    variants = std::make_unique<codec::VariantChoice>([&from] { return examineVariants(from); });
  return *variants;
}

/// True for XT geometry whose bodies are in a segment that stays behind.
bool SegmentConverter::lacksPool(const Container& from, const TocEntry& entry) const {
  return hasPools_ && namesPooledBodies(from, entry) && !hasPools_(from);
}

ConvertedSegment SegmentConverter::make(const Container& from, const TocEntry& entry,
                                        const Changes* changes) {
  if (!from.format().sameSegmentsAs(format_))
    return isShapeSegment(entry.type()) ? makeShape(from, entry) : makeOther(from, entry, changes);
  if (lacksPool(from, entry))
    return dropped("its bodies are in a MultiXT segment of its file, which does not come along");
  std::vector<Ref<JtBase>> objects = changes ? changes->objects : std::vector<Ref<JtBase>>();
  const bool convertsPMI = !from.format().samePMIAs(format_) && addPMI(from, entry, objects);
  if (objects.empty()) {
    ConvertedSegment same;
    same.isSame = true;
    return same;
  }
  codec::Report losses;
  std::vector<const JtBase*> replaced;
  replaced.reserve(objects.size());
  for (const Ref<JtBase>& object : objects) replaced.push_back(object.get());
  ConvertedSegment result =
      made(replaceSegmentObjects(from, entry, replaced, format_, level_, &losses),
           changes && !convertsPMI ? changes->reason : kVersionReason);
  result.losses = std::move(losses.warnings);
  return result;
}

ConvertedSegment SegmentConverter::makeShape(const Container& from, const TocEntry& entry) {
  const SegmentContent content = from.load(entry);
  const auto elements = segmentElements(content.bytes, from.format());
  const ShapeKind* opaque = nullptr;
  bool hasMesh = false;
  for (const SegmentElement& element : elements) {
    const ShapeKind* kind = findShapeKind(element.frame.typeId);
    if (!kind) continue;
    if (kind->convertsFields)
      return made(convertFields(element, *kind, from, entry, format_, level_));
    hasMesh = hasMesh || kind->hasMesh;
    if (!kind->hasMesh) opaque = kind;
  }
  if (opaque && !hasMesh)
    return dropped(std::string("a ") + opaque->name +
                   " is not understood and has no form in the other version");
  MemoryShare memory = from.share();
  const DecodedShape shape = readShape(content.bytes, from.format(), variantsOf(from),
                                       {.limits = from.limits(), .memory = &memory});
  codec::EncodeOptions options = optionsOf(encoding_);
  options.coordinateBits = shape.bits[0];
  options.normalBits = shape.bits[1];
  if (shape.bits[2] > 0) options.textureBits = shape.bits[2];
  if (shape.bits[3] > 0) options.colorBits = shape.bits[3];
  codec::Report losses;
  losses.warnings = shape.warnings;
  ConvertedSegment result =
      made(writeShapeSegment(shape.mesh, entry.id, entry.type(), format_, options, losses, level_));
  const codec::Generation generation = generationOf(format_);
  const codec::VertexBindings bindings = codec::bindingsOf(shape.mesh, generation);
  result.shape = ShapeStorage{bindings, codec::quantizationOf(bindings, generation, options)};
  if (shape.isCompact && options.profile == codec::Profile::compatible)
    losses.add("compatible_form",
               "shapes in the compact form are stored in the compatible form, which is larger");
  if (shape.kind->isPrimitives)
    losses.add("primitives", "primitives are stored as triangles in another version");
  if (elements.size() > 1)
    losses.add("further_elements",
               "only one element with geometry of a shape segment goes into another version");
  result.losses = std::move(losses.warnings);
  return result;
}

ConvertedSegment SegmentConverter::makeOther(const Container& from, const TocEntry& entry,
                                             const Changes* changes) const {
  const SegmentContent content = from.load(entry);
  std::vector<Ref<JtBase>> changed = changes ? changes->objects : std::vector<Ref<JtBase>>();
  SegmentBuilder segment(format_);
  codec::Report losses;
  std::vector<JtGuid> leftOut;
  std::string reason;  // of the first that was left out
  const auto leaveOut = [&](const JtGuid& typeId, const std::string& why) {
    leftOut.push_back(typeId);
    if (reason.empty()) reason = why;
    losses.add("not_convertible",
               "an element of segment " + entry.id.text() + " was left out: " + why);
  };
  const auto elements = segmentElements(content.bytes, from.format());
  for (const SegmentElement& element : elements) {
    const JtGuid& typeId = element.frame.typeId;
    const auto mine = std::ranges::find_if(
        changed, [&](const Ref<JtBase>& object) { return object->typeID()->guid() == typeId; });
    if (mine != changed.end()) {
      const Ref<JtBase> object = std::move(*mine);
      changed.erase(mine);
      if (hasForm(*object, format_)) {
        segment.add(*object, &losses);
      } else {
        leaveOut(typeId, "it has no known form in this version");
      }
      continue;
    }
    try {
      if (const Ref<JtBase> object = readSegmentObject(element, from.format())) {
        segment.add(*object, &losses);
        continue;
      }
      const auto xt =
          typeId == xtBrepTypeId() ? convertXtBrep(element, from.format(), format_) : std::nullopt;
      if (xt) {
        segment.add(typeId, element.frame.baseType, xt->bytes());
        continue;
      }
      const std::string what = elements.size() == 1
                                   ? std::string("a segment ") + segmentTypeName(entry.type())
                                   : "type " + typeId.text();
      leaveOut(typeId, what +
                           " of this version is not understood well enough to be put into the "
                           "other one");
    } catch (const JtFormatError& error) {
      if (error.code() == "too_large") throw;
      leaveOut(typeId, reasonOf(error));
    }
  }
  for (const Ref<JtBase>& object : changed) segment.add(*object, &losses);
  if (segment.isEmpty()) return dropped(reason.empty() ? "it holds no element" : reason);
  ConvertedSegment result = made(std::move(segment).finish(entry.id, entry.type(), level_));
  result.leftOut = std::move(leftOut);
  result.losses = std::move(losses.warnings);
  return result;
}

}  // namespace jt::file
