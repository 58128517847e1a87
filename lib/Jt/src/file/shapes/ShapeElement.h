#pragma once

// One element of a shape segment, as it is stored.

#include <optional>
#include <vector>

#include "JtGuid.h"
#include "JtMesh.h"
#include "JtSceneObject.h"
#include "JtShape.h"
#include "codec/packet/Packets.h"
#include "codec/shape/ShapeData.h"
#include "file/archive/Format.h"

namespace jt::file {

/// The generation whose codecs a form uses.
inline codec::Generation generationOf(const Format& format) noexcept {
  return !format.has(Feature::topology)     ? codec::Generation::v8
         : !format.has(Feature::mk3Packets) ? codec::Generation::v9
                                            : codec::Generation::v10;
}

struct ShapeElement {
  explicit ShapeElement(const codec::Budget& budget) : budget(budget) {}

  Mesh::Kind kind = Mesh::Kind::triangles;
  LocalVersion baseVersion;
  LocalVersion vertexVersion;
  codec::VertexBindings bindings;
  std::int32_t oldBindings = 0;                  ///< 8.x: packed in a way of its own
  codec::QuantizationParameters quantization{};  ///< 8.x
  std::int16_t oldVertexVersion = 1;             ///< 8.x
  std::int16_t oldVersion = 1;                   ///< 8.x

  // Header of the collection that is nested in 10.x.
  JtGuid nestedTypeId;
  std::uint8_t nestedBaseType = 9;
  std::int32_t nestedObjectId = 0;
  LocalVersion meshVersion;
  std::int32_t vertexRecordsId = 0;
  LocalVersion collectionVersion;

  codec::TopologyData topology;  ///< triangles of 9.x and 10.x
  codec::ListData lists;         ///< polylines and points of 9.x and 10.x
  codec::StripData strips;       ///< all of 8.x

  // 9.x, from the second version of the collection on.
  bool hasExtension = true;
  std::int16_t extensionVersion = 1;
  std::uint64_t extensionBindings = 0;
  std::vector<std::byte> extensionFields;
  LocalVersion version;

  Box box;                                  ///< null shapes
  std::array<std::int32_t, 3> primitive{};  ///< primitive sets: texture, color, generation
  std::uint8_t primitiveGeneration = 0;
  std::int32_t bitsPerVertex = 0;
  std::vector<std::byte> trailingBytes;  ///< behind the last known field

  codec::PacketBatch packets;  ///< while it is read: what is still to be decoded
  codec::PacketStyle packetStyle = codec::PacketStyle::plain;  ///< when it is written
  codec::Budget budget;                                        ///< of what may still be decoded
};

}  // namespace jt::file
