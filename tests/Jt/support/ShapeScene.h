#pragma once

#include "file/elements/ElementTable.h"
#include "support/FileBuilder.h"

// Files around one segment with geometry.

/// A file whose root has a shape that names segment 2, which holds `content`.
/// @param shape what the scene graph has; its property is added @param own its further data
inline Bytes shapeFile(const jt::file::Format& format, JtShape& shape,
                       std::span<const std::byte> content, int type = 7, const Bytes& own = {}) {
  using jt::file::Feature;
  const jt::file::ElementKind* kind = jt::file::findElementKind(shape.typeID());
  jt::file::ByteSink body;
  jt::file::Writer writer(body, format);
  const jt::file::Links links;
  writer.setLinks(links);
  kind->write(writer, shape);
  body.append(own);
  SceneBuilder scene(format);
  Fields late = scene.fields().version(2).put(std::uint32_t{0}).version(2);
  late.put(FileBuilder::id(2)).i32(type);
  if (format.has(Feature::latePayloadId)) late.i32(0);
  if (format.has(Feature::latePayloadId) && !format.has(Feature::attributeTail)) late.i32(1);
  scene.partition(1, {2})
      .element(kind->guid.text(), kind->baseType, 2, body.bytes())
      .marker()
      .text(90, "JT_LLPROP_SHAPEIMPL")
      .element(SceneBuilder::kLate, 8, 91, late)
      .marker()
      .table({{2, 90, 91}});
  return FileBuilder(format).scene(scene).packed(2, type, content).build();
}

/// A part whose wireframe is segment 2.
inline Bytes wireFile(const jt::file::Format& format, std::span<const std::byte> content) {
  SceneBuilder scene(format);
  Fields late = scene.fields().version(2).put(std::uint32_t{0}).version(2);
  late.put(FileBuilder::id(2)).i32(18).i32(0);
  scene.partition(1, {2})
      .element("ce357244-38fb-11d1-a506-006097bdc6e1", 1, 2,
               scene.fields().group({}).version().version().i32(0))
      .marker()
      .text(90, "JT_LLPROP_WFREP")
      .element(SceneBuilder::kLate, 8, 91, late)
      .marker()
      .table({{2, 90, 91}});
  return FileBuilder(format).scene(scene).packed(2, 18, content).build();
}
