#include "file/shapes/PrimitiveSet.h"

#include <algorithm>

#include "file/archive/Archive.h"
#include "file/container/Compression.h"
#include "file/container/Container.h"

namespace jt::file {

namespace {

constexpr std::int32_t kMostPlain = 4;  // lossy primitives that are stored field by field

bool hasColors(const ShapeElement& element, const Format& format) {
  return format.has(Feature::primitiveBindings) ? element.bindings.colors()
                                                : element.primitive[1] != 0;
}

Primitive::Type typeOf(Reader& ar) {
  std::int32_t type = 0;
  ar("primitiveType", type);
  if (type < 0 || type > static_cast<std::int32_t>(Primitive::Type::prism))
    ar.fail("primitiveType", "expected a primitive of type 0 to 4, found " + std::to_string(type));
  return static_cast<Primitive::Type>(type);
}

/// Records of 60 bytes, or of 48 without color.
std::vector<Primitive> losslessOf(const ShapeElement& element, const Format& format,
                                  const ReadLimits& limits, codec::Budget& budget) {
  Reader ar(element.trailingBytes, format);
  std::int32_t plainSize = 0;
  std::int32_t packedSize = 0;
  ar("uncompressedDataSize", plainSize);
  ar("compressedDataSize", packedSize);
  std::span<const std::byte> records = ar.rest();
  Buffer unpacked;
  if (packedSize > 0) {
    if (plainSize < 0 || static_cast<std::size_t>(packedSize) > records.size())
      ar.fail("compressedDataSize", "the sizes of the primitives do not fit their bytes");
    budget.spend(static_cast<std::uint64_t>(plainSize));
    unpacked = unpack(records.first(static_cast<std::size_t>(packedSize)),
                      format.has(Feature::lzma) ? Packing::xz : Packing::zlib, limits,
                      static_cast<std::uint64_t>(plainSize))
                   .bytes;
    records = unpacked.bytes();
  } else {
    const std::int64_t size = -static_cast<std::int64_t>(packedSize);
    if (size > static_cast<std::int64_t>(records.size()))
      ar.fail("compressedDataSize", "the sizes of the primitives do not fit their bytes");
    records = records.first(static_cast<std::size_t>(size));
  }
  constexpr std::size_t kWithColor = 60;
  constexpr std::size_t kWithoutColor = 48;
  const bool colors = records.size() % kWithColor == 0 &&
                      (hasColors(element, format) || records.size() % kWithoutColor != 0);
  const std::size_t size = colors ? kWithColor : kWithoutColor;
  if (records.size() % size != 0)
    ar.fail("vertexData", "the primitives are no whole number of records");
  Reader in(records, format);
  budget.spend(records.size() / size * sizeof(Primitive));
  std::vector<Primitive> primitives(records.size() / size);
  for (Primitive& primitive : primitives) {
    std::int32_t reserved = 0;
    in("reserved", reserved);
    in("params1", primitive.place);
    in("params2", primitive.size);
    in("params3", primitive.orientation);
    if (colors) in("colour", primitive.color.emplace());
    primitive.type = typeOf(in);
  }
  return primitives;
}

std::vector<Primitive> lossyOf(const ShapeElement& element, const Format& format) {
  Reader ar(element.trailingBytes, format);
  std::int32_t count = 0;
  ar("primitiveCount", count);
  if (count > kMostPlain)
    throw JtFormatError("no_geometry",
                        "primitive sets of more than four quantized primitives are carried, but "
                        "cannot be taken apart");
  std::vector<Primitive> primitives(static_cast<std::size_t>(std::max(count, 0)));
  const bool colors = hasColors(element, format);
  for (Primitive& primitive : primitives) {
    ar("params3", primitive.orientation);
    ar("params1", primitive.place);
    ar("params2", primitive.size);
    if (colors) ar("colour", primitive.color.emplace());
    primitive.type = typeOf(ar);
  }
  return primitives;
}

}  // namespace

std::vector<Primitive> primitivesOf(const ShapeElement& element, const Format& format,
                                    const ReadLimits& limits, codec::Budget& budget) {
  return element.bitsPerVertex == 0 ? losslessOf(element, format, limits, budget)
                                    : lossyOf(element, format);
}

}  // namespace jt::file
