// Files that are saved in another version: what becomes of the segments beside the scene graph.

#include <gtest/gtest.h>
#include <malloc.h>

#include <nlohmann/json.hpp>
#include <set>
#include <tuple>

#include "JtDrawing.h"
#include "JtInspect.h"
#include "JtMaterial.h"
#include "JtTexture.h"
#include "VisPartNode.h"
#include "base/ParallelFor.h"
#include "file/shapes/ShapeSegment.h"
#include "support/Differences.h"
#include "support/Meshes.h"
#include "support/ShapeFiles.h"
#include "support/ShapeScene.h"

namespace {

using jt::FileVersion;
using jt::file::Format;
using Kind = jt::SegmentAction::Kind;

constexpr FileVersion kVersions[] = {{8, 1}, {8, 2}, {9, 5}, {10, 0}, {10, 2}};

struct Saved {
  jt::Ref<JtPartition> root;
  std::vector<jt::SegmentAction> segments;
  std::vector<jt::Diagnostic> warnings;

  const jt::SegmentAction& segment(std::uint32_t number) const {
    return *std::ranges::find(segments, FileBuilder::id(number), &jt::SegmentAction::id);
  }
};

Saved saveAs(MemoryStorage& storage, JtPartition& root, FileVersion version) {
  jt::SaveOptions options;
  options.version = version;
  Saved saved;
  saved.root = storage.open(storage.saved(root, options));
  saved.segments = storage.report().segments;
  saved.warnings = storage.report().warnings;
  for (const jt::Diagnostic& note : jt::verify(MemoryLocation("saved")))
    EXPECT_FALSE(note.isError) << note.code << ' ' << note.message;
  EXPECT_EQ(saved.root->version(), version);
  return saved;
}

Format formatOf(FileVersion version) { return {version.major, version.minor, false}; }

void expectSameExtent(const jt::Mesh& a, const jt::Mesh& b, float tolerance) {
  EXPECT_EQ(a.primitiveCount(), b.primitiveCount());
  EXPECT_EQ(a.corners.size(), b.corners.size());
  const jt::ShapeStatistics left = jt::file::statisticsOf(a);
  const jt::ShapeStatistics right = jt::file::statisticsOf(b);
  for (std::size_t axis = 0; axis < 3; ++axis) {
    EXPECT_NEAR(left.box.min[axis], right.box.min[axis], tolerance);
    EXPECT_NEAR(left.box.max[axis], right.box.max[axis], tolerance);
  }
  EXPECT_NEAR(left.area, right.area, 100 * tolerance);
}

/// Forms of vertex colors that 8.x does not distinguish.
std::uint64_t colorBits(FileVersion version) {
  using Bindings = jt::codec::VertexBindings;
  return version.major == 8 ? Bindings::kColors3 | Bindings::kColors4 : 0;
}

/// The bits that the node of a shape names.
jt::codec::QuantizationParameters quantizationOf(const JtShape& shape, FileVersion version) {
  jt::file::FieldList list;
  const Format format = formatOf(version);
  jt::file::FieldLister lister(list, format, false);
  jt::file::findElementKind(shape.typeID())->list(lister, shape);
  jt::codec::QuantizationParameters bits{};
  for (const auto& field : list.fields)
    if (field.name == std::string_view("quantizationParameters"))
      std::copy_n(list.integersOf(field).begin(), bits.size(), bits.begin());
  return bits;
}

TEST(Conversion, ShapesAreTheSameInEveryVersion) {
  MemoryStorage storage;
  for (const ShapeVector& vector : shapeVectors()) {
    const int generation = nlohmann::json::parse(vector.expected)["generation"];
    const Format format{generation, generation == 8 ? 1 : generation == 9 ? 5 : 0, false};
    jt::codec::VariantChoice variants;
    const auto decoded = readShape(vector.bytes, format, variants);
    const auto node = jt::makeShape(std::make_shared<const jt::Mesh>(decoded.mesh));
    const auto root = storage.open(shapeFile(format, *node, vector.bytes));
    for (const FileVersion version : kVersions) {
      SCOPED_TRACE(vector.name + " to " + version.text());
      const Saved saved = saveAs(storage, *root, version);
      const bool isCopied = formatOf(version).sameFormAs(format);
      EXPECT_EQ(saved.segment(2).kind, isCopied ? Kind::copied : Kind::rewritten);
      const auto* shape = jt::as<JtShape>(saved.root->child(0));
      ASSERT_TRUE(shape && shape->mesh()) << jt::lastError();
      const bool groups = version.major > 8 && vector.name.find("point") == std::string::npos;
      const bool isLossless = decoded.bits == jt::codec::QuantizationParameters{};
      if (isLossless) {
        EXPECT_EQ(contentOf(*shape->mesh(), groups), contentOf(decoded.mesh, groups));
      } else {
        expectSameExtent(*shape->mesh(), decoded.mesh, 1e-3F);
      }
      const auto* vertexShape = jt::as<JtVertexShape>(static_cast<const JtBase*>(shape));
      if (!isCopied) {  // the node says what its segment has
        EXPECT_EQ(vertexShape->vertexBindings() & ~colorBits(version),
                  jt::codec::bindingsOf(*shape->mesh()).bits & ~colorBits(version));
      }
      // 8.x rounds all numbers or none.
      const bool isRounded =
          decoded.bits[0] > 0 && (decoded.mesh.normals.empty() || decoded.bits[1] > 0);
      const auto& container = *saved.root->container();
      const auto bits = readShapeSegment(container, container.toc()[1], variants).bits;
      EXPECT_EQ(bits, version.major > 8 || isRounded ? decoded.bits
                                                     : jt::codec::QuantizationParameters{});
      if (!isCopied && version.major < 10) {
        EXPECT_EQ(quantizationOf(*shape, version), bits);
      }
      const bool becomesLarger = std::ranges::find(saved.warnings, "compatible_form",
                                                   &jt::Diagnostic::code) != saved.warnings.end();
      EXPECT_EQ(becomesLarger, !isCopied && generation > 8 && !vector.hasPlainPackets);
    }
  }
}

TEST(Conversion, OneThreadAndSixteenGiveTheSameBytes) {
  MemoryStorage storage;
  const auto made = jt::make<JtPartition>();
  for (std::uint32_t i = 0; i < 20; ++i)
    made->addChild(jt::makeShape(std::make_shared<const jt::Mesh>(
                                     grid(3 + i, 5, i % 2 == 0, false, {}, i % 3 == 0)))
                       .get());
  const Bytes file = storage.saved(*made);  // which chooses the ids
  const auto converted = [&](FileVersion version, std::size_t threads) {
    jt::file::parallelThreads = threads;
    mallopt(M_PERTURB, static_cast<int>(7 * threads));  // memory holds something else each time
    jt::SaveOptions options;
    options.version = version;
    return storage.saved(*storage.open(file), options);
  };
  for (const FileVersion version : kVersions)
    EXPECT_EQ(converted(version, 1), converted(version, 16)) << version.text();
  jt::file::parallelThreads = 0;
  mallopt(M_PERTURB, 0);
}

/// So many nodes that their extent is computed beside their listing.
TEST(Conversion, TheExtentOfManyNodesIsTheSameOnEveryNumberOfThreads) {
  constexpr int kLast = 10'500;
  MemoryStorage storage;
  const auto shape =
      jt::makeShape(std::make_shared<const jt::Mesh>(grid(3, 5, false, false, {}, false)));
  jt::Box expected = shape->statistics().box;
  expected.min[2] -= kLast;
  expected.max[0] += kLast;
  expected.max[1] += 2 * kLast;
  for (const std::size_t threads : {1U, 3U}) {
    const auto made = jt::make<JtPartition>();
    for (int i = 0; i <= kLast; ++i) {
      const auto place = jt::make<JtGroup>();
      const double along = i;
      place->appendAttribute(jt::make<JtXform>(jt::Matrix4{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0,
                                                           along, 2 * along, -along, 1})
                                 .get());
      place->addChild(shape.get());
      made->addChild(place.get());
    }
    jt::file::parallelThreads = threads;
    const auto opened = storage.open(storage.saved(*made));
    jt::file::parallelThreads = 0;
    EXPECT_EQ(opened->numChildren(), kLast + 1);
    EXPECT_EQ(opened->bounds(), expected);
  }
}

/// A root that names segments 2, 3, ... of the given types and contents.
Bytes fileWith(const Format& format, const std::vector<std::pair<int, Bytes>>& segments) {
  using jt::file::Feature;
  SceneBuilder scene(format);
  scene.partition(1, {}).marker();
  FileBuilder file(format);
  std::vector<std::int32_t> row{1};
  std::uint32_t number = 2;
  for (const auto& [type, content] : segments) {
    Fields late = scene.fields().version(2).put(std::uint32_t{0}).version(2);
    late.put(FileBuilder::id(number)).i32(type);
    if (format.has(Feature::latePayloadId)) late.i32(0);
    if (format.has(Feature::latePayloadId) && !format.has(Feature::attributeTail)) late.i32(1);
    const auto id = static_cast<std::int32_t>(10 * number);
    scene.text(id, ("key" + std::to_string(number)).c_str());
    scene.element(SceneBuilder::kLate, 8, id + 1, late);
    row.insert(row.end(), {id, id + 1});
    file.packed(number++, type, content);
  }
  return file.scene(scene.marker().table({row})).build();
}

constexpr std::string_view kXt = "873a70e0-2ac9-11d1-9b6b-0080c7bb5997";
constexpr std::string_view kNull = "3e637aed-2a89-41f8-a9fd-553737039682";

TEST(Conversion, WhatAnotherVersionCannotHoldIsDroppedWithAReason) {
  MemoryStorage storage;
  const std::string_view data = "xx: TRANSMIT FILE created by a modeller";
  for (const Format& format : allFormats()) {
    const bool isTen = format.major == 10;
    Fields xt(format);
    if (isTen) {
      xt.put(std::uint8_t{1}).put(std::uint8_t{0});
    } else {
      xt.i32(2);
    }
    xt.i32(14).i32(7);
    if (format.major > 8) xt.i32(99);
    xt.i32(static_cast<std::int32_t>(data.size())).raw(std::as_bytes(std::span(data)));
    if (isTen) xt.zeros(5);  // what is behind in 10.x
    Fields empty(format);
    if (format.major > 8) empty.version();
    empty.f32({1, 2, 3, 4, 5, 6});
    const Bytes file = fileWith(
        format, {{17, elementOf(format, kXt, 9, xt)},
                 {3, elementOf(format, SceneBuilder::kUnknown, 9, Fields(format).zeros(9))},
                 {7, elementOf(format, kNull, 4, empty)},
                 {31, elementOf(format, SceneBuilder::kUnknown, 9, Fields(format).zeros(7))}});
    const auto root = storage.open(file);
    ASSERT_EQ(root->numProperties(), 4);
    for (const FileVersion version : kVersions) {
      SCOPED_TRACE(formatText(format) + " to " + version.text());
      Format to = formatOf(version);
      to.bigEndian = format.bigEndian;
      const Saved saved = saveAs(storage, *root, version);
      const bool isSame = to.sameSegmentsAs(format);
      const Kind kept = isSame ? Kind::copied : Kind::rewritten;
      const bool holdsXt = isSame || version.major < 10;
      EXPECT_EQ(saved.segment(2).kind, holdsXt ? kept : Kind::dropped);
      EXPECT_EQ(saved.segment(3).kind, isSame ? Kind::copied : Kind::dropped);
      EXPECT_EQ(saved.segment(4).kind, kept);
      EXPECT_EQ(saved.segment(5).kind, isSame ? Kind::copied : Kind::dropped);
      for (const jt::SegmentAction& action : saved.segments)
        EXPECT_EQ(action.kind == Kind::copied, action.reason.empty()) << action.reason;
      const auto& lost = storage.report().lostGeometry;
      ASSERT_EQ(lost.size(), holdsXt ? 0U : 1U);
      for (const jt::LostGeometry& each : lost)
        EXPECT_EQ(std::tuple(each.nodeId, each.type), std::tuple(1, 17));
      // Nothing names what is not there.
      EXPECT_EQ(saved.root->numProperties(), isSame ? 4 : holdsXt ? 2 : 1);
      if (!holdsXt || isSame) continue;
      const auto& container = *saved.root->container();
      const auto content = container.load(*container.find(FileBuilder::id(2)));
      const auto element = jt::file::segmentElements(content.bytes, container.format()).at(0);
      const auto tail = element.body.last(data.size());
      EXPECT_TRUE(std::ranges::equal(tail, std::as_bytes(std::span(data))));
    }
  }
}

TEST(Conversion, XtThatNamesBodiesOfAPoolMovesWithThePoolOnly) {
  MemoryStorage storage;
  const auto property = [](JtNode& from, const char* key) { return from.property(JtString(key)); };
  for (const bool isSubordinate : {true, false})
    for (const bool withPool : {true, false}) {
      SCOPED_TRACE(testing::Message() << isSubordinate << withPool);
      const Format format{10, 0, false};
      Fields xt(format);
      xt.put(std::uint8_t{1}).put(std::uint8_t{isSubordinate}).zeros(30);
      const auto source = storage.open(fileWith(
          format, {{17, elementOf(format, kXt, 9, xt)},
                   {30, elementOf(format, SceneBuilder::kUnknown, 9, Fields(format).zeros(9))}}));
      const auto target = jt::make<JtPartition>();
      const auto part = jt::make<VisPartNode>();
      part->addProperty(JtString("JT_PROP_NAME"),
                        jt::make<JtStringPropAtom>(JtString("gear")).get(), true);
      part->addProperty(JtString("key2"), property(*source, "key2"), true);
      if (withPool) part->addProperty(JtString("key3"), property(*source, "key3"), true);
      target->addChild(part.get());
      const auto saved = storage.open(storage.saved(*target));
      const bool isKept = withPool || !isSubordinate;
      EXPECT_EQ(property(*saved->child(0), "key2") != nullptr, isKept);
      EXPECT_EQ(property(*saved->child(0), "key3") != nullptr, withPool);
      const auto& lost = storage.report().lostGeometry;
      ASSERT_EQ(lost.size(), isKept ? 0U : 1U);
      for (const jt::LostGeometry& each : lost) EXPECT_EQ(each.part, "gear");
    }
}

/// A material of one color under its head of flags.
Fields materialOf(const Format& format, Fields head, float red) {
  head.version(format.major == 9 ? 2 : 1).put(std::uint16_t{0x39a0});
  for (int color = 0; color < 4; ++color) head.f32({red, 0, 0, 1});
  head.f32({30});
  if (format.major > 8) head.f32({0});
  if (format.major > 9) head.f32({1});
  return head;
}

TEST(Conversion, FlagsOfFieldsMeanTheSameInEveryVersion) {
  // Flags of 10.x: bit 0 ambient, bit 6 diffuse, bit 7 alpha.
  struct Case {
    FileVersion from;
    FileVersion to;
    std::uint8_t state;
    std::uint32_t inhibit;
    std::uint32_t final;
    std::uint32_t inhibitThere;
    std::uint32_t finalThere;
    bool warns = false;
  };
  const Case cases[] = {
      {{9, 5}, {10, 0}, 9, 0x000, 0, 0x00, 0xff},  // final is for the whole attribute
      {{8, 2}, {10, 2}, 9, 0x002, 0, 0xc0, 0xff},  // one bit for diffuse and alpha
      {{9, 5}, {10, 0}, 8, 0x101, 0, 0x81, 0x00},  // alpha and ambient
      {{10, 0}, {9, 5}, 8, 0x041, 0xff, 0x41, 0xff},
      {{10, 0}, {8, 1}, 8, 0x0c1, 0x00, 0xc1, 0x00},
      {{10, 0}, {9, 5}, 8, 0x000, 0x40, 0x00, 0xff, true},  // older ones have no part of it
      {{10, 0}, {10, 2}, 9, 0x041, 0x40, 0x41, 0x40},       // state bit 0 means nothing in 10.x
  };
  MemoryStorage storage;
  for (const Case& given : cases) {
    SCOPED_TRACE(given.from.text() + " to " + given.to.text() + " final " +
                 std::to_string(given.final));
    const Format format = formatOf(given.from);
    Fields head(format);
    head.version().put(given.state).put(given.inhibit);
    if (given.from.major == 10) head.put(given.final);
    SceneBuilder scene(format);
    scene.partition(1, {2}).group(2, {}, {3});
    scene.element(SceneBuilder::kMaterial, 3, 3, materialOf(format, head, 0.25F));
    const auto root =
        storage.open(FileBuilder(format).scene(scene.marker().marker().table({})).build());
    const Saved saved = saveAs(storage, *root, given.to);
    const auto* material = jt::as<JtMaterial>(saved.root->child(0)->attribute(0));
    ASSERT_NE(material, nullptr);
    EXPECT_EQ(material->inhibitFlags(), given.inhibitThere);
    EXPECT_EQ(material->finalFlags(), given.finalThere);
    EXPECT_EQ(material->isFinal(), given.finalThere == 0xff);
    EXPECT_EQ(!saved.warnings.empty(), given.warns);
    EXPECT_EQ(Differences(*root, *saved.root).lines(), std::vector<std::string>{});
  }
}

TEST(Conversion, TextureCoordinateGeneratorsKeepTheirMapping) {
  using Mapping = jt::TextureMapping;
  constexpr std::string_view kGenerator = "aa1b831d-6e47-4fee-a865-cd7e1f2f39dc";
  constexpr std::pair<std::string_view, std::optional<Mapping::Kind>> kMappings[] = {
      {"a3cfb921-bdeb-48d7-b396-8b8d0ef485a0", Mapping::Kind::plane},
      {"3e70739d-8cb0-41ef-845c-a198d4003b3f", Mapping::Kind::cylinder},
      {"72475fd1-2823-4219-a06c-d9e6e39a45c1", Mapping::Kind::sphere},
      {"92f5b094-6499-4d2d-92aa-60d05a4432cf", Mapping::Kind::triPlanar},
      {SceneBuilder::kUnknown, std::nullopt}};
  MemoryStorage storage;
  for (const Format& format : allFormats()) {
    if (format.major == 8) continue;
    for (const auto& [id, kind] : kMappings) {
      Fields mapping(format);
      mapping.version();
      for (int i = 0; i < 16; ++i) mapping.put(0.1 * i);
      mapping.i32(3);
      Fields generator = Fields(format).attribute().version().i32(5);
      generator.raw(elementOf(format, id, 9, mapping, 71));
      if (format.has(jt::file::Feature::attributeTail)) generator.i32(-1);
      SceneBuilder scene(format);
      scene.partition(1, {2}).group(2, {}, {3}).element(kGenerator, 3, 3, generator);
      const auto root =
          storage.open(FileBuilder(format).scene(scene.marker().marker().table({})).build());
      for (const FileVersion version : kVersions) {
        SCOPED_TRACE(formatText(format) + " to " + version.text() + " " + std::string(id));
        const Saved saved = saveAs(storage, *root, version);
        Format to = formatOf(version);
        to.bigEndian = format.bigEndian;
        const bool isKept = to.sameFormAs(format) || (kind && version.major > 8);
        EXPECT_EQ(saved.warnings.empty(), isKept);
        ASSERT_EQ(saved.root->child(0)->numAttributes(), isKept ? 1 : 0);
        if (!isKept) continue;
        const auto* copy = jt::as<JtTextureCoordinateGenerator>(saved.root->child(0)->attribute(0));
        ASSERT_NE(copy, nullptr);
        EXPECT_EQ(copy->channel(), 5);
        ASSERT_EQ(copy->mapping().has_value(), kind.has_value());
        if (!kind) continue;
        EXPECT_EQ(copy->mapping()->kind, *kind);
        EXPECT_EQ(copy->mapping()->objectId, 71);
        EXPECT_EQ(copy->mapping()->matrix[9], 0.1 * 9);
        EXPECT_EQ(copy->mapping()->coordinateSystem, 3);
        EXPECT_EQ(Differences(*root, *saved.root).lines(), std::vector<std::string>{});
      }
    }
  }
}

/// A red occurrence, final or not, of a green shape.
jt::Ref<JtPartition> redOverGreen(bool isFinal) {
  auto root = jt::make<JtPartition>();
  const auto outer = jt::make<JtGroup>();
  const auto shape = jt::make<JtNullShape>();
  const auto red = jt::make<JtMaterial>();
  red->setDiffuseColor(1, 0, 0, 1);
  red->setFinal(isFinal);
  const auto green = jt::make<JtMaterial>();
  green->setDiffuseColor(0, 1, 0, 1);
  outer->appendAttribute(red.get());
  shape->appendAttribute(green.get());
  outer->addChild(shape.get());
  root->addChild(outer.get());
  return root;
}

TEST(Conversion, AFinalMaterialIsFinalInTheFileThePictureAndAComparison) {
  MemoryStorage storage;
  for (const FileVersion from : kVersions)
    for (const FileVersion to : kVersions) {
      SCOPED_TRACE(from.text() + " to " + to.text());
      const Saved first = saveAs(storage, *redOverGreen(true), from);
      const Saved second = saveAs(storage, *first.root, to);
      for (const Saved* saved : {&first, &second}) {
        const JtAttribute& red = *saved->root->child(0)->attribute(0);
        EXPECT_TRUE(red.isFinal());
        jt::Rgba shown{};
        jt::visitDrawnShapes(*saved->root, {}, [&](const jt::DrawnShape& drawn) {
          shown = drawn.material->diffuse();
          return true;
        });
        EXPECT_EQ(shown, (jt::Rgba{1, 0, 0, 1}));
      }
      EXPECT_EQ(Differences(*first.root, *second.root).lines(), std::vector<std::string>{});
      EXPECT_FALSE(Differences(*redOverGreen(false), *second.root).lines().empty());
    }
}

TEST(Conversion, AWireHarnessBecomesANullShape) {
  MemoryStorage storage;
  const Format eight{8, 1, false};
  const auto harness = jt::make<JtWireHarnessSet>();
  jt::ShapeStatistics statistics;
  statistics.box = {{0, 0, 0}, {1, 2, 3}};
  harness->setStatistics(statistics);
  const Bytes element =
      elementOf(eight, "4cc7a523-0728-11d3-9d8b-00a0c9c7ddc2", 4, Fields(eight).zeros(9));
  const auto root = storage.open(shapeFile(eight, *harness, element, 7, Bytes(5)));
  for (const FileVersion version : kVersions) {
    SCOPED_TRACE(version.text());
    const bool isEight = version.major == 8;
    const Saved saved = saveAs(storage, *root, version);
    EXPECT_EQ(saved.segment(2).kind, isEight ? Kind::copied : Kind::dropped);
    const JtNode* node = saved.root->child(0);
    EXPECT_EQ(node->typeID(),
              isEight ? JtWireHarnessSet::classTypeID() : JtNullShape::classTypeID());
    EXPECT_EQ(jt::as<JtShape>(node)->statistics().box, statistics.box);
    EXPECT_EQ(node->numProperties(), isEight ? 1 : 0);
    EXPECT_EQ(saved.warnings.empty(), isEight);
  }
}

TEST(Conversion, ReportsLossesOfAnotherFileByTheirIdsThere) {
  MemoryStorage storage;
  const Format ten{10, 0, false};
  SceneBuilder scene(ten);
  scene.partition(1, {2}).group(2, {}, {77});
  scene.element(SceneBuilder::kUnknown, 3, 77, scene.fields().zeros(9)).marker().marker();
  const auto other = storage.open(FileBuilder(ten).scene(scene.table({})).build());
  const jt::Ref<JtNode> group(other->child(0));
  ASSERT_TRUE(other->removeChild(group.get()));
  const auto root = storage.open(fileWith({9, 5, false}, {}));  // has fewer elements
  ASSERT_TRUE(root->addChild(group.get()));
  const Saved saved = saveAs(storage, *root, {9, 5});
  ASSERT_EQ(saved.warnings.size(), 1U);
  EXPECT_NE(saved.warnings[0].message.find("(object 77)"), std::string::npos);
}

TEST(Findings, ChangedBitsOfShapesAreFoundOrHarmless) {
  MemoryStorage storage;
  std::map<std::string, int> codes;
  const Format format{9, 5, false};
  for (const ShapeVector& vector : shapeVectors()) {
    if (vector.name != "trinorm9" && vector.name != "linedup9") continue;
    const auto node = jt::make<JtTriStripSet>();
    const Bytes file = shapeFile(format, *node, vector.bytes);
    const std::size_t at = file.size() - vector.bytes.size();
    for (std::size_t bit = 0; bit < 8 * vector.bytes.size(); bit += 3) {
      Bytes& changed = storage["changed"];
      changed = file;
      changed[at + bit / 8] ^= std::byte{1} << bit % 8;
      for (const jt::Diagnostic& note : jt::verify(MemoryLocation("changed"))) {
        ++codes[note.code];
        EXPECT_NE(note.segment.find(FileBuilder::id(2).text()), std::string::npos) << note.code;
      }
    }
  }
  for (const char* code : {"hash_mismatch", "bad_packet", "bad_topology", "bad_element_length"})
    EXPECT_GT(codes[code], 0) << code;
}

/// A mesh so large that it is decoded on two cores.
TEST(Findings, OfALargeShapeAreTheSameOnEveryNumberOfThreads) {
  const Format format{10, 0, false};
  const jt::codec::EncodeOptions options{.profile = jt::codec::Profile::compact,
                                         .coordinateBits = 12};
  jt::codec::Report losses;
  const auto segment = jt::file::writeShapeSegment(grid(250, 150, false, true, {}, true), {}, 7,
                                                   format, options, losses);
  const auto content = segment.bytes().subspan(jt::file::kSegmentHeaderSize);
  Bytes bytes(content.begin(), content.end());
  const auto found = [&](std::size_t threads) {
    jt::file::parallelThreads = threads;
    jt::Mesh mesh;
    std::string notes;
    const std::string error = errorText([&] {
      jt::codec::VariantChoice variants;
      jt::file::DecodedShape shape = readShape(bytes, format, variants);
      mesh = std::move(shape.mesh);
      for (const jt::Diagnostic& note : shape.warnings) notes += note.message + "\n";
    });
    jt::file::parallelThreads = 0;
    return std::tuple(error + notes, mesh.positions, mesh.corners, mesh.records);
  };
  std::set<std::string> texts;
  for (std::size_t at = bytes.size() / 50; at < bytes.size(); at += bytes.size() / 23) {
    bytes[at] ^= std::byte{5};
    const auto expected = found(1);
    texts.insert(std::get<0>(expected));
    EXPECT_EQ(expected, found(3)) << at;
    bytes[at] ^= std::byte{5};
  }
  EXPECT_GE(texts.size(), 4U);
}

TEST(Findings, TheWalkOfAFileIsReportedOnce) {
  MemoryStorage storage;
  std::vector<bool> holes(31);
  for (std::size_t i = 0; i < holes.size(); i += 4) holes[i] = true;
  const jt::Mesh mesh = grid(24, 19, true, true, holes, false);
  const Format format{9, 5, false};
  for (unsigned index = 0; index < jt::codec::Variant::kCount; ++index) {
    SCOPED_TRACE(index);
    jt::codec::EncodeOptions options;
    options.profile = jt::codec::Profile::compact;
    options.variant = jt::codec::Variant::byIndex(index);
    jt::codec::Report losses;
    const auto segment = jt::file::writeShapeSegment(mesh, {}, 7, format, options, losses);
    const auto content = segment.bytes().subspan(jt::file::kSegmentHeaderSize);
    const Bytes bytes(content.begin(), content.end());
    storage["walk"] = fileWith(format, {{7, bytes}, {7, bytes}});
    const auto findings = jt::verify(MemoryLocation("walk"));
    if (index % 4 == 0) continue;  // the expected walk may fit too
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0].code, "mesh_walk_variant");
    EXPECT_NE(findings[0].message.find(std::to_string(index)), std::string::npos);
  }
}

}  // namespace
