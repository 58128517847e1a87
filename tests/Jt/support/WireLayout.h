#pragma once

#include "codec/packet/FloatPackets.h"
#include "codec/packet/Packets.h"
#include "codec/packet/Packets64.h"
#include "support/FileBuilder.h"

// Bodies of wireframe elements, put together field by field.

/// The body of an element, field by field.
class WireBody {
 public:
  using Ints = std::vector<std::int32_t>;
  using Predictor = jt::codec::Predictor;

  explicit WireBody(const jt::file::Format& format)
      : isTen_(format.major == 10), format_(format), out_(format) {}

  WireBody& i32(std::int32_t value) {
    out_.i32(value);
    return *this;
  }
  WireBody& byte(std::uint8_t value) {
    out_.put(value);
    return *this;
  }
  WireBody& version() {
    out_.version();
    return *this;
  }
  /// A packet of the kind and predictor that the field has in 9.x and in 10.x.
  WireBody& ints(const Ints& values, jt::codec::PacketKind kind9, Predictor predictor9,
                 Predictor predictor10) {
    jt::codec::Bytes bytes;
    jt::codec::encodePacket(isTen_ ? jt::codec::PacketKind::mk3 : kind9, bytes, format_.bigEndian,
                            values, isTen_ ? predictor10 : predictor9);
    out_.raw(bytes);
    return *this;
  }
  WireBody& edges(const Ints& values) {
    return ints(values, jt::codec::PacketKind::mk2, Predictor::lag1, Predictor::none);
  }
  WireBody& perCurve(const Ints& values) {
    return ints(values, jt::codec::PacketKind::mk1, Predictor::lag1, Predictor::none);
  }
  WireBody& indices(const Ints& values) {
    return ints(values, jt::codec::PacketKind::mk1, Predictor::stride1, Predictor::lag1);
  }
  WireBody& doubles(const std::vector<double>& values) {
    jt::codec::Bytes bytes;
    if (isTen_) {
      std::vector<std::int64_t> bits;
      for (const double value : values) bits.push_back(std::bit_cast<std::int64_t>(value));
      jt::codec::encodePacket64(bytes, format_.bigEndian, bits);
    } else {
      jt::codec::encodeFloatPacket(bytes, format_.bigEndian, values);
    }
    out_.raw(bytes);
    return *this;
  }
  const Bytes& bytes() const { return out_.bytes(); }

 private:
  bool isTen_;
  jt::file::Format format_;
  Fields out_;
};

/// Every field with values of its own: four kinds of knots and none, weights, a curve of two edges.
struct WireLayout {
  using Ints = WireBody::Ints;
  Ints curveOf{3, 0, 3, 5, 2, 4, 1};
  Ints tags{7, 9, 4, 12, 5, 30, 31};
  Ints flags{1, 1, 1, 1};
  std::array<Ints, 4> ofKind{Ints{0}, {1}, {2}, {3}};
  Ints types{1, 1, 1, 1, 1, 1};
  Ints degrees{1, 2, 2, 1, 2, 1};
  Ints counts{4, 5, 4, 4, 3, 2};
  Ints dimensions{3, 4, 3, 3, 4, 3};
  std::int32_t weightCount = 8;
  Ints weightIndices{1, 3, 6};
  std::vector<double> weights{0.5, 0.25, 0.75};
  std::vector<double> points;
  std::vector<double> knots{0.5, -1, 3, 6, 0.25, 10, 11, 13, 20};
  bool hasTags = false;  ///< one byte of coded CAD tags

  WireLayout() {
    for (int i = 0; i < 3 * 22; ++i) points.push_back(i + 0.5);
  }
  Bytes body(const jt::file::Format& format) const {
    WireBody out(format);
    out.version().i32(static_cast<std::int32_t>(curveOf.size()));
    out.i32(static_cast<std::int32_t>(types.size())).edges(curveOf).edges(tags);
    out.i32(static_cast<std::int32_t>(flags.size()));
    for (const std::int32_t flag : flags) out.i32(flag);
    for (std::size_t i = 0; i < ofKind.size(); ++i)
      if (i < flags.size() && flags[i] != 0) out.indices(ofKind[i]);
    out.perCurve(types).perCurve(degrees).perCurve(counts).perCurve(dimensions);
    out.perCurve({0, 0, 0, 0, 0, 0}).i32(weightCount).indices(weightIndices);
    out.doubles(weights).doubles(points).doubles(knots);
    out.i32(99).i32(hasTags ? 1 : 0);
    if (hasTags) out.version().i32(5).byte(7);
    return out.bytes();
  }
};

/// The content of a segment with a wireframe.
inline Bytes wireContent(const jt::file::Format& format, const WireLayout& layout) {
  return elementOf(format, "873a70d0-2ac8-11d1-9b6b-0080c7bb5997", 9, layout.body(format));
}
