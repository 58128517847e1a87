#pragma once

#include "VisMetaDataNode.h"
#include "file/pmi/PMIElement.h"
#include "support/FileBuilder.h"

// Files with PMI.

inline constexpr std::string_view kPMIType = "ce357249-38fb-11d1-a506-006097bdc6e1";

/// The content of a PMI segment around an element's body.
inline Bytes pmiContent(const jt::file::Format& format, std::span<const std::byte> body) {
  const bool hasId = format.has(jt::file::Feature::segmentObjectIds);
  Fields out(format);
  out.raw(elementOf(format, kPMIType, 9, body));
  if (!hasId) return out.bytes();
  out.i32(16);
  for (int i = 0; i < 16; ++i) out.put(std::uint8_t{0xff});
  return out.put(std::int16_t{1}).i32(0).bytes();
}

/// An element with metadata: a text for each key.
inline Bytes metaDataElement(const jt::file::Format& format,
                             std::initializer_list<const char*> keys) {
  Fields body(format);
  body.version();
  for (const char* key : keys) body.put(JtString(key)).put(std::uint8_t{1}).put(JtString("x"));
  body.put(JtString());
  return elementOf(format, "ce357247-38fb-11d1-a506-006097bdc6e1", 9, body);
}

/// A partition with one Meta Data Node, whose PMI is segment 2; its metadata too when asked for.
inline Bytes pmiFile(const jt::file::Format& format, std::span<const std::byte> content,
                     bool hasMetaData = false) {
  SceneBuilder scene(format);
  Fields late = scene.fields().version(2).put(std::uint32_t{0}).version(2);
  late.put(FileBuilder::id(2)).i32(4);
  if (format.has(jt::file::Feature::latePayloadId)) late.i32(0);
  scene.partition(1, {2})
      .element("ce357245-38fb-11d1-a506-006097bdc6e1", 1, 2,
               format.major == 8 ? scene.fields().group({}).put(std::int16_t{1})
                                 : scene.fields().group({}).version())
      .marker()
      .text(90, "JT_LLPROP_PMI")
      .element(SceneBuilder::kLate, 8, 91, late);
  if (hasMetaData) scene.text(92, "JT_LLPROP_METADATA").element(SceneBuilder::kLate, 8, 93, late);
  scene.marker().table({hasMetaData ? std::vector{2, 90, 91, 92, 93} : std::vector{2, 90, 91}});
  return FileBuilder(format).scene(scene).packed(2, 4, content).build();
}

/// The node with PMI.
inline VisMetaDataNode& pmiNode(JtPartition& root) {
  return *jt::as<VisMetaDataNode>(root.child(0));
}

/// A hand-made element of tests/data/pmi.
struct PMIVector {
  const char* name;
  jt::file::Format format;

  Bytes content() const { return testData(std::string("pmi/") + name + ".bin"); }
  Bytes body() const {
    const Bytes all = content();
    const auto elements = jt::file::segmentElements(all, format);
    return {elements.at(0).body.begin(), elements.at(0).body.end()};
  }
};
inline const PMIVector kNote8{"note8", {8, 1, false}};
inline const PMIVector kNote9{"note9", {9, 5, false}};
inline const PMIVector kDim9{"dim9", {9, 5, false}};
inline const PMIVector kDim105{"dim105", {10, 5, false}};
