#pragma once

#include "support/PMIFiles.h"

// Bodies of PMI elements, put together from the description of their layouts.

/// Collections of the typed layout with a different number of entities each.
class TypedBody {
 public:
  TypedBody(const jt::file::Format& format, int elementVersion, int pmiVersion)
      : format_(format), pmiVersion_(pmiVersion), out_(format) {
    if (format.major == 9) out_.put(static_cast<std::int16_t>(elementVersion));
    out_.put(static_cast<std::int16_t>(pmiVersion)).put(std::int16_t{0});
    collections();
    out_.i32(1).i32(0x12000003).i32(0x11000004).i32(98);
    if (pmiVersion >= 6) out_.i32(1).i32(0);
    out_.i32(1).i32(0).i32(1);  // user attribute
    out_.i32(2).i32(1).put(std::uint8_t{'a'}).i32(2).put(std::uint8_t{0xe9}).put(std::uint8_t{'b'});
    if (pmiVersion >= 6) viewsAndGeneric();
    if (pmiVersion >= 8) out_.put(std::uint32_t{0});
    if (format.major == 9 && elementVersion > 1) tail();
  }
  const Bytes& bytes() const { return out_.bytes(); }

 private:
  void base() {
    out_.i32(++label_).put(std::uint8_t{0}).put(2.5F);
    if (pmiVersion_ > 4) out_.put(std::uint8_t{1});
  }
  void flat(int count, bool isNote = false) {
    out_.i32(count);
    for (int i = 0; i < count; ++i) {
      base();
      out_.i32(0).i32(0);
      if (pmiVersion_ > 4) out_.i32(0);
      out_.i32(0);
      if (isNote && pmiVersion_ > 5) out_.put(std::uint32_t{1});
    }
  }
  void solid(int count, bool hasVectors) {
    out_.i32(count);
    for (int i = 0; i < count; ++i) {
      base();
      out_.i32(-1).put(std::int16_t{3}).i32(2).put(std::int16_t{0}).put(std::int16_t{1});
      out_.i32(3).f32({1, 2, 3});
      if (hasVectors && pmiVersion_ >= 4) out_.f32({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12});
    }
  }
  void collections() {
    flat(1);
    flat(2, true);
    for (const int count : {3, 4, 5, 6}) flat(count);
    solid(7, true);
    flat(8);
    solid(9, true);
    flat(10);
    solid(11, false);
    out_.i32(12);
    for (int i = 0; i < 12; ++i) {
      out_.i32(0);
      if (pmiVersion_ < 3) continue;
      out_.i32(3).i32(1).i32(42).i32(-1).i32(0).i32(2).put(1.5).i32(-1).i32(0);
      out_.i32(3).i32(1).i32(-1).i32(0);
    }
    out_.i32(13);
    for (int i = 0; i < 13; ++i) out_.i32(1).f32({0, 0, 0, 1, 0, 0, 0, 1, 0});
  }
  void property(const char* key, const char* value) {
    out_.put(JtString(key));
    if (pmiVersion_ > 6) out_.put(std::uint32_t{1});
    out_.put(JtString(value));
    if (pmiVersion_ > 6) out_.put(std::uint32_t{0});
  }
  void viewsAndGeneric() {
    out_.i32(1).zeros(60).i32(0).i32(1).i32(7).i32(0);  // 15 numbers, reserved, active, id, name
    out_.i32(1);
    base();
    out_.i32(0).i32(0).i32(0).i32(0).i32(1);
    property("k", "v");
    out_.i32(0).i32(1).put(std::uint16_t{0x100}).put(std::uint16_t{1});
    if (pmiVersion_ > 6) out_.put(std::uint16_t{1});
  }
  void tail() {
    if (pmiVersion_ > 5) property("modelViewStyle", "x");
    polygons();
    out_.i32(1).i32(1).put(std::uint8_t{'F'}).i32(2).i32(65).i32(66);
    polygons();
  }
  /// An empty element and one with normals and colors.
  void polygons() {
    out_.put(std::int16_t{1}).i32(0).i32(2).i32(0).i32(3);
    out_.i32(1).i32(1).i32(0).i32(2);
    for (const int list : {1, 2, 3}) out_.i32(1).i32(list);
    out_.i32(2).f32({1, 2}).i32(1).f32({3}).i32(1).f32({4});
  }

  jt::file::Format format_;
  int pmiVersion_;
  int label_ = 0;
  Fields out_;
};

/// A generic element with one entity of two texts, in each of the forms that producers use.
inline Bytes genericBody(const jt::file::Format& format, bool byteFlags, bool guarded,
                         bool knownEnd = true) {
  Fields out(format);
  const auto property = [&](const char* key, const char* value) {
    for (const char* text : {key, value}) {
      out.put(JtString(text));
      byteFlags ? out.put(std::uint8_t{0}) : out.put(std::uint32_t{0});
    }
  };
  out.put(std::uint8_t{2}).put(std::int16_t{-1}).i32(0).i32(1);
  out.i32(0x12000003).i32(1).i32(98).i32(0x11000004).i32(0);  // association: owners 1 and 0
  out.i32(0).i32(2).put(JtString("a")).put(JtString("\u4e2d"));
  out.i32(0).i32(1).i32(5).put(std::uint8_t{0}).put(1.0F).put(std::uint8_t{1}).i32(2);
  for (const bool hasLines : {false, true}) {
    out.i32(0).i32(1).i32(0).zeros(4 + 24);
    if (hasLines) {
      out.i32(2).put(std::int16_t{0}).put(std::int16_t{2}).i32(4).f32({0, 0, 1, 1});
    } else {
      out.i32(0);
      if (!guarded) out.i32(0);
    }
  }
  out.i32(2).i32(0).i32(70000).i32(1).put(std::int16_t{4}).i32(1).put(std::int16_t{9});
  out.i32(3).f32({1, 2, 3}).i32(1);
  property("name", "n");
  out.i32(0).i32(1).put(std::uint16_t{0x100}).put(std::uint16_t{1}).put(std::uint16_t{0});
  if (!knownEnd) return out.put(std::uint8_t{1}).i32(-5).zeros(40).bytes();
  out.put(std::uint8_t{1}).i32(2).ids({0, 3}).ids({1, 0, 0}).ids({2});  // colors only
  out.ids({1}).ids({0}).ids({2}).i32(1).f32({1}).i32(1).f32({7});
  out.put(std::uint32_t{0}).i32(1).put(JtString("F")).i32(1).put(std::uint16_t{65});
  out.put(std::uint8_t{1}).i32(0).ids({}).ids({}).ids({});
  return out.zeros(16).bytes();
}
