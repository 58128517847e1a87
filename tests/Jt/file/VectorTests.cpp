// The hand-made files of tests/data: what is in them, and that it is written back as it was.

#include <gtest/gtest.h>
#include <libdeflate.h>

#include <algorithm>

#include "Jt.h"
#include "JtInspect.h"
#include "JtInstance.h"
#include "JtLights.h"
#include "JtPartUtil.h"
#include "VisPartNode.h"
#include "file/elements/MetaDataFields.h"
#include "file/graph/SceneReader.h"
#include "support/FileBuilder.h"
#include "support/HostileFiles.h"
#include "support/SceneText.h"

namespace {

using namespace jt::file;

jt::Ref<SceneSource> source(const Bytes& file) {
  return SceneSource::open(Container::open(jt::make<MemoryImage>(file, "vector"), {}));
}
std::uint32_t crc(std::span<const std::byte> bytes) {
  return libdeflate_crc32(0, bytes.data(), bytes.size());
}

/// The object of the scene with that id in the file.
template <class T>
const T* object(const JtNode& root, std::int32_t id) {
  std::vector<const JtNode*> pending{&root};
  for (std::size_t i = 0; i < pending.size(); ++i) {
    const JtNode* node = pending[i];
    if (node->objectId() == id) return jt::as<T>(node);
    for (int a = 0; a < node->numAttributes(); ++a)
      if (node->attribute(a)->objectId() == id) return jt::as<T>(node->attribute(a));
    for (int c = 0; c < node->numChildren(); ++c) pending.push_back(node->child(c));
  }
  return nullptr;
}

TEST(Vectors, InflateToTheStreamsThatTheyWereMadeFrom) {
  struct Case {
    const char* file;
    std::size_t size;
    std::uint32_t crc;
    std::vector<std::size_t> bodies;  // behind the type id: nodes and attributes, then element 15
  };
  const Case cases[] = {{"tiny81.jt", 1139, 0x8efe7923, {105, 23, 21, 24, 80, 33, 45, 97, 29}},
                        {"tiny95.jt", 1217, 0x88c7cb8e, {109, 27, 25, 28, 88, 37, 53, 103, 41}},
                        {"tiny95be.jt", 1217, 0xb753bf34, {109, 27, 25, 28, 88, 37, 53, 103, 41}},
                        {"tiny100.jt", 1149, 0xf81aab9d, {83, 24, 23, 42, 94, 33, 41, 76, 39}},
                        {"tiny105.jt", 1154, 0xb1eb3d58, {84, 24, 23, 46, 98, 33, 41, 76, 35}},
                        {"asm95.jt", 1077, 0xb5f3fa7b, {}},
                        {"zoo81.jt", 1970, 0xe1df97b8, {}},
                        {"zoo95.jt", 4526, 0x1cc1d539, {}},
                        {"zoo100.jt", 3009, 0x5c5858de, {}},
                        {"zoo105.jt", 3058, 0xb96dba9a, {}}};
  for (const Case& expected : cases) {
    SCOPED_TRACE(expected.file);
    const auto scene = source(testData(expected.file));
    EXPECT_EQ(scene->bytes().size(), expected.size);
    EXPECT_EQ(crc(scene->bytes()), expected.crc);
    for (std::size_t i = 0; i < expected.bodies.size(); ++i) {
      const std::uint32_t element = scene->find(i < 8 ? static_cast<std::int32_t>(i + 1) : 15);
      EXPECT_EQ(scene->body(element).size() + 5, expected.bodies[i]) << i;
    }
  }
}

TEST(Vectors, EveryElementIsDecodedAndEncodedToTheSameBytes) {
  for (const char* name : kVectors) {
    const auto scene = source(testData(name));
    for (std::uint32_t element = 0; element < scene->elementCount(); ++element) {
      SCOPED_TRACE(std::string(name) + " id " + std::to_string(scene->objectId(element)));
      Links links;
      const ElementKind* kind = nullptr;
      std::string damage;
      const auto read = SceneReader::readElement(*scene, element, links, kind, &damage);
      // Lights and textures of 8.x are not decoded.
      EXPECT_TRUE(damage.empty() || scene->format().major == 8) << damage;
      ByteSink out;
      Writer writer(out, scene->format());
      writer.setLinks(links);
      kind->write(writer, *read);
      EXPECT_TRUE(std::ranges::equal(out.bytes(), scene->body(element)));
    }
  }
}

TEST(Vectors, AnEncodedSceneEqualsTheReadOneAndNothingChangedGivesTheSameFile) {
  MemoryStorage storage;
  for (const char* name : kVectors) {
    SCOPED_TRACE(name);
    const Bytes file = testData(name);
    const auto scene = storage.open(file);
    EXPECT_EQ(storage.saved(*scene), file);
    jt::SaveOptions rewrite;
    rewrite.rewriteSceneGraph = true;
    const Bytes once = storage.saved(*scene, rewrite);
    EXPECT_TRUE(std::ranges::equal(source(once)->bytes(), source(file)->bytes()));
    EXPECT_EQ(storage.saved(*storage.open(once), rewrite), once);
  }
}

TEST(Vectors, TheTinySceneIsTheSameInEveryForm) {
  MemoryStorage storage;
  std::string first;
  for (const char* name : {"tiny81.jt", "tiny95.jt", "tiny95be.jt", "tiny100.jt", "tiny105.jt"}) {
    SCOPED_TRACE(name);
    const auto root = storage.open(testData(name));
    EXPECT_TRUE(root->notes().empty());
    const auto* assembly = jt::as<VisMetaDataNode>(root->child(0));
    ASSERT_NE(assembly, nullptr);
    const auto* instance = jt::as<JtInstance>(assembly->child(0));
    ASSERT_NE(instance, nullptr);
    auto* part = jt::as<VisPartNode>(instance->child(0));
    ASSERT_NE(part, nullptr);
    EXPECT_EQ(Jt::name(root.get()), JtString("Tiny.asm;0;0:"));
    EXPECT_EQ(Jt::name(instance), JtString("Cube.part;0;0:"));
    JtPartUtil::Unit unit{};
    EXPECT_TRUE(JtPartUtil::obtainMeasureUnit(part, unit));
    EXPECT_EQ(unit, JtPartUtil::millimeters);
    const auto bounds = root->bounds();
    ASSERT_TRUE(bounds);
    EXPECT_EQ(*bounds, (jt::Box{{10, 20, 30}, {11, 22, 33}}));
    const auto* xform = jt::as<JtXform>(instance->attribute(0));
    ASSERT_NE(xform, nullptr);
    EXPECT_EQ(xform->matrix(), (jt::Matrix4{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 10, 20, 30, 1}));
    const auto* material = jt::as<JtMaterial>(part->attribute(0));
    ASSERT_NE(material, nullptr);
    EXPECT_EQ(material->diffuse(), (jt::Rgba{0.8F, 0.4F, 0.2F, 1}));
    const bool is81 = root->version().major == 8;
    EXPECT_EQ(material->reflectivity(), is81 ? 0 : 0.25F);
    const auto* shape = jt::as<JtShape>(part->child(0)->child(0));
    ASSERT_NE(shape, nullptr);
    EXPECT_EQ(shape->statistics().box, (jt::Box{{0, 0, 0}, {1, 2, 3}}));
    EXPECT_EQ(shape->statistics().nodes, (jt::CountRange{1, 1}));
    const auto* late = jt::as<JtLateLoadedPropAtom>(part->property("JT_LLPROP_METADATA"));
    ASSERT_NE(late, nullptr);
    EXPECT_EQ(late->segmentId().text(), "4a540000-0000-4000-8000-000000000002");
    EXPECT_EQ(late->segmentType(), 4);
    if (is81) continue;  // has no reflectivity
    if (first.empty()) first = SceneText::of(*root);
    EXPECT_EQ(SceneText::of(*root), first);
  }
}

TEST(Vectors, MetaDataIsReadOnDemandAndWrittenBackAsItWas) {
  MemoryStorage storage;
  const std::tuple<const char*, std::size_t, std::uint32_t> cases[] = {
      {"tiny81.jt", 108, 0x5d8e7456},
      {"tiny95.jt", 140, 0xdc69355c},
      {"tiny100.jt", 139, 0xb52dd905},
      {"tiny105.jt", 139, 0xb52dd905}};
  for (const auto& [name, size, sum] : cases) {
    SCOPED_TRACE(name);
    const auto root = storage.open(testData(name));
    const auto content = root->container()->load(root->container()->toc()[1]);
    EXPECT_EQ(content.bytes.size(), size);
    EXPECT_EQ(crc(content.bytes), sum);
    auto* part = const_cast<VisPartNode*>(object<VisPartNode>(*root, 6));
    ASSERT_NE(part, nullptr);
    EXPECT_EQ(part->property("Name"), nullptr);
    ASSERT_TRUE(part->ensureMetaData());
    EXPECT_EQ(part->metaData()->entries().size(), 3U);
    const auto* text = jt::as<JtStringPropAtom>(part->property("Name"));
    const auto* number = jt::as<JtInt32PropAtom>(part->property("LAYER"));
    const auto* date = jt::as<JtDatePropAtom>(part->property("Made"));
    ASSERT_TRUE(text && number && date);
    EXPECT_EQ(text->value(), JtString("bracket"));
    EXPECT_EQ(number->value(), 7);
    EXPECT_EQ(date->value(), (jt::DateFields{2024, 2, 5, 6, 7, 8}));
    SegmentBuilder segment(root->container()->format());
    segment.add(*part->metaData());
    const Buffer made = std::move(segment).finish(FileBuilder::id(2), 4, 6);
    const Bytes again(made.bytes().begin(), made.bytes().end());
    const Bytes file =
        FileBuilder(root->container()->format()).segment(1, 1, again).segment(2, 4, again).build();
    const auto copy = Container::open(jt::make<MemoryImage>(file, "copy"), {});
    EXPECT_EQ(crc(copy->load(copy->toc()[1]).bytes), sum);
  }
}

TEST(Vectors, TheZooHoldsTheValuesThatWerePutIn) {
  MemoryStorage storage;
  for (const char* name : {"zoo81.jt", "zoo95.jt", "zoo100.jt", "zoo105.jt"}) {
    SCOPED_TRACE(name);
    const auto root = storage.open(testData(name));
    const bool is81 = root->version().major == 8;
    EXPECT_TRUE(object<JtNode>(*root, 2)->isIgnored());
    EXPECT_EQ(object<JtSwitch>(*root, 5)->selectedChild(), 1);
    EXPECT_EQ(object<JtRangeLOD>(*root, 12)->rangeLimits(), (std::vector<float>{10, 20}));
    EXPECT_EQ(object<JtRangeLOD>(*root, 12)->center(), (std::array<float, 3>{0.5F, 0, 0}));
    for (const int id : {6, 7, 8, 9, 10, 11}) {
      const auto* shape = object<JtShape>(*root, id);
      ASSERT_NE(shape, nullptr) << id;
      EXPECT_EQ(shape->statistics().box, (jt::Box{{-1, -2, -3}, {1, 2, 3}}));
      EXPECT_EQ(shape->statistics().area, 4.5F);
      EXPECT_EQ(shape->statistics().vertices.max, 8);
      EXPECT_EQ(shape->statistics().polygons.max, 12);
      EXPECT_EQ(shape->memorySize(), 100U);
    }
    const auto* material = object<JtMaterial>(*root, 20);
    ASSERT_NE(material, nullptr);
    EXPECT_EQ(material->diffuse(), (jt::Rgba{0.1F, 0.2F, 0.3F, 1}));
    if (is81) {  // one gray value
      EXPECT_EQ(material->ambient(), (jt::Rgba{0.1F, 0.1F, 0.1F, 1}));
    }
    EXPECT_EQ(object<JtXform>(*root, 26)->matrix(),
              (jt::Matrix4{.5, .25, 0, 0, -.25, .5, 0, 0, 0, 0, 2, 0, 7, 8, 9, 1}));
    EXPECT_EQ(object<JtXform>(*root, 27)->matrix(), jt::kIdentity);
    const auto* line = object<JtLineStyle>(*root, 24);
    EXPECT_TRUE(line->antialiased() && line->lineType() == JtLineType::dash);
    EXPECT_EQ(line->width(), 2.5F);
    EXPECT_EQ(object<JtPointStyle>(*root, 25)->size(), 3.0F);

    // Node 3: text, integer, number; node 6: reference, date, late-loaded.
    const auto atom = [&](int owner, int index) {
      JtPropAtom* key = nullptr;
      JtPropAtom* value = nullptr;
      EXPECT_TRUE(object<JtNode>(*root, owner)->getProperty(index, key, value));
      EXPECT_EQ(jt::as<JtStringPropAtom>(key)->value(), JtString("k::"));
      return value;
    };
    EXPECT_EQ(jt::as<JtStringPropAtom>(atom(3, 0))->value(), JtString("\u00e4\U0001F600"));
    EXPECT_EQ(atom(3, 0)->stateFlags(),
              root->version().minor == 5 && root->version().major == 10 ? 0x40000000U : 0U);
    EXPECT_EQ(jt::as<JtInt32PropAtom>(atom(3, 1))->value(), -7);
    EXPECT_EQ(jt::as<JtFloatPropAtom>(atom(3, 2))->value(), 1.5F);
    EXPECT_EQ(jt::as<JtPtrPropAtom>(atom(6, 0))->targetId(), 3);
    const auto* date = jt::as<JtDatePropAtom>(atom(6, 1));
    EXPECT_EQ(date->value(), (jt::DateFields{2024, 2, 5, 6, 7, 8}));
    EXPECT_EQ(date->utcOffset().has_value(), std::string(name) == "zoo105.jt");
    EXPECT_FALSE(jt::as<JtLateLoadedPropAtom>(atom(6, 2))->load(root.get()));
    if (is81) continue;

    const auto* texture = object<JtTextureImage>(*root, 23);
    ASSERT_NE(texture, nullptr);
    const jt::TextureImage& image = texture->blocks().back().images.at(0);
    EXPECT_EQ(image.width, 2);
    ASSERT_EQ(image.mipmaps.size(), 1U);
    EXPECT_EQ(image.mipmaps[0], (Bytes{std::byte{0xff}, {}, {}, {}, std::byte{0xff}, {}}));
    EXPECT_EQ(texture->pixels(), (jt::TexturePixels{2, 1, 3, image.mipmaps[0]}));
    // Lights hang on no node.
    const auto scene = source(testData(name));
    Links links;
    const ElementKind* kind = nullptr;
    const auto light = SceneReader::readElement(*scene, scene->find(29), links, kind, nullptr);
    EXPECT_EQ(jt::as<JtPointLight>(light.get())->coordinateSystem(), 2);
  }
}

TEST(Vectors, TexturesGetOtherPixels) {
  MemoryStorage storage;
  const jt::TexturePixels square{2, 2, 4, Bytes(16, std::byte{7})};
  for (const char* name : {"zoo95.jt", "zoo100.jt"}) {
    const auto root = storage.open(testData(name));
    auto* texture = const_cast<JtTextureImage*>(object<JtTextureImage>(*root, 23));
    ASSERT_NE(texture, nullptr) << name;
    for (const auto& [pixels, channel] : {std::pair{jt::TexturePixels{2, 2, 4, Bytes(15)}, 0},
                                          {{0, 2, 4, {}}, 0},
                                          {{2, 2, 2, Bytes(8)}, 0},
                                          {{40000, 1, 3, Bytes(120000)}, 0},
                                          {square, 8},
                                          {square, -1}})
      EXPECT_THROW(texture->setPixels(pixels, channel), JtFormatError);
    EXPECT_FALSE(texture->isModified()) << name;
    texture->setPixels(square, 3);
    texture->setWrap(jt::TextureWrap::mirror, jt::TextureWrap::clampToEdge);
    const auto back = storage.open(storage.saved(*root));
    const auto* stored = object<JtTextureImage>(*back, 23);
    ASSERT_NE(stored, nullptr) << name;
    EXPECT_EQ(stored->pixels(), square) << name;
    EXPECT_EQ(stored->coordinateChannel(), 3) << name;
    EXPECT_EQ(stored->wrap()[0], jt::TextureWrap::mirror) << name;
    EXPECT_EQ(stored->wrap()[1], jt::TextureWrap::clampToEdge) << name;
  }
}

TEST(Vectors, AnExternalPartitionIsFoundBesideTheFileAndPlacedByItsInstances) {
  MemoryStorage storage;
  storage["tiny95.jt"] = testData("tiny95.jt");
  const auto root = storage.open(testData("asm95.jt"));
  const auto* second = object<JtInstance>(*root, 5);
  ASSERT_NE(second, nullptr);
  EXPECT_EQ(Jt::name(second), JtString("Tiny.asm;0;1:"));
  const auto& m = object<JtXform>(*root, 4)->matrix();
  // (1, 0, 0) as a row vector.
  EXPECT_EQ((std::array{m[0] + m[12], m[1] + m[13], m[2] + m[14]}), (std::array{5.0, 1.0, 0.0}));
  const auto* material = object<JtMaterial>(*root, 6);
  EXPECT_TRUE(material->blending() && material->isFinal());
  EXPECT_EQ(material->diffuse(), (jt::Rgba{1, 0, 0, 0.5F}));
  const auto* outer = jt::as<JtPartition>(second->child(0));
  ASSERT_NE(outer, nullptr);
  EXPECT_EQ(outer->numParents(), 2);
  EXPECT_EQ(outer->numChildren(), 0);
  ASSERT_TRUE(JtPartition::openAllPartitions(root.get(), true));
  ASSERT_NE(outer->externalPartition(), nullptr);
  EXPECT_EQ(Jt::name(outer->externalPartition()), JtString("Tiny.asm;0;0:"));
  EXPECT_EQ(storage.saved(*root), testData("asm95.jt"));

  storage["tiny95.jt"] = testData("asm95.jt");  // names itself
  const auto cyclic = storage.open("tiny95.jt");
  EXPECT_FALSE(JtPartition::openAllPartitions(cyclic.get(), true));
  EXPECT_EQ(cyclic->notes().back().code, "external_cycle");
}

TEST(Vectors, OfExternalPartitionsOnlyThoseAboveTheirFileAreLeftOut) {
  MemoryStorage storage;
  const auto refer = [&](int file, std::size_t next) {  // to the first one and to the next
    storage["part" + std::to_string(file) + ".jt"] =
        hostile::chained(jt::file::Format{9, 5, false}, next);
  };
  refer(1, 2);
  refer(2, 3);
  refer(3, 2);
  const auto back = storage.open("part1.jt");
  EXPECT_FALSE(JtPartition::openAllPartitions(back.get(), true));
  const auto cycles = std::ranges::count(back->notes(), "external_cycle", &jt::Diagnostic::code);
  EXPECT_EQ(cycles, 4) << "of the first to itself, of both others to it, and of the third";

  storage["part1.jt"] = testData("tiny95.jt");
  refer(2, 1);
  const auto shared = storage.open("part3.jt");
  EXPECT_TRUE(JtPartition::openAllPartitions(shared.get(), true));
  const auto* place = jt::as<JtPartition>(jt::ownChild(*shared, 0));
  ASSERT_TRUE(place && place->externalPartition());
  EXPECT_EQ(place->externalPartition()->numParents(), 3);
}

TEST(Vectors, AreSoundAndFullyExplained) {
  MemoryStorage storage;
  struct Sink : jt::ExplainSink {
    void beginSegment(const jt::ExplainedSegment& segment) override {
      EXPECT_EQ(end, size) << "a segment was not explained to its end";
      inflated = segment.inflatedOffsets;
      size = segment.size;
      end = 0;
    }
    void field(const jt::ExplainedField& field) override {
      EXPECT_STRNE(field.type, "error") << field.path << field.value;
      const bool isHead = field.path.starts_with("segment.") || field.path.starts_with("header.") ||
                          field.path.starts_with("toc");
      if (isHead) return;
      EXPECT_EQ(field.offset, end) << field.path;
      end = field.offset + field.size;
    }
    bool inflated = false;
    std::uint64_t size = 0;
    std::uint64_t end = 0;
  };
  for (const char* name : kVectors) {
    SCOPED_TRACE(name);
    storage["file"] = testData(name);
    Sink sink;
    jt::explain(MemoryLocation("file"), {}, sink);
    EXPECT_EQ(sink.end, sink.size);
    for (const jt::Diagnostic& note : jt::verify(MemoryLocation("file")))
      EXPECT_TRUE(!note.isError || std::string(name) == "zoo81.jt") << note.code << note.message;
  }
}

}  // namespace
