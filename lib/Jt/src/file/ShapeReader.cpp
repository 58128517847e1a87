#include "SegmentObjects.h"
#include "ShapeSegment.h"
#include "codec/MeshDecoder.h"

namespace jt::file {

namespace {

/// The plain records of 8.x lossless data, packed or not.
std::span<const std::byte> plainRecords(const codec::StripData& strips, const ShapeElement& element,
                                        Buffer& unpacked) {
  if (strips.packedSize <= 0) return strips.raw;
  if (strips.rawSize < 0)
    throw JtFormatError("bad_count", "a negative size of the vertex data",
                        {{}, {}, "uncompressedDataSize", {}});
  codec::Budget budget = element.budget;
  const auto size = static_cast<std::uint64_t>(strips.rawSize);
  budget.spend(size);
  unpacked = unpack(strips.raw, Packing::zlib, ReadLimits{}, size).bytes;
  return unpacked.bytes();
}

Mesh meshOf(ShapeElement& element, const Format& format, codec::VariantChoice& variants,
            codec::Report& report) {
  const codec::Generation generation = generationOf(format);
  if (generation == codec::Generation::v8) {
    Buffer unpacked;
    const auto records = element.strips.isLossless()
                             ? plainRecords(element.strips, element, unpacked)
                             : std::span<const std::byte>();
    return codec::decodeStrips(element.strips, records, format.bigEndian, element.kind,
                               element.budget, report);
  }
  if (element.kind == Mesh::Kind::triangles)
    return codec::decodeTopology(element.topology, generation, variants, element.budget, report);
  return codec::decodeLists(element.lists, generation, element.kind, element.budget, report);
}

}  // namespace

DecodedShape readShape(std::span<const std::byte> content, const Format& format,
                       codec::VariantChoice& variants, const ShapeReadOptions& options) {
  for (const SegmentElement& stored : segmentElements(content, format)) {
    const ShapeKind* kind = findShapeKind(stored.frame.typeId);
    if (!kind || !kind->hasMesh) continue;
    ShapeElement element(codec::Budget::forInput(stored.body.size(), options.maxBytes));
    element.kind = kind->kind;
    codec::Report report;
    report.checkHashes = options.checkHashes;
    try {
      Reader reader(stored.body, format, stored.bodyOffset);
      kind->read(reader, element);
      Mesh mesh = meshOf(element, format, variants, report);
      return {kind, std::move(mesh), std::move(report.remarks)};
    } catch (const JtFormatError& error) {
      throw error.within({{}, {}, kind->name, stored.bodyOffset});
    }
  }
  throw JtFormatError("no_geometry", "the segment has no element with geometry that can be read");
}

DecodedShape readShapeSegment(const Container& container, const TocEntry& entry,
                              codec::VariantChoice& variants, bool checkHashes) {
  try {
    return readShape(container.load(entry).bytes, container.format(), variants,
                     {checkHashes, container.limits().maxSegmentBytes});
  } catch (const JtFormatError& error) {
    throw error.within(container.position(entry));
  }
}

}  // namespace jt::file
