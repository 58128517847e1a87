// Edits of opened files: what changes in the saved file, and what must not.

#include <gtest/gtest.h>

#include <array>
#include <map>
#include <regex>
#include <set>
#include <thread>

#include "Jt.h"
#include "JtBaseDataStream.h"
#include "JtFactory.h"
#include "JtInstance.h"
#include "JtLights.h"
#include "VisPartNode.h"
#include "file/graph/SceneSource.h"
#include "support/FileBuilder.h"
#include "support/SceneText.h"

namespace {

using namespace jt::file;
using B = SceneBuilder;

jt::Ref<JtStringPropAtom> text(const char* value) {
  return jt::make<JtStringPropAtom>(JtString(value));
}
void set(JtNode& node, const char* key, const char* value) {
  ASSERT_TRUE(node.addProperty(text(key).get(), text(value).get(), true));
}
JtNode* at(JtNode& root, std::initializer_list<int> path) {
  JtNode* node = &root;
  for (const int index : path) node = node->child(index);
  return node;
}
std::map<std::int32_t, Bytes> elementsOf(const JtPartition& partition) {
  const SceneSource* scene = SceneSource::sourceOf(partition);
  std::map<std::int32_t, Bytes> result;
  for (std::uint32_t element = 0; element < scene->elementCount(); ++element) {
    const auto bytes = scene->elementBytes(element);
    result[scene->objectId(element)] = {bytes.begin(), bytes.end()};
  }
  return result;
}
/// What a save did with the segment of that number.
std::string fate(const jt::SaveReport& report, std::uint32_t number) {
  for (const jt::SegmentAction& action : report.segments) {
    if (action.id != FileBuilder::id(number)) continue;
    const char* const names[] = {"copied", "rewritten", "added", "dropped"};
    return names[static_cast<int>(action.kind)];
  }
  return "missing";
}

TEST(Edit, RenamingANodeLeavesTheOneThatSharesItsNameAtom) {
  for (const char* name : {"tiny81.jt", "tiny95.jt", "tiny95be.jt", "tiny100.jt", "tiny105.jt"}) {
    SCOPED_TRACE(name);
    MemoryStorage storage;
    const auto root = storage.open(testData(name));
    const auto before = elementsOf(*root);
    set(*at(*root, {0, 0}), Jt::jtPropName, "new");
    EXPECT_TRUE(root->isContentModified());
    const auto again = storage.open(storage.saved(*root));
    EXPECT_EQ(Jt::name(at(*again, {0, 0})), JtString("new"));
    EXPECT_EQ(Jt::name(at(*again, {0, 0, 0})), JtString("Cube.part;0;0:"));
    EXPECT_EQ(Jt::name(again.get()), JtString("Tiny.asm;0;0:"));
    const auto after = elementsOf(*again);
    for (const auto& [id, bytes] : before) EXPECT_EQ(after.at(id), bytes) << id;
    EXPECT_EQ(after.size(), before.size() + 1) << "the value is new, nothing else";
  }
}

TEST(Edit, PropertiesAreAddedReplacedKeptAndRemoved) {
  MemoryStorage storage;
  const auto root = storage.open(testData("tiny95.jt"));
  JtNode& part = *at(*root, {0, 0, 0});
  const auto number = jt::make<JtInt32PropAtom>(5);
  EXPECT_FALSE(part.addProperty(text(Jt::jtPropName).get(), number.get(), false));
  EXPECT_FALSE(part.addProperty(nullptr, number.get(), true));
  EXPECT_FALSE(part.addProperty(text("k").get(), nullptr, true));
  EXPECT_FALSE(part.addProperty(number.get(), number.get(), true));
  EXPECT_FALSE(part.propertiesModified());
  EXPECT_EQ(storage.saved(*root), testData("tiny95.jt"));
  EXPECT_TRUE(part.addProperty(text("k").get(), number.get(), false));
  EXPECT_TRUE(part.deleteProperty(text(Jt::jtPropMeasurementUnits).get()));
  EXPECT_FALSE(part.deleteProperty(text("none").get()));
  const auto again = storage.open(storage.saved(*root));
  JtNode& saved = *at(*again, {0, 0, 0});
  EXPECT_EQ(saved.numProperties(), 3);
  EXPECT_EQ(jt::as<JtInt32PropAtom>(saved.property("k"))->value(), 5);
  EXPECT_EQ(saved.property(Jt::jtPropMeasurementUnits), nullptr);
  JtPropAtom* unit = nullptr;
  EXPECT_TRUE(saved.lookupProperty(text(Jt::jtPropMeasurementUnits).get(), unit, false));
  EXPECT_EQ(unit, nullptr);
  EXPECT_TRUE(saved.lookupProperty(text(Jt::jtPropMeasurementUnits).get(), unit, true));
  EXPECT_NE(unit, nullptr) << "inherited from the partition";
}

TEST(Edit, MetaDataIsReadThroughPropertiesAndRewrittenWhenAKeyIsRemoved) {
  for (const char* name : {"tiny81.jt", "tiny95be.jt", "tiny105.jt"}) {
    SCOPED_TRACE(name);
    MemoryStorage storage;
    const auto root = storage.open(testData(name));
    auto* part = jt::as<VisPartNode>(at(*root, {0, 0, 0}));
    ASSERT_TRUE(part->ensureMetaData());
    EXPECT_EQ(storage.saved(*root), testData(name)) << "loading is no change";
    ASSERT_NE(part->property("LAYER"), nullptr);
    EXPECT_FALSE(part->addProperty(text("LAYER").get(), text("7").get(), false));
    ASSERT_TRUE(part->deleteProperty(text("LAYER").get()));
    EXPECT_EQ(part->property("LAYER"), nullptr);
    const auto again = storage.open(storage.saved(*root));
    auto* saved = jt::as<VisPartNode>(at(*again, {0, 0, 0}));
    ASSERT_TRUE(saved->ensureMetaData());
    EXPECT_EQ(saved->metaData()->entries().size(), 2U);
    EXPECT_EQ(jt::as<JtStringPropAtom>(saved->property("Name"))->value(), JtString("bracket"));
    EXPECT_EQ(saved->property("LAYER"), nullptr);
  }
}

TEST(Edit, TheFirstRowOfANodeCountsAndDanglingPairsStay) {
  const Format format{9, 5, false};
  SceneBuilder scene(format);
  scene.partition(1, {}).marker().text(2, "a").text(3, "b").text(4, "c").marker();
  scene.table({{1, 2, 3, 2, 99}, {1, 2, 4, 4, 3}});
  MemoryStorage storage;
  const auto root = storage.open(FileBuilder(format).scene(scene).build());
  EXPECT_EQ(jt::as<JtStringPropAtom>(root->property("a"))->value(), JtString("b"));
  EXPECT_EQ(jt::as<JtStringPropAtom>(root->property("c"))->value(), JtString("b"));
  set(*root, "new", "value");
  const auto again = storage.open(storage.saved(*root));
  const SceneSource* saved = SceneSource::sourceOf(*again);
  std::set<std::pair<std::int32_t, std::int32_t>> pairs;
  saved->eachPair(saved->rows().at(0).pairs,
                  [&](std::int32_t key, std::int32_t value) { pairs.emplace(key, value); });
  EXPECT_TRUE(pairs.contains({2, 99}));
}

TEST(Edit, ARemovedNodeTakesItsRowAndTheSegmentsThatOnlyItNamesWithIt) {
  const Format format{10, 5, false};
  constexpr int kTypes[] = {7, 17, 4, 5, 23, 30, 31, 77, 6};  // segments 2 to 10
  SceneBuilder scene(format);
  FileBuilder file(format);
  scene.partition(1, {2, 3}).group(2, {}).group(3, {}).marker().text(9, "key");
  std::vector<std::int32_t> row{2};
  for (std::uint32_t number = 2; number <= 10; ++number) {
    const auto id = static_cast<std::int32_t>(number + 10);
    Fields late = scene.fields().version(2).put(std::uint32_t{0}).version(2);
    scene.element(B::kLate, 8, id,
                  late.put(FileBuilder::id(number)).i32(kTypes[number - 2]).i32(0));
    row.insert(row.end(), {9, id});
  }
  scene.marker().table({row, {3, 9, 20}});  // segment 10 is named by node 3 too
  file.scene(scene);
  for (std::uint32_t number = 2; number <= 10; ++number)
    file.segment(number, kTypes[number - 2], Bytes(40, std::byte(number)));
  file.segment(11, 8, Bytes(40)).segment(12, 17, Bytes(40));  // nothing named these before

  MemoryStorage storage;
  const auto root = storage.open(file.build());
  ASSERT_TRUE(root->removeChild(0));
  const Bytes saved = storage.saved(*root);
  const std::string expected[] = {"rewritten", "dropped", "dropped", "dropped", "copied", "copied",
                                  "copied",    "copied",  "copied",  "copied",  "copied", "copied"};
  for (std::uint32_t number = 1; number <= 12; ++number)
    EXPECT_EQ(fate(storage.report(), number), expected[number - 1]) << number;
  const auto again = storage.open(saved);
  EXPECT_EQ(again->container()->toc().size(), 9U);
  EXPECT_EQ(SceneSource::sourceOf(*again)->rows().size(), 1U);
  EXPECT_EQ(SceneSource::sourceOf(*again)->find(2), SceneSource::kNone);
  EXPECT_EQ(SceneText::of(*again), SceneText::of(*root));
}

TEST(Edit, WhatIsNewGetsNewIdsAndWhatIsOldKeepsItsBytes) {
  MemoryStorage storage;
  for (const char* name : {"zoo81.jt", "zoo95.jt", "zoo100.jt", "zoo105.jt"}) {
    SCOPED_TRACE(name);
    const auto root = storage.open(testData(name));
    const auto before = elementsOf(*root);
    const auto group = jt::make<JtGroup>();
    const auto instance = jt::make<JtInstance>();
    ASSERT_TRUE(root->addChild(group.get()));
    ASSERT_TRUE(group->addChild(instance.get()));
    ASSERT_TRUE(instance->setChild(root->child(0)));
    ASSERT_TRUE(instance->appendAttribute(
        jt::make<JtXform>(jt::Matrix4{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 4, 5, 6, 1}).get()));
    ASSERT_TRUE(instance->appendAttribute(root->attribute(0)));
    set(*instance, "a", "b");
    set(*group, "b", "a");
    root->growBounds();  // as the save does
    const auto again = storage.open(storage.saved(*root));
    EXPECT_EQ(SceneText::of(*again), SceneText::of(*root));
    auto after = elementsOf(*again);
    for (const auto& [id, bytes] : before) {
      EXPECT_TRUE(id == 1 || after.at(id) == bytes) << id;
      after.erase(id);
    }
    EXPECT_EQ(after.size(), 5U);  // group, instance, transform, two texts
    EXPECT_GT(after.begin()->first, before.rbegin()->first);
  }
}

/// A late-loaded property of an application.
class Recipe : public JtBase {
 public:
  static const JtType* classTypeID() {
    static const JtType type("Recipe", JtBase::classTypeID(),
                             *JtGuid::parse("7e5ec1be-0000-4000-8000-000000000001"),
                             []() -> JtBase* { return new Recipe; });
    return &type;
  }
  const JtType* typeID() const override { return classTypeID(); }
  bool serialize(JtBaseDataStream& out) const override {
    return out.write(steps) && out.write(title);
  }
  bool deserialize(JtBaseDataStream& in) override { return in.read(steps) && in.read(title); }
  std::int32_t steps = 0;
  JtString title;
};

TEST(Edit, ALateLoadedPropertyOfAnApplicationIsStoredAndFoundAgain) {
  JtFactory::addType(Recipe::classTypeID());
  MemoryStorage storage;
  for (const char* name : {"tiny81.jt", "tiny95be.jt", "tiny100.jt", "tiny105.jt"}) {
    SCOPED_TRACE(name);
    const auto root = storage.open(testData(name));
    const auto recipe = jt::make<Recipe>();
    recipe->steps = -3;
    recipe->title = JtString("\u00e4");
    const auto atom = jt::make<JtLateLoadedPropAtom>(recipe);
    ASSERT_TRUE(root->child(0)->addProperty(text("recipe").get(), atom.get(), false));
    EXPECT_EQ(storage.saved(*root), storage.saved(*root));
    const Bytes file = storage.saved(*root);
    const auto again = storage.open(file);
    auto* saved = jt::as<JtLateLoadedPropAtom>(again->child(0)->property("recipe"));
    ASSERT_NE(saved, nullptr);
    EXPECT_FALSE(saved->isLoaded());
    const auto loaded = saved->load(nullptr);
    const auto* read = jt::as<Recipe>(loaded.get());
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(read->steps, -3);
    EXPECT_EQ(read->title, JtString("\u00e4"));
    EXPECT_EQ(storage.saved(*again), file);
    for (const jt::FileVersion version : {jt::FileVersion{9, 5}, {10, 0}}) {
      jt::SaveOptions options;
      options.version = version;
      const auto other = storage.open(storage.saved(*storage.open(file), options));
      auto* kept = jt::as<JtLateLoadedPropAtom>(other->child(0)->property("recipe"));
      const auto object = kept ? kept->load(nullptr) : jt::Ref<JtBase>();
      ASSERT_TRUE(jt::as<Recipe>(object.get())) << version.text();
      EXPECT_EQ(jt::as<Recipe>(object.get())->title, JtString("\u00e4"));
    }
    ASSERT_TRUE(again->child(0)->deleteProperty(text("recipe").get()));
    EXPECT_EQ(storage.open(storage.saved(*again))->container()->toc().size(), 2U);
  }
}

TEST(Edit, APartOfASceneIsSavedAsAFileOfItsOwn) {
  MemoryStorage storage;
  for (const char* name : {"tiny81.jt", "tiny95be.jt", "tiny105.jt"}) {
    SCOPED_TRACE(name);
    const auto root = storage.open(testData(name));
    JtNode* part = at(*root, {0, 0, 0});
    const std::string before = SceneText::of(*root);
    root->saveAs(part, jt::make<MemoryLocation>("part").get());
    EXPECT_EQ(part->numParents(), 1);
    EXPECT_EQ(SceneText::of(*root), before);
    EXPECT_FALSE(root->isContentModified());
    const auto saved = storage.open("part");
    EXPECT_EQ(SceneText::of(*saved->child(0)), SceneText::of(*part));
    EXPECT_EQ(jt::summarizeGraph(*saved).nodes, 4U);
    EXPECT_EQ(saved->numProperties(), root->numProperties());
    auto* copy = jt::as<VisPartNode>(saved->child(0));
    EXPECT_TRUE(copy->ensureMetaData() && copy->metaData());
    // Without the part its metadata segment goes too.
    root->saveAs(jt::make<JtGroup>().get(), jt::make<MemoryLocation>("empty").get());
    EXPECT_EQ(storage.open("empty")->container()->toc().size(), 1U);
  }
}

TEST(Edit, MetaDataIsLoadedOnceForAllThreads) {
  MemoryStorage storage;
  const auto root = storage.open(testData("tiny95.jt"));
  auto& part = dynamic_cast<VisMetaDataNode&>(*at(*root, {0, 0, 0}));
  std::array<const JtMetaData*, 6> found{};
  std::array<const JtPropAtom*, 6> atoms{};
  {
    std::vector<std::jthread> threads;
    for (std::size_t i = 0; i < found.size(); ++i)
      threads.emplace_back([&, i] {
        if (!part.ensureMetaData() || !part.ensurePMI()) return;
        found[i] = part.metaData();
        if (found[i]) atoms[i] = part.property(found[i]->entries().front().key);
      });
  }
  ASSERT_TRUE(found[0] && atoms[0]);
  for (std::size_t i = 1; i < found.size(); ++i)
    EXPECT_TRUE(found[i] == found[0] && atoms[i] == atoms[0]);
}

TEST(Edit, WhatComesFromAnotherFileBringsItsSegments) {
  MemoryStorage storage;
  for (const char* name : {"tiny81.jt", "tiny95.jt", "tiny95be.jt", "tiny100.jt", "tiny105.jt"})
    for (const char* into : {"asm95.jt", "zoo100.jt", ""}) {
      SCOPED_TRACE(std::string(name) + " into " + into);
      const auto from = storage.open(testData(name));
      const auto root = *into ? storage.open(testData(into)) : jt::make<JtPartition>();
      ASSERT_TRUE(root->addChild(at(*from, {0, 0})));
      root->growBounds();  // as the save does
      const auto again = storage.open(storage.saved(*root));
      EXPECT_EQ(SceneText::of(*again, false), SceneText::of(*root, false));
      JtNode* instance = again->child(again->numChildren() - 1);
      auto* part = jt::as<VisPartNode>(instance->child(0));
      ASSERT_TRUE(part && part->ensureMetaData() && part->metaData());
      EXPECT_EQ(part->metaData()->entries().size(), 3U);
    }
}

// Light sets and object references name objects by their ids, which are others in another file.
TEST(Edit, ObjectsThatValuesNameComeAlongUnderTheirNewIds) {
  MemoryStorage storage;
  for (const char* into : {"tiny95.jt", "tiny100.jt", ""}) {
    SCOPED_TRACE(into);
    const auto from = storage.open(testData("zoo95.jt"));
    const auto root = *into ? storage.open(testData(into)) : jt::make<JtPartition>();
    const auto named = jt::Ref<JtNode>(at(*from, {1}));  // which its own first child names
    for (int i = 0; i < from->numAttributes(); ++i)
      if (jt::as<JtLightSet>(from->attribute(i))) named->appendAttribute(from->attribute(i));
    ASSERT_TRUE(root->addChild(named.get()));
    const auto again = storage.open(storage.saved(*root));
    const JtNode* group = again->child(again->numChildren() - 1);
    const JtLightSet* lights = nullptr;
    for (int i = 0; i < group->numAttributes(); ++i)
      if (const auto* set = jt::as<JtLightSet>(group->attribute(i))) lights = set;
    ASSERT_TRUE(lights && lights->lightIds().size() == 2);
    const SceneSource* scene = SceneSource::sourceOf(*again);
    std::string kinds;
    for (const std::int32_t id : lights->lightIds()) {
      const std::uint32_t element = scene->find(id);
      ASSERT_NE(element, SceneSource::kNone) << id;
      kinds += scene->kind(element)->name + std::string(";");
    }
    EXPECT_EQ(kinds, "Infinite Light Attribute;Point Light Attribute;");
    JtPropAtom* key = nullptr;
    JtPropAtom* value = nullptr;
    int pointers = 0;
    for (int i = 0; group->child(0)->getProperty(i, key, value); ++i)
      if (const auto* pointer = jt::as<JtPtrPropAtom>(value)) {
        EXPECT_EQ(pointer->targetId(), group->objectId());
        ++pointers;
      }
    EXPECT_EQ(pointers, 1);
  }
}

/// A scene as text, without what one of the versions on its way does not hold.
std::string meaningOf(const JtPartition& root, bool passedEight) {
  const std::string text = SceneText::of(root, false);
  return passedEight ? std::regex_replace(text, std::regex("reflects [0-9.]+"), "") : text;
}

TEST(Edit, AnotherVersionMeansTheSame) {
  MemoryStorage storage;
  for (const char* name : kVectors)
    for (const jt::FileVersion version :
         {jt::FileVersion{8, 1}, {8, 2}, {9, 5}, {10, 0}, {10, 2}}) {
      SCOPED_TRACE(std::string(name) + " to " + version.text());
      const auto root = storage.open(testData(name));
      jt::SaveOptions options;
      options.version = version;
      const auto there = storage.open(storage.saved(*root, options));
      EXPECT_EQ(there->version(), version);
      const bool isEight = version.major == 8;
      const bool lost = SceneText::of(*there, false) != SceneText::of(*root, false);
      if (isEight && lost && std::string(name).starts_with("zoo")) {
        EXPECT_FALSE(storage.report().warnings.empty());  // no textures and lights in 8.x
        continue;
      }
      EXPECT_EQ(meaningOf(*there, isEight), meaningOf(*root, isEight));
      if (lost) {
        EXPECT_TRUE(isEight && !storage.report().warnings.empty());
      }
      for (const jt::Diagnostic& note : there->notes()) EXPECT_FALSE(note.isError) << note.message;
      if (auto* part = jt::as<VisPartNode>(at(*there, {0, 0}) ? at(*there, {0, 0, 0}) : nullptr)) {
        ASSERT_TRUE(part->ensureMetaData());
        EXPECT_EQ(part->metaData()->entries().size(), 3U);
      }
      // And back: nothing that both hold is lost on the way.
      options.version = version.major == 9 ? jt::FileVersion{10, 0} : jt::FileVersion{9, 5};
      const auto back = storage.open(storage.saved(*there, options));
      EXPECT_EQ(meaningOf(*back, isEight), meaningOf(*root, isEight));
    }
  const auto root = storage.open(testData("tiny95.jt"));
  jt::SaveOptions options;
  options.version = jt::FileVersion{9, 4};
  EXPECT_EQ(errorCode([&] { storage.saved(*root, options); }), "unsupported_version");
  const Format v9{9, 5, false};
  SceneBuilder scene(v9);
  scene.partition(1, {2}).element(B::kUnknown, 1, 2, scene.fields().group({})).marker().marker();
  const auto unknown = storage.open(FileBuilder(v9).scene(scene.table({})).build());
  options.version = jt::FileVersion{10, 0};
  EXPECT_EQ(errorCode([&] { storage.saved(*unknown, options); }), "not_convertible");
}

}  // namespace
