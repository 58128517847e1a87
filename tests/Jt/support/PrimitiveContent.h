#pragma once

#include <cmath>

#include "JtMesh.h"
#include "file/container/Compression.h"
#include "support/FileBuilder.h"

/// The content of a segment with one primitive, turned a quarter about x.
inline Bytes primitiveContent(const jt::file::Format& format, int type, const jt::Vec3f& size,
                              bool lossless, bool packed, bool color) {
  const bool isTen = format.major == 10;
  Fields primitive(format);
  if (lossless) primitive.i32(0);
  const auto quaternion = [&] { primitive.f32({std::sqrt(0.5F), 0, 0, std::sqrt(0.5F)}); };
  if (!lossless) quaternion();
  primitive.f32({10, 20, 30}).f32({size[0], size[1], size[2]});
  if (lossless) quaternion();
  if (color) primitive.f32({1, 0, 0});
  primitive.i32(type);
  Fields body(format);
  if (isTen) {
    body.put(std::uint8_t{1}).put(std::uint8_t{1}).put(std::uint64_t{color ? 0x12U : 2U});
    body.put(std::uint8_t{0}).put(std::uint8_t{1});
  } else {
    body.put(std::int16_t{1}).i32(0).i32(color ? 1 : 0).i32(0).put(std::int16_t{1});
  }
  const auto bytes = static_cast<std::int32_t>(primitive.bytes().size());
  if (!lossless) {
    body.i32(12).i32(1).raw(primitive);
  } else if (!packed) {
    body.i32(0).i32(bytes).i32(-bytes).raw(primitive);
  } else {
    const auto stream = jt::file::pack(primitive.bytes(),
                                       isTen ? jt::file::Packing::xz : jt::file::Packing::zlib, 6);
    body.i32(0).i32(bytes).i32(static_cast<std::int32_t>(stream.size())).raw(stream.bytes());
  }
  return elementOf(format, "e40373c2-1ad9-11d3-9daf-00a0c9c7ddc2", 4, body);
}
