#include "SegmentConversion.h"

#include "ParallelFor.h"
#include "SegmentObjects.h"
#include "XtBrep.h"

namespace jt::file {

namespace {

ConvertedSegment dropped(std::string reason) {
  ConvertedSegment result;
  result.reason = std::move(reason);
  return result;
}

ConvertedSegment made(Buffer bytes) {
  ConvertedSegment result;
  result.bytes = std::move(bytes);
  return result;
}

/// An element that is told by its fields and holds no mesh: null shapes.
std::optional<Buffer> convertFields(const SegmentElement& element, const ShapeKind& kind,
                                    const Container& from, const TocEntry& entry,
                                    const Format& format, int level) {
  ShapeElement shape(codec::Budget::forInput(element.body.size()));
  shape.kind = kind.kind;
  Reader reader(element.body, from.format(), element.bodyOffset);
  kind.read(reader, shape);
  ByteSink body;
  Writer writer(body, format);
  writer.setConverting(true);
  kind.write(writer, shape);
  return writeElementSegment(kind.guid, element.frame.baseType, body.bytes(), entry.id,
                             entry.type(), format, level);
}

}  // namespace

const ConvertedSegment& SegmentConverter::convert(const Container& from, const TocEntry& entry) {
  {
    const std::lock_guard lock(mutex_);
    const auto found = done_.find(&entry);
    if (found != done_.end()) return *found->second;
  }
  auto result = std::make_unique<ConvertedSegment>();
  try {
    *result = make(from, entry);
  } catch (const JtFormatError& error) {
    *result = dropped(error.code() == "not_convertible"
                          ? error.message()
                          : "it cannot be read, so it cannot be converted: " + error.message());
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
  if (!variants) variants = std::make_unique<codec::VariantChoice>();
  return *variants;
}

ConvertedSegment SegmentConverter::make(const Container& from, const TocEntry& entry) {
  if (from.format().sameSegmentsAs(format_)) {
    ConvertedSegment same;
    same.isSame = true;
    return same;
  }
  return isShapeSegment(entry.type()) ? makeShape(from, entry) : makeOther(from, entry);
}

ConvertedSegment SegmentConverter::makeShape(const Container& from, const TocEntry& entry) {
  const SegmentContent content = from.load(entry);
  const auto elements = segmentElements(content.bytes, from.format());
  for (const SegmentElement& element : elements) {
    const ShapeKind* kind = findShapeKind(element.frame.typeId);
    if (!kind || !kind->convertsFields) continue;
    return made(*convertFields(element, *kind, from, entry, format_, level_));
  }
  const DecodedShape shape = readShape(content.bytes, from.format(), variantsOf(from),
                                       {true, from.limits().maxSegmentBytes});
  codec::EncodeOptions options = optionsOf(encoding_);
  options.coordinateBits = shape.bits[0];
  options.normalBits = shape.bits[1];
  if (shape.bits[2] > 0) options.textureBits = shape.bits[2];
  if (shape.bits[3] > 0) options.colourBits = shape.bits[3];
  codec::Report losses;
  losses.remarks = shape.remarks;
  ConvertedSegment result =
      made(writeShapeSegment(shape.mesh, entry.id, entry.type(), format_, options, losses, level_));
  if (shape.kind->isPrimitives)
    losses.add("primitives", "primitives are stored as triangles in another version");
  if (elements.size() > 1)
    losses.add("further_elements",
               "only one element with geometry of a shape segment goes into another version");
  result.losses = std::move(losses.remarks);
  return result;
}

ConvertedSegment SegmentConverter::makeOther(const Container& from, const TocEntry& entry) const {
  const SegmentContent content = from.load(entry);
  const auto elements = segmentElements(content.bytes, from.format());
  if (elements.size() == 1) {
    if (isSegmentObject(elements[0])) {
      codec::Report losses;
      ConvertedSegment result = made(writeSegmentObject(*readSegmentObject(from, entry), entry.id,
                                                        entry.type(), format_, level_, &losses));
      result.losses = std::move(losses.remarks);
      return result;
    }
    if (elements[0].frame.typeId == xtBrepTypeId()) {
      auto bytes =
          convertXtBrep(elements[0], from.format(), entry.id, entry.type(), format_, level_);
      if (bytes) return made(std::move(*bytes));
    }
  }
  return dropped(std::string("a segment ") + segmentTypeName(entry.type()) +
                 " of this version is not understood well enough to be put into the other one");
}

}  // namespace jt::file
