#include <algorithm>

#include "PrimitiveSet.h"
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
  if (arrays.colours.count > 0)
    bits[3] = limited(arrays.colours.bits > 0 ? most(0, arrays.colours) : std::uint8_t{255},
                      Encoding::kMostColourBits);
  return bits;
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
      Mesh mesh;
      if (kind->isPrimitives) {
        // Whoever asks for a tolerance has a reason: then only the memory is limited.
        codec::Budget budget =
            options.tolerance > 0 ? codec::Budget(options.maxBytes) : element.budget;
        mesh = tessellate(primitivesOf(element, format), options.tolerance, budget);
      } else {
        mesh = meshOf(element, format, variants, report);
      }
      return {kind, std::move(mesh), std::move(report.remarks), bitsOf(element)};
    } catch (const JtFormatError& error) {
      throw error.within({{}, {}, kind->name, stored.bodyOffset});
    }
  }
  throw JtFormatError("no_geometry", "the segment has no element with geometry that can be read");
}

DecodedShape readShapeSegment(const Container& container, const TocEntry& entry,
                              codec::VariantChoice& variants, float tolerance) {
  try {
    return readShape(container.load(entry).bytes, container.format(), variants,
                     {true, container.limits().maxSegmentBytes, tolerance});
  } catch (const JtFormatError& error) {
    throw error.within(container.position(entry));
  }
}

}  // namespace jt::file
