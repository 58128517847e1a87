#pragma once

// The contents of shape elements by generation, as they are stored: vectors without prediction,
// arrays as codes.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "codec/shape/VertexBindings.h"
#include "codec/surface/Topology.h"
#include "codec/vertex/VertexArrays.h"

namespace jt::codec {

/// Requested bits: a vertex, normal factor, a texture coordinate, a color. The arrays decide.
using QuantizationParameters = std::array<std::uint8_t, 4>;

/// The arrays that bindings announce.
struct VertexArrays {
  CodedArray coordinates;
  CodedArray normals;
  CodedArray colors;
  std::array<CodedArray, VertexBindings::kChannels> textures;
  std::int32_t flagCount = 0;
  std::vector<std::int32_t> flags;
  std::vector<std::byte>
      auxiliary;  ///< 10.x: kept as bytes, with whatever follows the known arrays
};

/// Topologically compressed triangles of 9.x and 10.x.
struct TopologyData {
  TopologyStreams streams;
  VertexBindings bindings;
  QuantizationParameters quantization{};
  std::int32_t vertexCount = 0;
  std::int32_t attributeCount = 0;
  VertexArrays arrays;
};

/// Polylines and points of 9.x and 10.x.
struct ListData {
  std::int32_t groupCount = 0;
  std::int32_t primitiveCount = 0;
  std::int32_t indexCount = 0;
  bool hasGroups = true;                 ///< false for 9.x points
  std::vector<std::int32_t> groups;      ///< first primitive of each group, and the end
  std::vector<std::int32_t> primitives;  ///< first index of each primitive, and the end
  std::vector<std::int32_t> indices;     ///< records
  std::uint32_t listHash = 0;
  VertexBindings bindings;
  QuantizationParameters quantization{};
  std::int32_t recordCount = 0;
  std::int32_t uniqueCount = 0;
  std::vector<std::int32_t> lengths;  ///< how many records in a row each coordinate serves
  std::uint32_t lengthHash = 0;
  VertexArrays arrays;

  std::uint32_t computedListHash() const;
};

/// Strips, polylines and points of 8.x.
struct StripData {
  std::uint8_t normalBinding = 0;  ///< 0 none, 1 a vertex, 2 a facet, 3 a primitive
  std::uint8_t textureBinding = 0;
  std::uint8_t colorBinding = 0;
  QuantizationParameters quantization{};
  std::vector<std::int32_t> primitives;  ///< first entry of each primitive, and the end
  // Lossless: a record for each entry.
  std::int32_t rawSize = 0;     ///< of the plain records
  std::int32_t packedSize = 0;  ///< of a zlib stream; negative: of plain bytes; 0: none
  std::vector<std::byte> raw;   ///< as stored
  // Lossy: tables of unique vertices. Codes of normals keep their prediction, which is not certain.
  VertexArrays arrays;
  std::vector<std::int32_t> indices;  ///< into the tables, for each entry

  bool isLossless() const noexcept { return quantization[0] == 0; }
};

}  // namespace jt::codec
