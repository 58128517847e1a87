#pragma once

// Field lists of the shape elements, in the order and with the names of ISO 14306. Packets are
// fields too: read and written by the codecs, explained with their first values.

#include "codec/packet/Packets.h"
#include "file/archive/Archive.h"
#include "file/archive/PacketText.h"
#include "file/shapes/ShapeElement.h"

namespace jt::file {

struct ShapeFields {
  /// Tri-strip, polyline, point and polygon sets. `element.kind` must be set.
  template <class Ar>
  static void vertexShape(Ar& ar, ShapeElement& e) {
    parts(ar, e);
    if constexpr (Ar::kReading) e.packets.finish();
  }

  template <class Ar>
  static void nullShape(Ar& ar, ShapeElement& e) {
    if (ar.has(Feature::localVersions)) {
      ar.version("versionNumber", e.version, 1, 1);
    } else if (ar.left() > sizeof(Box)) {
      ar("versionNumber", e.oldVersion);
    }
    ar("untransformedBBox", e.box);
    trailingBytes(ar, e);
  }

  /// The head of a primitive set; its parameters stay bytes.
  template <class Ar>
  static void primitiveSet(Ar& ar, ShapeElement& e) {
    if (ar.has(Feature::localVersions)) {
      ar.version("baseShapeVersion", e.baseVersion, 1, 1);
    } else {
      ar("versionNumber", e.oldVersion);
    }
    if (ar.has(Feature::primitiveBindings)) {
      ar.version("basePrimitiveSetVersion", e.vertexVersion, 1, 1);
      ar("vertexBindings", e.bindings.bits);
      ar("textureCoordGenType", e.primitiveGeneration);
      ar.version("versionNumber", e.version, 1, 1);
    } else {
      ar("textureCoordBinding", e.primitive[0]);
      ar("colourBinding", e.primitive[1]);
      ar("textureCoordGenType", e.primitive[2]);
      ar("versionNumber", e.oldVertexVersion);
    }
    ar("bitsPerVertex", e.bitsPerVertex);
    trailingBytes(ar, e);
  }

  template <class Ar>
  static void opaque(Ar& ar, ShapeElement& e) {
    trailingBytes(ar, e);
  }

 private:
  using Predictor = codec::Predictor;
  using Values = std::vector<std::int32_t>;

  template <class Ar>
  static void parts(Ar& ar, ShapeElement& e) {
    if (!ar.has(Feature::topology)) {
      ar("vertexShapeLodVersion", e.oldVertexVersion);
      ar("bindingAttributes", e.oldBindings);
      ar("quantizationParameters", e.quantization);
      ar("versionNumber", e.oldVersion);
      strips(ar, e);
      trailingBytes(ar, e);
      return;
    }
    ar.version("baseShapeLodVersion", e.baseVersion, 1, 1);
    ar.version("vertexShapeLodVersion", e.vertexVersion, 1, 1);
    ar("vertexBindings", e.bindings.bits);
    if (ar.has(Feature::nestedCollections)) {
      nested(ar, e);
    } else {
      collection(ar, e);
      extension(ar, e);
    }
    ar.version("versionNumber", e.version, 1, 1);
    trailingBytes(ar, e);
  }

  template <class Ar>
  static void trailingBytes(Ar& ar, ShapeElement& e) {
    if constexpr (Ar::kReading) {
      if (ar.left() > 0) ar.raw("surplus", e.trailingBytes, ar.left());
    } else {
      ar.append(e.trailingBytes);
    }
  }

  /// A packet of the generation's form.
  template <class Ar>
  static void packet(Ar& ar, ShapeElement& e, const char* name, Values& values,
                     Predictor predictor = Predictor::none) {
    const codec::PacketKind kind = codec::packetKind(generationOf(ar.format()));
    if constexpr (Ar::kReading) {
      codec::ByteCursor cursor(ar.rest(), ar.format().bigEndian, ar.offset());
      e.packets.add(kind, cursor, e.budget, predictor, values);
      if constexpr (Ar::kTracing)
        e.packets.finish();  // values that are reported are needed at once
      const auto bytes = ar.rest();
      ar.taken(name, "packet", cursor.consumed(),
               [&] { return packetText(values, codec::packetCodecName(kind, bytes)); });
    } else {
      codec::Bytes bytes;
      codec::encodePacket(kind, bytes, ar.format().bigEndian, values, predictor, e.packetStyle);
      ar.append(bytes);
    }
  }

  /// So many packets under one name.
  template <class Ar>
  static void packets(Ar& ar, ShapeElement& e, const char* name, std::vector<Values>& vectors,
                      std::size_t count, Predictor predictor) {
    if constexpr (Ar::kReading) vectors.assign(count, {});
    for (Values& values : vectors) packet(ar, e, name, values, predictor);
  }

  /// I32 count and plain words.
  template <class Ar>
  static void words(Ar& ar, ShapeElement& e, const char* name, std::vector<std::uint32_t>& values) {
    if constexpr (Ar::kReading) {
      codec::ByteCursor cursor(ar.rest(), ar.format().bigEndian, ar.offset());
      const std::size_t count = cursor.count(name);
      const auto stored = cursor.take(std::size_t{4} * count, name);
      e.budget.spend(stored.size(), ar.offset());
      values.resize(count);
      for (std::size_t i = 0; i < count; ++i)
        values[i] = loadScalar<std::uint32_t>(stored.data() + 4 * i, ar.format().bigEndian);
      ar.taken(name, "VecU32", cursor.consumed(), [&] { return packetText(values, "plain"); });
    } else {
      ar.list(name, values);
    }
  }

  template <class Ar>
  static void quantizer(Ar& ar, codec::UniformQuantizer& q, const char* const (&names)[3]) {
    ar(names[0], q.min);
    ar(names[1], q.max);
    ar(names[2], q.bits);
  }
  template <class Ar>
  static void quantizers(Ar& ar, codec::CodedArray& array, std::size_t count) {
    if constexpr (Ar::kReading) array.quantizers.assign(count, {});
    for (codec::UniformQuantizer& q : array.quantizers)
      quantizer(ar, q, {"quantizerMin", "quantizerMax", "quantizerBits"});
  }

  // --- The nested header of 10.x and what it holds ---

  template <class Ar>
  static void nested(Ar& ar, ShapeElement& e) {
    constexpr std::size_t kHeader =
        16 + 1 + 4;  // id, base type and object id, which the length counts
    std::int32_t length = 0;
    if constexpr (Ar::kReading) {
      ar("nestedElementLength", length);
      if (length < 0 || static_cast<std::size_t>(length) < kHeader ||
          static_cast<std::size_t>(length) > ar.left())
        ar.fail("nestedElementLength", "expected a length of " + std::to_string(kHeader) + " to " +
                                           std::to_string(ar.left()) + ", found " +
                                           std::to_string(length));
      const std::size_t behind = ar.left() - static_cast<std::size_t>(length);
      nestedHeader(ar, e);
      collection(ar, e);
      std::vector<std::byte>& rest = arraysOf(e).auxiliary;
      if (ar.left() > behind) ar.raw("auxiliaryFields", rest, ar.left() - behind);
    } else {
      ByteSink sink;
      Writer inner(sink, ar.format());
      inner.setConverting(ar.isDefaulted(e.collectionVersion));
      collection(inner, e);
      inner.append(arraysOf(e).auxiliary);
      length = static_cast<std::int32_t>(kHeader + sink.size());
      ar("nestedElementLength", length);
      nestedHeader(ar, e);
      ar.append(sink.bytes());
    }
  }
  template <class Ar>
  static void nestedHeader(Ar& ar, ShapeElement& e) {
    ar("nestedObjectTypeId", e.nestedTypeId);
    ar("nestedObjectBaseType", e.nestedBaseType);
    ar("nestedObjectId", e.nestedObjectId);
  }
  static codec::VertexArrays& arraysOf(ShapeElement& e) {
    return e.kind == Mesh::Kind::triangles ? e.topology.arrays : e.lists.arrays;
  }

  template <class Ar>
  static void collection(Ar& ar, ShapeElement& e) {
    ar.version("topoMeshLodVersion", e.meshVersion, 2, 1);
    ar("vertexRecordsObjectId", e.vertexRecordsId);
    ar.version("collectionVersion", e.collectionVersion, 2, 1);
    if (e.kind == Mesh::Kind::triangles) {
      topology(ar, e);
    } else {
      lists(ar, e);
    }
  }

  /// What a 9.x element has behind its representation follows from the bytes that are left.
  template <class Ar>
  static void extension(Ar& ar, ShapeElement& e) {
    constexpr std::size_t kVersion = 2;
    constexpr std::size_t kExtension = 2 + 8;
    if constexpr (Ar::kReading) e.hasExtension = ar.left() >= kExtension + kVersion;
    if (!e.hasExtension) return;
    ar("auxiliaryVersion", e.extensionVersion);
    ar("auxiliaryBindings", e.extensionBindings);
    if constexpr (Ar::kReading) {
      if (ar.left() > kVersion) ar.raw("auxiliaryFields", e.extensionFields, ar.left() - kVersion);
    } else {
      ar.append(e.extensionFields);
    }
  }

  // --- Topologically compressed triangles ---

  template <class Ar>
  static void topology(Ar& ar, ShapeElement& e) {
    codec::TopologyStreams& s = e.topology.streams;
    for (Values& degrees : s.faceDegrees) packet(ar, e, "faceDegrees", degrees);
    packet(ar, e, "vertexValences", s.vertexValences);
    packet(ar, e, "vertexGroups", s.vertexGroups);
    packet(ar, e, "vertexFlags", s.vertexFlags, Predictor::lag1);
    for (Values& masks : s.faceMasks) packet(ar, e, "faceAttributeMasks", masks);
    packet(ar, e, "faceAttributeMasksNext", s.faceMasksNext);
    if (ar.has(Feature::topMasks)) packet(ar, e, "faceAttributeMasksTop", s.faceMasksTop);
    words(ar, e, "highDegreeFaceAttributeMasks", s.highDegreeMasks);
    packet(ar, e, "splitFaceSymbols", s.splitSymbols, Predictor::lag1);
    packet(ar, e, "splitFacePositions", s.splitPositions);
    ar("compositeHash", s.hash);
    codec::TopologyData& t = e.topology;
    ar("vertexRecordBindings", t.bindings.bits);
    ar("quantizationParameters", t.quantization);
    ar("topologicalVertexCount", t.vertexCount);
    if (t.vertexCount <= 0) return;
    ar("vertexAttributeCount", t.attributeCount);
    arrays(ar, e, t.arrays, t.bindings);
  }

  // --- Polylines and points ---

  template <class Ar>
  static void lists(Ar& ar, ShapeElement& e) {
    codec::ListData& l = e.lists;
    const bool predicted = ar.has(Feature::predictedLists);
    const Predictor predictor = predicted ? Predictor::lag1 : Predictor::none;
    l.hasGroups = ar.has(Feature::groupedPoints) || e.kind == Mesh::Kind::polylines;
    if (l.hasGroups) ar("faceGroupCount", l.groupCount);
    ar("primitiveCount", l.primitiveCount);
    ar("vertexIndexCount", l.indexCount);
    if (l.hasGroups) packet(ar, e, "faceGroupListIndices", l.groups, predictor);
    packet(ar, e, "primitiveListIndices", l.primitives, predictor);
    packet(ar, e, "vertexListIndices", l.indices, predictor);
    ar("listIndicesHash", l.listHash);
    ar("vertexRecordBindings", l.bindings.bits);
    ar("quantizationParameters", l.quantization);
    ar("vertexRecordCount", l.recordCount);
    if (l.recordCount <= 0) return;
    if (ar.has(Feature::uniqueCoordinates)) ar("uniqueCoordinateCount", l.uniqueCount);
    packet(ar, e, "uniqueCoordinateLengths", l.lengths);
    ar("uniqueVertexHash", l.lengthHash);
    arrays(ar, e, l.arrays, l.bindings);
  }

  // --- Vertex arrays of 9.x and 10.x ---

  template <class Ar>
  static void arrays(Ar& ar, ShapeElement& e, codec::VertexArrays& a,
                     const codec::VertexBindings& bindings) {
    if (bindings.coordinates()) coordinates(ar, e, a.coordinates);
    if (bindings.normals()) normals(ar, e, a.normals);
    if (bindings.colors()) colors(ar, e, a.colors);
    for (unsigned channel = 0; channel < codec::VertexBindings::kChannels; ++channel)
      if (bindings.texture(channel)) texture(ar, e, a.textures[channel]);
    if (bindings.flags()) {
      ar("vertexFlagCount", a.flagCount);
      packet(ar, e, "vertexFlagValues", a.flags);
    }
  }

  template <class Ar>
  static std::size_t vectors(const Ar& ar, const codec::CodedArray& array, bool lossless) {
    return codec::codeVectors(array.components, lossless, generationOf(ar.format()));
  }

  template <class Ar>
  static void coordinates(Ar& ar, ShapeElement& e, codec::CodedArray& a) {
    ar("coordinateCount", a.count);
    ar("coordinateComponents", a.components);
    quantizers(ar, a, 3);
    const bool lossless = !a.quantizedCoordinates();
    packets(ar, e, "coordinateCodes", a.codes, vectors(ar, a, lossless), Predictor::lag1);
    ar("coordinateHash", a.hash);
  }

  template <class Ar>
  static void normals(Ar& ar, ShapeElement& e, codec::CodedArray& a) {
    ar("normalCount", a.count);
    ar("normalComponents", a.components);
    ar("normalBits", a.bits);
    const bool packed = ar.has(Feature::packedNormals);
    const std::size_t quantized = packed ? 1 : 4;
    packets(ar, e, "normalCodes", a.codes, a.bits == 0 ? vectors(ar, a, true) : quantized,
            Predictor::none);
    ar("normalHash", a.hash);
  }

  template <class Ar>
  static void texture(Ar& ar, ShapeElement& e, codec::CodedArray& a) {
    ar("textureCoordCount", a.count);
    ar("textureCoordComponents", a.components);
    ar("textureCoordBits", a.bits);
    if (a.bits > 0) quantizers(ar, a, a.components);
    packets(ar, e, "textureCoordCodes", a.codes, vectors(ar, a, a.bits == 0),
            a.bits > 0 ? Predictor::lag1 : Predictor::none);
    ar("textureCoordHash", a.hash);
  }

  template <class Ar>
  static void colorQuantizers(Ar& ar, codec::CodedArray& a) {
    ar("colourIsHsv", a.isHsv);
    if (a.isHsv != 0) {
      ar("colourQuantizerBits", a.hsvBits);
    } else {
      quantizers(ar, a, 4);
    }
  }

  template <class Ar>
  static void colors(Ar& ar, ShapeElement& e, codec::CodedArray& a) {
    ar("colourCount", a.count);
    ar("colourComponents", a.components);
    ar("colourBits", a.bits);
    if (a.bits == 0) {
      packets(ar, e, "colourCodes", a.codes, vectors(ar, a, true), Predictor::none);
    } else if (ar.has(Feature::packedColors)) {
      colorQuantizers(ar, a);
      packets(ar, e, "colourCodes", a.codes, 1, Predictor::none);
    } else {
      colorQuantizers(ar, a);
      packets(ar, e, "colourCodes", a.codes, 4, Predictor::lag1);
    }
    ar("colourHash", a.hash);
  }

  // --- 8.x ---

  template <class Ar>
  static void strips(Ar& ar, ShapeElement& e) {
    codec::StripData& s = e.strips;
    ar("compressedRepVersion", e.oldVersion);
    ar("normalBinding", s.normalBinding);
    ar("textureCoordBinding", s.textureBinding);
    ar("colourBinding", s.colorBinding);
    ar("quantizationParameters", s.quantization);
    packet(ar, e, "primitiveListIndices", s.primitives, Predictor::stride1);
    if (s.isLossless()) {
      rawRecords(ar, s);
    } else {
      uniqueVertices(ar, e, s);
    }
  }

  template <class Ar>
  static void rawRecords(Ar& ar, codec::StripData& s) {
    ar("uncompressedDataSize", s.rawSize);
    ar("compressedDataSize", s.packedSize);
    const std::int64_t size = s.packedSize;
    ar.raw("vertexData", s.raw, static_cast<std::size_t>(size < 0 ? -size : size));
  }

  template <class Ar>
  static void uniqueVertices(Ar& ar, ShapeElement& e, codec::StripData& s) {
    codec::VertexArrays& a = s.arrays;
    quantizers(ar, a.coordinates, 3);
    ar("coordinateCount", a.coordinates.count);
    packets(ar, e, "coordinateCodes", a.coordinates.codes, 3, Predictor::lag1);
    if (s.normalBinding != 0) {
      ar("normalBits", a.normals.bits);
      ar("normalCount", a.normals.count);
      packets(ar, e, "normalCodes", a.normals.codes, 4, Predictor::none);
    }
    if (s.textureBinding != 0) {
      codec::CodedArray& t = a.textures[0];
      t.components = 2;
      quantizers(ar, t, 2);
      t.bits = 1;  // always quantized; the quantizers have the bits
      ar("textureCoordCount", t.count);
      packets(ar, e, "textureCoordCodes", t.codes, 2, Predictor::lag1);
    }
    if (s.colorBinding != 0) {
      a.colors.components = 4;
      a.colors.bits = 1;
      colorQuantizers(ar, a.colors);
      ar("colourCount", a.colors.count);
      packets(ar, e, "colourCodes", a.colors.codes, 4, Predictor::lag1);
    }
    packet(ar, e, "vertexDataIndices", s.indices, Predictor::stripIndex);
  }
};

}  // namespace jt::file
