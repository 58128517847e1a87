#pragma once

// Field list of the element "Wireframe Rep" of 9.x and 10.x.

#include <bit>

#include "codec/packet/FloatPackets.h"
#include "codec/packet/Packets64.h"
#include "file/archive/PacketText.h"
#include "file/segments/WireframeElement.h"

namespace jt::file {

struct WireframeFields {
  template <class Ar>
  static void run(Ar& ar, Of<Ar, WireframeElement>& e) {
    if (!ar.has(Feature::readableWireframes))
      throw JtFormatError("unknown_form", "the form of wireframes in 8.x is not known",
                          {.offset = ar.offset()});
    ar.version("versionNumber", e.version, 1, 1);
    count(ar, "edgeCount", e.edgeCount);
    count(ar, "mcsCurveCount", e.curveCount);
    if (e.edgeCount > 0) {
      const Coding coding = codingOf(ar, PacketKind::mk2, Predictor::lag1, Predictor::none);
      packet(ar, e, "mcsCurveIndex", e.curveIndices, coding, e.edgeCount);
      packet(ar, e, "edgeTag", e.edgeTags, coding, e.edgeCount);
    }
    if (e.curveCount > 0) curves(ar, e);
    ar("edgeTagCounter", e.nextTag);
    ar("cadTagsFlag", e.cadTags.flag);
    if (e.cadTags.flag == 1) cadTags(ar, e.cadTags);
    ar.raw("surplus", e.trailingBytes, Ar::kReading ? ar.left() : e.trailingBytes.size());
  }

 private:
  using Predictor = codec::Predictor;
  using PacketKind = codec::PacketKind;
  using Values = std::vector<std::int32_t>;
  struct Coding {
    PacketKind kind;
    Predictor predictor;
  };

  template <class Ar>
  static Coding codingOf(const Ar& ar, PacketKind kind9, Predictor predictor9,
                         Predictor predictor10) {
    if (ar.has(Feature::mk3Packets)) return {PacketKind::mk3, predictor10};
    return {kind9, predictor9};
  }

  template <class Ar>
  static void count(Ar& ar, const char* name, Of<Ar, std::int32_t>& value) {
    ar(name, value);
    if (value < 0) ar.fail(name, "the count is " + std::to_string(value));
  }

  template <class Ar>
  static void curves(Ar& ar, Of<Ar, WireframeElement>& e) {
    const Coding indices = codingOf(ar, PacketKind::mk1, Predictor::stride1, Predictor::lag1);
    const Coding values = codingOf(ar, PacketKind::mk1, Predictor::lag1, Predictor::none);
    ar.list("knotTypeFlags", e.hasKnotKind);
    if (e.hasKnotKind.size() != e.kKnotKinds)
      ar.fail("knotTypeFlags", "expected 4 flags, found " + std::to_string(e.hasKnotKind.size()));
    for (std::size_t kind = 0; kind < e.kKnotKinds; ++kind)
      if (e.hasKnotKind[kind] != 0) packet(ar, e, "knotTypeCurves", e.curvesOfKind[kind], indices);
    packet(ar, e, "curveBaseType", e.baseTypes, values, e.curveCount);
    packet(ar, e, "curveDegree", e.degrees, values, e.curveCount);
    packet(ar, e, "controlPointCount", e.pointCounts, values, e.curveCount);
    packet(ar, e, "dimensionality", e.dimensions, values, e.curveCount);
    packet(ar, e, "reserved", e.reserved, values, e.curveCount);
    ar("weightCount", e.weightCount);
    packet(ar, e, "weightIndex", e.weightIndices, indices);
    doubles(ar, e, "weight", e.weights);
    doubles(ar, e, "controlPoint", e.points);
    doubles(ar, e, "knot", e.knots);
  }

  /// @param count that the packet must have; negative: any
  template <class Ar>
  static void packet(Ar& ar, Of<Ar, WireframeElement>& e, const char* name, Of<Ar, Values>& values,
                     const Coding& coding, std::int32_t count = -1) {
    if constexpr (Ar::kReading) {
      codec::ByteCursor cursor(ar.rest(), ar.format().bigEndian, ar.offset());
      values = codec::decodePacket(coding.kind, cursor, e.budget, coding.predictor, e.outOfBand);
      if (count >= 0 && values.size() != static_cast<std::size_t>(count))
        ar.fail(name, "expected " + std::to_string(count) + " values, found " +
                          std::to_string(values.size()));
      const auto bytes = ar.rest();
      ar.taken(name, "packet", cursor.consumed(),
               [&] { return packetText(values, codec::packetCodecName(coding.kind, bytes)); });
    } else {
      codec::Bytes bytes;
      codec::encodePacket(coding.kind, bytes, ar.format().bigEndian, values, coding.predictor);
      ar.append(bytes);
    }
  }

  template <class Ar>
  static void doubles(Ar& ar, Of<Ar, WireframeElement>& e, const char* name,
                      Of<Ar, std::vector<double>>& values) {
    const bool packed = ar.has(Feature::mk3Packets);
    if constexpr (Ar::kReading) {
      codec::ByteCursor cursor(ar.rest(), ar.format().bigEndian, ar.offset());
      if (packed) {
        const auto bits = codec::decodePacket64(cursor, e.budget, e.outOfBand);
        values.clear();
        values.reserve(bits.size());
        for (const std::int64_t each : bits) values.push_back(std::bit_cast<double>(each));
      } else {
        values = codec::decodeFloatPacket(cursor, e.budget);
      }
      ar.taken(name, "packet", cursor.consumed(), [&] { return packetText(values, "doubles"); });
    } else {
      codec::Bytes bytes;
      if (packed) {
        std::vector<std::int64_t> bits;
        bits.reserve(values.size());
        for (const double each : values) bits.push_back(std::bit_cast<std::int64_t>(each));
        codec::encodePacket64(bytes, ar.format().bigEndian, bits);
      } else {
        codec::encodeFloatPacket(bytes, ar.format().bigEndian, values);
      }
      ar.append(bytes);
    }
  }

  /// The length counts itself; some producers of 9.x count the version in front of it too.
  template <class Ar>
  static void cadTags(Ar& ar, Of<Ar, PMICadTags>& tags) {
    constexpr std::size_t kOwn = 4;
    ar.version("cadTagVersion", tags.version, 1, 1);
    auto length = static_cast<std::int32_t>(kOwn + tags.coded.size());
    ar("cadTagDataLength", length);
    if constexpr (Ar::kReading) {
      std::size_t own = kOwn;
      if (!ar.has(Feature::byteVersions) && length >= 6 &&
          static_cast<std::size_t>(length) - 6 == ar.left())
        own = 6;
      if (length < static_cast<std::int32_t>(own))
        ar.fail("cadTagDataLength",
                "expected at least " + std::to_string(own) + ", found " + std::to_string(length));
      ar.raw("compressedCadTags", tags.coded, static_cast<std::size_t>(length) - own);
    } else {
      ar.append(tags.coded);
    }
  }
};

}  // namespace jt::file
