#pragma once

#include "support/FileBuilder.h"

// Files that ask for much memory or work: of several kinds, of any size, in every generation.

namespace hostile {

using jt::file::Format;

inline constexpr std::string_view kMetaDataNode = "ce357245-38fb-11d1-a506-006097bdc6e1";
inline constexpr std::string_view kMetaData = "ce357247-38fb-11d1-a506-006097bdc6e1";
inline constexpr std::string_view kPMI = "ce357249-38fb-11d1-a506-006097bdc6e1";
inline constexpr std::string_view kPrimitives = "e40373c2-1ad9-11d3-9daf-00a0c9c7ddc2";
inline constexpr std::string_view kPrimitiveNode = "e40373c1-1ad9-11d3-9daf-00a0c9c7ddc2";

inline std::vector<std::int32_t> idsFrom(std::int32_t first, std::size_t count) {
  std::vector<std::int32_t> ids(count);
  for (std::int32_t& id : ids) id = first++;
  return ids;
}

inline Fields metaDataNode(const Format& format, const std::vector<std::int32_t>& children) {
  Fields body = Fields(format).group(children);
  return format.major == 8 ? body.put(std::int16_t{1}) : body.version();
}

inline Bytes whole(const Format& format, SceneBuilder& scene) {
  return FileBuilder(format).scene(scene.marker().marker().table({})).build();
}

/// A partition with one node of a type, which names segment 2 under a key.
inline FileBuilder withSegment(const Format& format, std::string_view nodeType,
                               const Fields& nodeBody, const char* key, int segmentType) {
  SceneBuilder scene(format);
  Fields late = scene.fields().version(2).put(std::uint32_t{0}).version(2);
  late.put(FileBuilder::id(2)).i32(segmentType);
  if (format.has(jt::file::Feature::latePayloadId)) late.i32(0);
  scene.partition(1, {2}).element(nodeType, 1, 2, nodeBody).marker().text(90, key);
  scene.element(SceneBuilder::kLate, 8, 91, late).marker().table({{2, 90, 91}});
  FileBuilder file(format);
  file.scene(scene);
  return file;
}

/// Nodes side by side.
inline Bytes nodes(const Format& format, std::size_t count) {
  SceneBuilder scene(format);
  scene.partition(1, idsFrom(2, count));
  for (const std::int32_t id : idsFrom(2, count)) scene.group(id, {});
  return whole(format, scene);
}

/// Nodes below one another.
inline Bytes deep(const Format& format, std::size_t count) {
  SceneBuilder scene(format);
  scene.partition(1, {2});
  for (std::int32_t id = 2; id < static_cast<std::int32_t>(count) + 2; ++id)
    scene.element(kMetaDataNode, 1, id,
                  metaDataNode(format, id < static_cast<std::int32_t>(count) + 1
                                           ? std::vector{id + 1}
                                           : std::vector<std::int32_t>()));
  return whole(format, scene);
}

/// Levels of one node that the node above names twice: 2^count paths.
inline Bytes doubled(const Format& format, std::size_t count) {
  SceneBuilder scene(format);
  scene.partition(1, {2, 2});
  for (std::int32_t id = 2; id < static_cast<std::int32_t>(count) + 1; ++id)
    scene.element(kMetaDataNode, 1, id, metaDataNode(format, {id + 1, id + 1}));
  scene.element(kMetaDataNode, 1, static_cast<std::int32_t>(count) + 1, metaDataNode(format, {}));
  return whole(format, scene);
}

/// One node below many, which their parent lists in another order than that of the file.
inline Bytes parents(const Format& format, std::size_t count) {
  SceneBuilder scene(format);
  std::vector<std::int32_t> listed = idsFrom(3, count);
  constexpr std::size_t kStep = 7919;
  for (std::size_t i = 0; i < count; ++i)
    listed[i] = 3 + static_cast<std::int32_t>(i * kStep % count);
  scene.partition(1, listed).group(2, {});
  for (const std::int32_t id : idsFrom(3, count)) scene.group(id, {2});
  return whole(format, scene);
}

/// Partitions that represent files which are not there.
inline Bytes missingParts(const Format& format, std::size_t count) {
  SceneBuilder scene(format);
  scene.partition(1, idsFrom(2, count));
  for (const std::int32_t id : idsFrom(2, count))
    scene.partition(id, {}, ("part" + std::to_string(id) + ".jt").c_str());
  return whole(format, scene);
}

/// A file of a chain of references: it names part1.jt, like every other, and part<next>.jt.
inline Bytes chained(const Format& format, std::size_t next) {
  SceneBuilder scene(format);
  scene.partition(1, {2, 3}).partition(2, {}, "part1.jt");
  scene.partition(3, {}, ("part" + std::to_string(next) + ".jt").c_str());
  return whole(format, scene);
}

/// Attributes of one node, each of a type that nobody knows.
inline Bytes unknownAttributes(const Format& format, std::size_t count) {
  SceneBuilder scene(format);
  scene.element(SceneBuilder::kPartition, 1, 1,
                scene.fields().node(idsFrom(2, count)).version().ids({}).partition(""));
  JtGuid type = *JtGuid::parse(SceneBuilder::kUnknown);
  for (const std::int32_t id : idsFrom(2, count)) {
    type.data1 = static_cast<std::uint32_t>(id) * 2654435761U;
    scene.element(type.text(), 3, id, scene.fields().attribute());
  }
  return whole(format, scene);
}

/// Texts that properties may name.
inline Bytes atoms(const Format& format, std::size_t count) {
  SceneBuilder scene(format);
  scene.partition(1, {}).marker();
  std::vector<std::int32_t> row{1};
  for (const std::int32_t id : idsFrom(2, count)) {
    scene.text(id, "k");
    row.insert(row.end(), {id, id});
  }
  return FileBuilder(format).scene(scene.marker().table({row})).build();
}

/// Properties of one node under one key.
inline Bytes equalKeys(const Format& format, std::size_t count) {
  SceneBuilder scene(format);
  scene.partition(1, {}).marker().text(2, "key").text(3, "value").marker();
  std::vector<std::int32_t> row{1};
  for (std::size_t i = 0; i < count; ++i) row.insert(row.end(), {2, 3});
  return FileBuilder(format).scene(scene.table({row})).build();
}

/// Nodes with a property each whose key nobody shares, though all have the same text.
inline Bytes ownKeys(const Format& format, std::size_t count) {
  SceneBuilder scene(format);
  const auto first = static_cast<std::int32_t>(count) + 2;
  scene.partition(1, idsFrom(2, count));
  for (const std::int32_t id : idsFrom(2, count)) scene.group(id, {});
  scene.marker();
  std::vector<std::vector<std::int32_t>> rows;
  for (const std::int32_t id : idsFrom(2, count)) {
    const std::int32_t key = first + 2 * (id - 2);
    scene.text(key, "JT_PROP_MEASUREMENT_UNITS").text(key + 1, "");
    rows.push_back({id, key, key + 1});
  }
  return FileBuilder(format).scene(scene.marker().table(rows)).build();
}

/// Entries of metadata.
inline Bytes metaData(const Format& format, std::size_t count) {
  Fields body(format);
  body.version();
  for (std::size_t i = 0; i < count; ++i) body.put(JtString("k")).put(std::uint8_t{0});
  body.put(JtString());
  return withSegment(format, kMetaDataNode, metaDataNode(format, {}), "JT_LLPROP_METADATA", 4)
      .packed(2, 4, elementOf(format, kMetaData, 9, body))
      .build();
}

/// Empty texts in the table of PMI.
inline Bytes texts(const Format& format, std::size_t count) {
  const bool isGeneric = format.has(jt::file::Feature::genericPMI);
  Fields body(format);
  if (isGeneric) {
    body.put(std::uint8_t{2}).put(std::int16_t{-1}).zeros(4 + 8);  // groups, associations, ...
  } else {
    body.version(1).put(std::int16_t{4}).put(std::int16_t{0}).zeros(std::size_t{4} * (13 + 2));
  }
  body.i32(static_cast<std::int32_t>(count)).zeros(4 * count);
  if (isGeneric) body.zeros(8 + 64);
  return withSegment(format, kMetaDataNode, metaDataNode(format, {}), "JT_LLPROP_PMI", 4)
      .packed(2, 4, elementOf(format, kPMI, 9, body))
      .build();
}

/// Spheres of a primitive set: 48 bytes each that become a mesh.
inline Bytes primitives(const Format& format, std::size_t count) {
  const bool isTen = format.major == 10;
  Fields records(format);
  for (std::size_t i = 0; i < count; ++i)
    records.i32(0).f32({0, 0, 0}).f32({1, 0, 0}).f32({0, 0, 0, 1}).i32(3);
  const auto stream =
      jt::file::pack(records.bytes(), isTen ? jt::file::Packing::xz : jt::file::Packing::zlib, 6);
  Fields body(format);
  if (isTen) {
    body.put(std::uint8_t{1}).put(std::uint8_t{1}).put(std::uint64_t{2});
    body.put(std::uint8_t{0}).put(std::uint8_t{1});
  } else {
    body.put(std::int16_t{1}).zeros(12).put(std::int16_t{1});
  }
  body.i32(0).i32(static_cast<std::int32_t>(records.bytes().size()));
  body.i32(static_cast<std::int32_t>(stream.size())).raw(stream.bytes());
  return withSegment(format, kMetaDataNode, metaDataNode(format, {}), "JT_LLPROP_SHAPEIMPL", 7)
      .packed(2, 7, elementOf(format, kPrimitives, 4, body))
      .build();
}

/// What the size of a kind makes large.
enum class Large { scene, segment, shape, paths };
struct Kind {
  const char* name;
  Large large;
  Bytes (*make)(const Format&, std::size_t);
};
inline constexpr Kind kKinds[] = {{"nodes", Large::scene, nodes},
                                  {"deep", Large::scene, deep},
                                  {"parents", Large::scene, parents},
                                  {"missing-parts", Large::scene, missingParts},
                                  {"unknown-attributes", Large::scene, unknownAttributes},
                                  {"atoms", Large::scene, atoms},
                                  {"equal-keys", Large::scene, equalKeys},
                                  {"own-keys", Large::scene, ownKeys},
                                  {"metadata", Large::segment, metaData},
                                  {"texts", Large::segment, texts},
                                  {"primitives", Large::shape, primitives},
                                  {"doubled", Large::paths, doubled},
                                  {"chained", Large::paths, chained}};
inline constexpr Format kForms[] = {{8, 1, false}, {9, 5, true}, {10, 0, false}, {10, 5, true}};

}  // namespace hostile
