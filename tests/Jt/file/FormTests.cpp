// Forms that no sample file has: built here, opened, edited and saved.

#include <gtest/gtest.h>

#include <map>

#include "Jt.h"
#include "JtMaterial.h"
#include "JtXform.h"
#include "VisMetaDataNode.h"
#include "file/elements/MetaDataFields.h"
#include "support/FileBuilder.h"
#include "support/SceneText.h"

namespace {

using namespace jt::file;
using B = SceneBuilder;

/// A root with one child, `id` 2 of the given element, named by text atoms 90 and 91.
SceneBuilder sceneAround(const Format& format, std::string_view typeId, int baseType,
                         std::span<const std::byte> body) {
  SceneBuilder scene(format);
  scene.partition(1, {2}).element(typeId, baseType, 2, body).marker();
  return scene.text(90, "JT_PROP_NAME").text(91, "old").marker().table({{1, 90, 91}, {2, 90, 91}});
}

void rename(JtNode& node, const char* name) {
  const auto key = jt::make<JtStringPropAtom>(JtString(Jt::jtPropName));
  ASSERT_TRUE(node.addProperty(key.get(), jt::make<JtStringPropAtom>(JtString(name)).get(), true));
}

std::map<JtGuid, Bytes> segmentsOf(const Bytes& file) {
  const auto container = Container::open(jt::make<MemoryImage>(file, "file"), {});
  std::map<JtGuid, Bytes> result;
  for (const TocEntry& entry : container->toc()) {
    const auto bytes = container->segmentBytes(entry);
    result[entry.id] = {bytes.begin(), bytes.end()};
  }
  return result;
}
std::map<std::int32_t, Bytes> elementsOf(const Bytes& file) {
  const auto scene = SceneSource::open(Container::open(jt::make<MemoryImage>(file, "file"), {}));
  std::map<std::int32_t, Bytes> result;
  for (std::uint32_t element = 0; element < scene->elementCount(); ++element) {
    const auto bytes = scene->elementBytes(element);
    result[scene->objectId(element)] = {bytes.begin(), bytes.end()};
  }
  return result;
}
bool contains(const Bytes& all, const Bytes& part) {
  return std::search(all.begin(), all.end(), part.begin(), part.end()) != all.end();
}

/// Opens, saves unchanged, saves rewritten, renames the root and saves: nothing else may change.
void expectSurvival(const Bytes& file) {
  MemoryStorage storage;
  const auto root = storage.open(file);
  const std::string before = SceneText::of(*root);
  EXPECT_EQ(storage.saved(*root), file);
  jt::SaveOptions rewrite;
  rewrite.rewriteSceneGraph = true;
  const Bytes once = storage.saved(*root, rewrite);
  EXPECT_EQ(SceneText::of(*storage.open(once)), before);
  EXPECT_EQ(storage.saved(*storage.open(once), rewrite), once);
  EXPECT_EQ(elementsOf(once), elementsOf(file));

  rename(*root, "new");
  const Bytes edited = storage.saved(*root);
  const auto reopened = storage.open(edited);
  EXPECT_EQ(Jt::name(reopened.get()), JtString("new"));
  EXPECT_EQ(SceneText::of(*reopened), SceneText::of(*root));
  const auto now = segmentsOf(edited);
  for (const auto& [id, bytes] : segmentsOf(file)) {
    EXPECT_TRUE(id == FileBuilder::id(1) || now.at(id) == bytes) << id.text();
  }
  const auto elements = elementsOf(edited);
  for (const auto& [id, bytes] : elementsOf(file)) EXPECT_EQ(elements.at(id), bytes) << id;
}

TEST(Forms, UnknownThingsSurviveInEveryGenerationAndByteOrder) {
  for (const Format& format : allFormats()) {
    SCOPED_TRACE(formatText(format));
    SceneBuilder scene(format);
    const Fields data = scene.fields().zeros(11);
    scene.partition(1, {2, 3, 6, 7, 97})
        .group(2, {}, {8, 9})
        .element(B::kUnknown, 1, 3, scene.fields().group({4}).zeros(5))  // children still show
        .element(B::kUnknown, 0, 4, scene.fields().node().zeros(3))
        .element(B::kUnknown, 1, 11, scene.fields().group({98}).zeros(2))  // its child is missing
        .element(B::kUnknown, 255, 5, data)                   // classless, and nothing names it
        .element(B::kGroup, 1, 6, data)                       // damaged
        .element(B::kUnknown, 0, 7, scene.fields().zeros(2))  // unreadable
        .element(B::kUnknown, 3, 8, scene.fields().attribute().zeros(9))
        .element(B::kMaterial, 3, 9, data)
        .element(B::kGroup, 1, 10, scene.fields().group({}).zeros(7))  // trailing bytes
        .marker()
        .text(90, "JT_PROP_NAME")
        .text(91, "old")
        .element(B::kUnknown, 5, 92, data)
        .element(B::kUnknown, 77, 93, data)
        .marker()
        // Missing atoms and owners; what is new must not get their ids.
        .table({{1, 90, 91}, {2, 90, 92}, {3, 90, 91, 92, 93}, {4, 90, 94, 95, 91}, {96, 90, 91}});
    const Bytes file = FileBuilder(format)
                           .scene(scene)
                           .gap(13)
                           .segment(2, 77, Bytes(100, std::byte{7}))
                           .segment(3, 7, Bytes(60, std::byte{8}))
                           .gap(1)
                           .packed(4, 31, scene.fields().zeros(40))
                           .gap(3)
                           .build();
    expectSurvival(file);
    MemoryStorage storage;
    const auto root = storage.open(file);
    ASSERT_EQ(root->numChildren(), 4);
    EXPECT_EQ(root->child(1)->numChildren(), 1);
    EXPECT_TRUE(root->child(2)->isOpaque());
    EXPECT_FALSE(jt::as<JtGroup>(root->child(2)) &&
                 jt::as<JtGroup>(root->child(2))->addChild(root->child(0)));
    ASSERT_EQ(root->child(0)->numAttributes(), 2);
    // Changes of what could not be read are refused, and nothing is lost by trying.
    const auto before = elementsOf(file);
    root->child(3)->setIgnored(true);
    EXPECT_FALSE(root->child(3)->isIgnored());
    for (JtNode* node : {root->child(2), root->child(3)}) {
      EXPECT_FALSE(node->appendAttribute(root->child(0)->attribute(0)));
      EXPECT_TRUE(node->isOpaque());
    }
    root->child(0)->attribute(1)->setState(JtAttributeState::force, true);
    const auto after = elementsOf(storage.saved(*root));
    for (const int id : {6, 7, 9}) EXPECT_EQ(after.at(id), before.at(id)) << id;
    // Of an unknown kind with known beginnings those can be changed.
    root->child(1)->setIgnored(true);
    root->child(0)->attribute(0)->setState(JtAttributeState::force, true);
    const Bytes begun = storage.saved(*root);
    EXPECT_EQ(SceneText::of(*storage.open(begun)), SceneText::of(*root));
    const auto changed = elementsOf(begun);
    for (const int id : {3, 8}) EXPECT_EQ(changed.at(id).size(), before.at(id).size()) << id;
    rename(*root, "new");
    const Bytes saved = storage.saved(*root);
    EXPECT_TRUE(contains(saved, Bytes(13, std::byte{0xab})));
  }
}

/// Elements as they are stored but for their ids.
std::vector<Bytes> elementsWithoutIds(const Bytes& file) {
  std::vector<Bytes> result;
  for (auto& [id, bytes] : elementsOf(file)) {
    bytes.erase(bytes.begin() + kFrameSizeWithoutId, bytes.begin() + kFrameSize);
    result.push_back(std::move(bytes));
  }
  return result;
}

/// Looking for what a node does not have leaves its properties in the file. A key may be stored
/// more than once, and a pair may name values that do not exist.
TEST(Forms, PropertiesAreFoundByTextWhereverTheirKeysAreStored) {
  for (const Format& format : allFormats()) {
    SceneBuilder scene(format);
    scene.partition(1, {2, 3, 4})
        .group(2, {})
        .group(3, {})
        .group(4, {})
        .marker()
        .text(90, "size")
        .text(91, "M6")
        .text(92, "size")
        .text(93, "M8")
        .text(94, "grade")
        .marker()
        .table({{2, 90, 91}, {3, 94, 91, 92, 93}, {4, 90, 99, 94, 93}});
    MemoryStorage storage;
    const auto root = storage.open(FileBuilder(format).scene(scene).build());
    const char* const kSizes[] = {"M6", "M8", ""};
    for (const int i : {0, 1, 2}) {
      JtNode& node = *root->child(i);
      EXPECT_FALSE(node.property("norm"));
      EXPECT_NE(FieldAccess::propertyRow(node).load(), 0U) << i;
      EXPECT_EQ(node.property("grade") != nullptr, i > 0);
      const auto* size = jt::as<JtStringPropAtom>(node.property("size"));
      EXPECT_EQ(size ? size->value() : JtString(), JtString(kSizes[i])) << i;
    }
    rename(*root->child(0), "Bolt");
    EXPECT_TRUE(root->child(0)->property(JtString(Jt::jtPropName)));
  }
}

TEST(Forms, OpaqueElementsKeepTheirBytesWhereverTheirNodeGoes) {
  // Of known and unknown types, each too short or with a count that cannot be.
  constexpr std::string_view kInt32 = "10dd102b-2ac8-11d1-9b6b-0080c7bb5997";
  for (const Format& format : allFormats()) {
    SCOPED_TRACE(formatText(format));
    const auto bytes = [](int size) {
      return Bytes(static_cast<std::size_t>(size), std::byte{91});
    };
    SceneBuilder scene(format);
    scene.partition(1, {2, 8})
        .group(2, {3, 4}, {5, 6, 7})
        .element(B::kGroup, 1, 3, bytes(11))
        .element(B::kUnknown, 0, 4, bytes(2))
        .element(B::kMaterial, 3, 5, bytes(12))
        .element(B::kXform, 3, 6, bytes(13))
        .element(B::kUnknown, 3, 7, bytes(14))
        .group(8, {})
        .marker()
        .element(B::kText, 5, 90, bytes(15))
        .element(kInt32, 5, 91, bytes(3))
        .element(B::kLate, 8, 92, bytes(16))
        .element(B::kUnknown, 77, 93, bytes(17))
        .element(B::kMaterial, 5, 94, bytes(18))  // no atom
        .marker()
        .table({{2, 90, 91, 92, 93, 91, 94}});
    const Bytes file = FileBuilder(format).scene(scene).build();
    const auto elements = elementsOf(file);
    const auto expectAll = [&](const Bytes& saved, int nodes, const char* what) {
      const auto all = elementsWithoutIds(saved);
      for (const int id : {3, 4, 5, 6, 7, 90, 91, 92, 93, 94}) {
        Bytes element = elements.at(id);
        element.erase(element.begin() + kFrameSizeWithoutId, element.begin() + kFrameSize);
        EXPECT_EQ(std::ranges::count(all, element), id < 5 ? nodes : 1) << what << id;
      }
    };
    MemoryStorage storage;
    auto root = storage.open(file);
    root->saveAs(root->child(0), jt::make<MemoryLocation>("part").get());
    expectAll(storage["part"], 1, "a file of its own ");

    const Bytes otherFile = FileBuilder(format)
                                .scene(sceneAround(format, B::kGroup, 1, Fields(format).group({})))
                                .build();
    const auto other = storage.open(otherFile);
    other->addChild(Jt::clone(root->child(0)).get());
    ASSERT_TRUE(root->addChild(Jt::clone(root->child(0)).get()));
    for (const int child : {0, 2}) {
      EXPECT_EQ(root->child(child)->numChildren(), 2);
      EXPECT_TRUE(root->child(child)->child(1)->isOpaque());
    }
    expectAll(storage.saved(*root), 2, "a copy beside it ");
    const std::string text = SceneText::of(*root->child(0));
    root->close();
    root = nullptr;
    const Bytes saved = storage.saved(*other);
    expectAll(saved, 1, "a copy in another file ");
    EXPECT_EQ(SceneText::of(*storage.open(saved)->child(1)), text);
    if (format.minor == 5 && format.major == 10) continue;  // no other version of that form
    jt::SaveOptions options;
    options.version = jt::FileVersion{format.major == 9 ? 10 : 9, format.major == 9 ? 0 : 5};
    EXPECT_EQ(errorCode([&] { storage.saved(*other, options); }), "not_convertible");
  }
}

TEST(Forms, SegmentsAreReadHoweverTheyArePackedAndPlaced) {
  for (const Format& format : allFormats()) {
    SCOPED_TRACE(formatText(format));
    const SceneBuilder scene = sceneAround(format, B::kGroup, 1, Fields(format).group({}));
    FileBuilder stored(format);
    stored.packed(1, 1, 0, 1, scene.bytes());
    expectSurvival(stored.build());
    FileBuilder zlib(format);
    zlib.packed(1, 1, 2, 2, pack(scene.bytes(), Packing::zlib, 9));
    expectSurvival(zlib.build());
    FileBuilder xz(format);
    xz.packed(1, 1, 3, 3, pack(scene.bytes(), Packing::xz, 6)).gap(5).tocAtEnd();
    expectSurvival(xz.build());
    // The algorithm byte decides, not the flag.
    FileBuilder odd(format);
    odd.packed(2, 31, 0, 1, scene.fields().zeros(9))
        .packed(1, 1, 3, 2, pack(scene.bytes(), Packing::zlib, 1));
    expectSurvival(odd.tocAtEnd().build());
    // Too short for a header of packed content.
    FileBuilder brief(format);
    brief.segment(2, 31, Fields(format).put(FileBuilder::id(2)).i32(31).i32(27).zeros(3).bytes());
    const Bytes file = brief.scene(scene).build();
    expectSurvival(file);
    const auto container = Container::open(jt::make<MemoryImage>(file, "brief"), {});
    EXPECT_EQ(container->load(*container->find(FileBuilder::id(2))).bytes.size(), 3U);
  }
}

/// The child's attribute 3 from a body that belongs to another form than the file.
jt::Ref<JtPartition> openWithAttribute(MemoryStorage& storage, const Format& format,
                                       std::string_view typeId, const Fields& body) {
  SceneBuilder scene(format);
  scene.partition(1, {2}).group(2, {}, {3}).element(typeId, 3, 3, body).marker();
  scene.text(90, "JT_PROP_NAME").text(91, "old").marker().table({{1, 90, 91}, {2, 90, 91}});
  const Bytes file = FileBuilder(format).scene(scene).build();
  expectSurvival(file);
  return storage.open(file);
}

TEST(Forms, TheLengthOfAnElementDecidesBetweenTheFormsOfAttributes) {
  MemoryStorage storage;
  const jt::Matrix4 moved{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 5, 6, 7, 1};
  const auto matrixOf = [&](const Format& format, const Fields& body) {
    const auto root = openWithAttribute(storage, format, B::kXform, body);
    auto* xform = jt::as<JtXform>(root->child(0)->attribute(0));
    EXPECT_NE(xform, nullptr);
    if (!xform) return jt::Matrix4{};
    // Changed and saved, the element keeps the form that it had.
    jt::Matrix4 changed = xform->matrix();
    changed[14] += 1;
    const jt::Matrix4 result = xform->matrix();
    xform->setMatrix(changed);
    const Bytes saved = storage.saved(*root);
    EXPECT_EQ(elementsOf(saved).at(3).size(), 25 + body.bytes().size());
    EXPECT_EQ(jt::as<JtXform>(storage.open(saved)->child(0)->attribute(0))->matrix(), changed);
    return result;
  };
  constexpr std::uint16_t kMask = 0x000e;
  for (const Format& format : allFormats()) {
    SCOPED_TRACE(formatText(format));
    const auto head = [&] { return Fields(format).attribute().version().put(kMask); };
    EXPECT_EQ(matrixOf(format, head().f32({5, 6, 7})), moved);
    EXPECT_EQ(matrixOf(format, head().put(5.0).put(6.0).put(7.0)), moved);
    if (format.major < 10) continue;
    EXPECT_EQ(matrixOf(format, head().put(5.0).put(6.0).put(7.0).i32(-1)), moved);
  }
  // 8.x materials with colors stored as one number, flags 0x0b: ambient and emission.
  const Format v8{8, 1, false};
  const auto pattern = openWithAttribute(storage, v8, B::kMaterial,
                                         Fields(v8)
                                             .attribute()
                                             .put(std::uint16_t{0x39ab})
                                             .f32({.5F, .1F, .2F, .3F, 1, .4F, .4F, .4F, 1, .25F})
                                             .f32({30}));
  auto* material = jt::as<JtMaterial>(pattern->child(0)->attribute(0));
  ASSERT_NE(material, nullptr);
  EXPECT_EQ(material->ambient(), (jt::Rgba{.5F, .5F, .5F, 1}));
  EXPECT_EQ(material->specular(), (jt::Rgba{.4F, .4F, .4F, 1}));
  EXPECT_EQ(material->emission(), (jt::Rgba{.25F, .25F, .25F, 1}));
  material->setAmbientColor(1, 0, 0);
  const auto changed = storage.open(storage.saved(*pattern));
  EXPECT_EQ(SceneText::of(*changed), SceneText::of(*pattern));
  // 9.x materials of version 1 have no reflectivity.
  const Format v9{9, 0, false};
  const auto old = openWithAttribute(
      storage, v9, B::kMaterial, Fields(v9).attribute().version().put(std::uint16_t{0}).zeros(68));
  EXPECT_NE(jt::as<JtMaterial>(old->child(0)->attribute(0)), nullptr);
}

TEST(Forms, TheLengthOfAnElementDecidesBetweenTheFormsOfNodes) {
  MemoryStorage storage;
  const auto boxed = [](Fields fields, float max) { return fields.f32({0, 0, 0, max, max, max}); };
  struct Case {
    Format format;
    bool hasVersion;
    int flags;
    int boxesBefore;
    bool boxBehind;
  };
  const Case cases[] = {{{9, 5, false}, false, 0, 1, false}, {{9, 5, false}, false, 0, 2, false},
                        {{9, 5, false}, false, 1, 1, true},  {{9, 5, true}, false, 1, 1, true},
                        {{10, 2, false}, true, 1, 1, false}, {{10, 2, false}, false, 0, 1, false},
                        {{10, 0, false}, false, 1, 1, true}, {{10, 5, false}, false, 0, 1, false},
                        {{10, 5, true}, true, 1, 1, false},  {{8, 1, false}, false, 0, 1, false}};
  for (const Case& c : cases) {
    SCOPED_TRACE(formatText(c.format) + " flags " + std::to_string(c.flags) + " boxes " +
                 std::to_string(c.boxesBefore));
    SceneBuilder scene(c.format);
    Fields body = scene.fields().group({2});
    if (c.hasVersion) body.put(std::uint8_t{1});
    body.i32(c.flags).put(JtString("\u00e4"));
    for (int i = 0; i < c.boxesBefore; ++i) body = boxed(body, static_cast<float>(i + 1));
    body.zeros(28);
    if (c.boxBehind) body = boxed(body, 9);
    scene.element(B::kPartition, 1, 1, body).group(2, {}).marker();
    scene.text(90, "JT_PROP_NAME").text(91, "x").marker().table({{1, 90, 91}, {2, 90, 91}});
    const Bytes file = FileBuilder(c.format).scene(scene).build();
    expectSurvival(file);
    const auto root = storage.open(file);
    EXPECT_EQ(root->fileName(), JtString("\u00e4"));
    ASSERT_TRUE(root->bounds());
    EXPECT_EQ(root->bounds()->max[0], c.boxBehind ? 9 : static_cast<float>(c.boxesBefore));
    // Edited, the element keeps its form.
    root->setBounds({{0, 0, 0}, {3, 3, 3}});
    const Bytes saved = storage.saved(*root);
    EXPECT_EQ(elementsOf(saved).at(1).size(), elementsOf(file).at(1).size());
    EXPECT_EQ(storage.open(saved)->bounds()->max[1], 3);
  }

  // 9.x line shapes repeat their bindings twice, once (either time) or never.
  const Format v9{9, 5, false};
  for (const bool first : {false, true})
    for (const bool last : {false, true}) {
      SCOPED_TRACE(std::to_string(first) + std::to_string(last));
      Fields body = Fields(v9).node().version().zeros(84).version().put(std::uint64_t{2}).zeros(4);
      if (first) body.put(std::uint64_t{2});
      body.version(2).f32({0.5F});
      if (last) body.put(std::uint64_t{0});
      const Bytes file = FileBuilder(v9).scene(sceneAround(v9, B::kPolyline, 2, body)).build();
      expectSurvival(file);
      const auto root = storage.open(file);
      const auto* lines = jt::as<JtPolylineSet>(root->child(0));
      ASSERT_NE(lines, nullptr);
      EXPECT_EQ(lines->areaFactor(), 0.5F);
    }
}

TEST(Forms, OtherElementsOfAMetaDataSegmentStayWhenItsMetaDataIsEdited) {
  for (const Format& format : allFormats()) {
    SCOPED_TRACE(formatText(format));
    const bool hasId = format.has(Feature::segmentObjectIds);
    const auto element = [&](std::string_view typeId, std::span<const std::byte> body) {
      return elementOf(format, typeId, 9, body, 4711);
    };
    const Bytes manager = element("ce357249-38fb-11d1-a506-006097bdc6e1", Fields(format).zeros(33));
    Fields bag(format);
    bag.version().put(JtString("keep")).put(std::uint8_t{2}).i32(5);
    bag.put(JtString("drop::")).put(std::uint8_t{1}).put(JtString("x")).put(JtString());
    const Bytes proxy = element("ce357247-38fb-11d1-a506-006097bdc6e1", bag);
    Fields content(format);
    content.raw(manager).raw(proxy).raw(manager);

    SceneBuilder scene(format);
    Fields late = scene.fields().version(2).put(std::uint32_t{0}).version(2);
    late.put(FileBuilder::id(2)).i32(4);
    if (format.has(Feature::latePayloadId)) late.i32(0);
    scene.partition(1, {2})
        .element("ce357245-38fb-11d1-a506-006097bdc6e1", 1, 2,
                 format.major == 8 ? scene.fields().group({}).put(std::int16_t{1})
                                   : scene.fields().group({}).version())
        .marker()
        .text(90, "JT_LLPROP_METADATA")
        .element(B::kLate, 8, 91, late)
        .marker()
        .table({{2, 90, 91}});
    MemoryStorage storage;
    const auto root = storage.open(FileBuilder(format).scene(scene).packed(2, 4, content).build());
    auto* node = jt::as<VisMetaDataNode>(root->child(0));
    ASSERT_TRUE(node && node->ensureMetaData());
    ASSERT_TRUE(node->deleteProperty(jt::make<JtStringPropAtom>(JtString("drop")).get()));
    const auto reopened = storage.open(storage.saved(*root));
    const auto kept = reopened->container()->load(reopened->container()->toc()[1]);
    const auto elements = segmentElements(kept.bytes, format);
    ASSERT_EQ(elements.size(), 3U);
    for (const std::size_t i : {0U, 2U}) {
      const auto bytes = kept.bytes.subspan(elements[i].offset, manager.size());
      EXPECT_TRUE(std::ranges::equal(bytes, manager));
    }
    EXPECT_EQ(elements[1].frame.objectId, hasId ? 4711 : 0);
    auto* again = jt::as<VisMetaDataNode>(reopened->child(0));
    ASSERT_TRUE(again->ensureMetaData());
    EXPECT_NE(again->property("keep"), nullptr);
    EXPECT_EQ(again->property("drop"), nullptr);
  }
}

}  // namespace
