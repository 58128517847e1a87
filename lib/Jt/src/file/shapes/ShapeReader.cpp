#include <algorithm>
#include <bit>
#include <functional>

#include "codec/shape/MeshDecoder.h"
#include "file/segments/SegmentObjects.h"
#include "file/shapes/PrimitiveSet.h"
#include "file/shapes/ShapeSegment.h"

namespace jt::file {

namespace {

/// The plain records of 8.x lossless data, packed or not.
std::span<const std::byte> plainRecords(const codec::StripData& strips, const ReadLimits& limits,
                                        codec::Budget& budget, Buffer& unpacked) {
  if (strips.packedSize <= 0) return strips.raw;
  if (strips.rawSize < 0)
    throw JtFormatError("bad_count", "a negative size of the vertex data",
                        {.element = "uncompressedDataSize"});
  const auto size = static_cast<std::uint64_t>(strips.rawSize);
  budget.spend(size);
  unpacked = unpack(strips.raw, Packing::zlib, limits, size).bytes;
  return unpacked.bytes();
}

Mesh meshOf(ShapeElement& element, const Format& format, codec::VariantChoice& variants,
            const ReadLimits& limits, codec::Report& report) {
  const codec::Generation generation = generationOf(format);
  if (generation == codec::Generation::v8) {
    Buffer unpacked;
    const auto records = element.strips.isLossless()
                             ? plainRecords(element.strips, limits, element.budget, unpacked)
                             : std::span<const std::byte>();
    return codec::decodeStrips(element.strips, records, format.bigEndian, element.kind,
                               element.budget, report);
  }
  if (element.kind == Mesh::Kind::triangles)
    return codec::decodeTopology(element.topology, generation, variants, element.budget, report);
  return codec::decodeLists(element.lists, generation, element.kind, element.budget, report);
}

/// What the arrays say; the parameters beside them may be wrong.
codec::QuantizationParameters bitsOf(const ShapeElement& element) {
  const bool isEight = !element.strips.primitives.empty();
  const codec::VertexArrays& arrays = isEight ? element.strips.arrays
                                      : element.kind == Mesh::Kind::triangles
                                          ? element.topology.arrays
                                          : element.lists.arrays;
  const auto most = [](std::uint8_t bits, const codec::CodedArray& array) {
    if (array.isHsv != 0) return std::max(bits, *std::ranges::max_element(array.hsvBits));
    for (const codec::UniformQuantizer& quantizer : array.quantizers)
      bits = std::max(bits, quantizer.bits);
    return bits;
  };
  using Encoding = ShapeEncoding;
  const auto limited = [](std::uint8_t bits, unsigned limit) {
    return static_cast<std::uint8_t>(std::min<unsigned>(bits, limit));
  };
  codec::QuantizationParameters bits{};
  if (arrays.coordinates.quantizedCoordinates())
    bits[0] = limited(most(0, arrays.coordinates), Encoding::kMostPositionBits);
  bits[1] = limited(arrays.normals.bits, Encoding::kMostNormalBits);
  bool hasTexture = false;
  bool isLossless = false;
  for (const codec::CodedArray& texture : arrays.textures) {
    if (texture.count <= 0) continue;
    hasTexture = true;
    isLossless = isLossless || texture.bits == 0;
    bits[2] = std::max(bits[2], texture.bits > 0 ? most(0, texture) : std::uint8_t{0});
  }
  if (hasTexture)
    bits[2] = limited(isLossless ? std::uint8_t{255} : bits[2], Encoding::kMostTextureBits);
  if (arrays.colors.count > 0)
    bits[3] = limited(arrays.colors.bits > 0 ? most(0, arrays.colors) : std::uint8_t{255},
                      Encoding::kMostColorBits);
  return bits;
}

/// An element with geometry of a shape segment.
struct FoundElement {
  const ShapeKind* kind;
  SegmentElement stored;
};

/// The first one of a segment. Throws JtFormatError when there is none.
FoundElement findElement(std::span<const std::byte> content, const Format& format) {
  for (const SegmentElement& stored : segmentElements(content, format)) {
    const ShapeKind* kind = findShapeKind(stored.frame.typeId);
    if (kind && kind->hasMesh) return {kind, stored};
  }
  throw JtFormatError("no_geometry", "the segment has no element with geometry that can be read");
}

ShapeElement readElement(const FoundElement& found, const Format& format, const ReadLimits& limits,
                         MemoryShare* memory) {
  ShapeElement element(
      codec::Budget::forInput(found.stored.body.size(), limits.maxSegmentBytes, memory));
  element.kind = found.kind->kind;
  Reader reader(found.stored.body, format, found.stored.bodyOffset);
  if (memory) reader.countIn(*memory);
  found.kind->read(reader, element);
  return element;
}

/// The variants that fit a shape; 0 for damage, and for what is no coded surface.
std::uint8_t variantsOf(const Container& container, const TocEntry& entry) {
  try {
    const SegmentContent content = container.load(entry);
    const FoundElement found = findElement(content.bytes, container.format());
    if (found.kind->isPrimitives || found.kind->kind != Mesh::Kind::triangles) return 0;
    MemoryShare memory = container.share();
    const ShapeElement element =
        readElement(found, container.format(), container.limits(), &memory);
    return codec::fittingVariants(element.topology.streams, element.budget);
  } catch (const JtFormatError&) {
    return 0;
  }
}

}  // namespace

DecodedShape readShape(std::span<const std::byte> content, const Format& format,
                       codec::VariantChoice& variants, const ShapeReadOptions& options) {
  const FoundElement found = findElement(content, format);
  codec::Report report;
  report.checkHashes = options.checkHashes;
  try {
    ShapeElement element = readElement(found, format, options.limits, options.memory);
    Mesh mesh;
    if (found.kind->isPrimitives) {
      // Whoever asks for a tolerance has a reason: then only the memory is limited.
      codec::Budget budget = options.tolerance > 0
                                 ? codec::Budget(options.limits.maxSegmentBytes, options.memory)
                                 : element.budget;
      mesh = tessellate(primitivesOf(element, format, options.limits, budget), options.tolerance,
                        budget);
    } else {
      mesh = meshOf(element, format, variants, options.limits, report);
    }
    return {found.kind, std::move(mesh), std::move(report.warnings), bitsOf(element),
            element.packets.hasSmall()};
  } catch (const JtFormatError& error) {
    throw error.within({.element = found.kind->name, .offset = found.stored.bodyOffset});
  }
}

std::uint8_t examineVariants(const Container& container) {
  if (generationOf(container.format()) == codec::Generation::v8) return 0;
  std::vector<const TocEntry*> shapes;
  for (const TocEntry& entry : container.toc())
    if (isShapeSegment(entry.type())) shapes.push_back(&entry);
  std::ranges::stable_sort(shapes, std::greater(), [](const TocEntry* e) { return e->length; });
  std::uint8_t allowed = 0;
  for (const TocEntry* entry : shapes) {
    if (std::has_single_bit(allowed)) break;
    const std::uint8_t fitting = variantsOf(container, *entry);
    const auto both = static_cast<std::uint8_t>(allowed & fitting);
    allowed = allowed == 0 ? fitting : both == 0 ? allowed : both;
  }
  return allowed;
}

DecodedShape readShapeSegment(const Container& container, const TocEntry& entry,
                              codec::VariantChoice& variants, float tolerance) {
  try {
    MemoryShare memory = container.share();
    const SegmentContent content = container.load(entry);
    DecodedShape shape = readShape(content.bytes, container.format(), variants,
                                   {true, container.limits(), tolerance, &memory});
    container.image().checkPresent();
    return shape;
  } catch (const JtFormatError& error) {
    container.image().checkPresent();
    throw error.within(container.position(entry));
  }
}

}  // namespace jt::file
