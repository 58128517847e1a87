// What a component held and no edit touched is there after a save; a save that failed leaves the
// old file, and the next one everything.

#include <filesystem>
#include <functional>
#include <iterator>
#include <map>
#include <new>

#include "../Jt/support/SceneText.h"
#include "ComponentFixture.h"
#include "FileSizeLimit.h"
#include "JtBufferProperty.h"
#include "JtStorageManager.h"

namespace {

namespace fs = std::filesystem;

constexpr std::int32_t kSceneGraphSegment = 1;

class Saving : public ComponentFixture {
 protected:
  static jt::Ref<JtPartition> partitionOf(const std::string& path) {
    JtPartition* opened = nullptr;
    JtPartition::openPartition(jt::make<JtFSStorageLocation>(JtString(), JtString(path)).get(),
                               nullptr, opened);
    return jt::Ref<JtPartition>::adopt(opened);
  }
  /// The bytes of each segment of a file by id, without the scene graph.
  static std::map<std::string, std::string> segmentsOf(const std::string& path) {
    std::map<std::string, std::string> segments;
    const std::string content = contentOf(path);
    for (const jt::SegmentInfo& row : jt::listSegments(*partitionOf(path))) {
      if (row.type == kSceneGraphSegment) continue;
      const std::string bytes = content.substr(row.offset, row.length);
      EXPECT_TRUE(segments.emplace(row.id.text(), bytes).second) << "twice: " << row.id.text();
    }
    return segments;
  }
  /// Hangs a segment of each kind on a node: B-reps, PMI, shapes, and kinds that nobody knows.
  static void addSegments(JtNode& node) {
    for (const std::int32_t type : {2, 3, 4, 6, 7, 16, 17, 20, 30, 31, 42}) {
      auto content = jt::make<JtBufferProperty>();
      content->setData(std::string(100U + static_cast<unsigned>(type), 'x'));
      const auto late = jt::make<JtLateLoadedPropAtom>(content, type);
      node.addProperty(jt::make<JtStringPropAtom>(JtString("late" + std::to_string(type))).get(),
                       late.get(), true);
    }
  }
  static JtNode& deepest(JtNode& top) {
    JtNode* node = &top;
    while (node->numChildren() > 0 && !node->child(0)->isOpaque()) node = node->child(0);
    return *node;
  }
};

TEST_F(Saving, WhatNoEditTouchedIsThereAfterIt) {
  using Edit = std::function<void(JtwRoot&)>;
  const std::string blob("a\0b", 3);
  const Edit edits[] = {
      [](JtwRoot& root) { root.setAttributes("edited"); },
      [&](JtwRoot& root) { root.setBuffer(JtwRoot::JT_MOP_BUFFER, blob.data(), 3); },
      [](JtwRoot& root) { root.setPMIMaxProtoKey(key(7)); },
  };
  const Edit undos[] = {
      [](JtwRoot& root) { root.setAttributes(""); },
      [](JtwRoot& root) { root.setBuffer(JtwRoot::JT_MOP_BUFFER, nullptr, 0); },
      [](JtwRoot& root) {
        const auto name = jt::make<JtStringPropAtom>(JtString("KrRootPMIMaxProtoKey"));
        root.jtNode()->deleteProperty(name.get());
      },
  };
  int files = 0;
  for (const auto& entry : fs::directory_iterator(JTW_TEST_DATA)) {
    if (entry.path().extension() != ".jt") continue;
    SCOPED_TRACE(entry.path().filename());
    const std::string name = entry.path().stem();
    const std::string folder = folder_.folder(name + ".kpak");
    const std::string part = "tiny95.jt";
    if (name.starts_with("asm")) fs::copy(JTW_TEST_DATA "/" + part, folder + "/" + part);
    const auto source = partitionOf(entry.path());
    addSegments(deepest(*source));
    const ApiDocumentRef document = componentOf(*source, name);
    const std::string path = folder + "/" + name + ".jt";
    const bool full = source->version().major >= 10;

    for (std::size_t i = 0; i < std::size(edits); ++i) {
      JtwRoot* root = open(document);
      ASSERT_TRUE(root && jtw::loadWrappers(*root)) << jt::lastError();
      const auto segments = segmentsOf(path);
      EXPECT_GE(segments.size(), 11U);
      root->partition()->growBounds();  // as the save does
      const std::string held = SceneText::of(*root->partition(), full);
      edits[i](*root);
      ASSERT_TRUE(root->write(false)) << jt::lastError();
      registry().releaseRoot(document);

      root = open(document);
      ASSERT_TRUE(root && jtw::loadWrappers(*root)) << jt::lastError();
      EXPECT_TRUE(segmentsOf(path) == segments);
      EXPECT_NE(SceneText::of(*root->partition(), full), held) << "the edit";
      undos[i](*root);
      EXPECT_EQ(SceneText::of(*root->partition(), full), held);
      registry().releaseRoot(document);
    }
    ++files;
  }
  EXPECT_GE(files, 10);
}

TEST_F(Saving, AfterAFailureTheSameSaveLosesAndDoublesNothing) {
  const std::string path = folder_.at("gear.kpak/gear.jt");
  addSegments(*block(2).jtNode());
  frame(3, 2).setName(L"grip");
  static_cast<JtwCollection*>(find(2))->storeFrames();
  ASSERT_TRUE(root_.write(false)) << jt::lastError();
  const auto segments = segmentsOf(path);

  for (int round = 0; round < 8; ++round) {
    const std::string before = contentOf(path);
    JtwEntity& made = entity(10 + round, 2);
    made.setName(L"bolt");
    addSegments(*made.jtNode());
    const bool asNewCopy = round % 2 != 0;
    {
      const FileSizeLimit limit(before.size() * static_cast<unsigned>(round) / 8);
      EXPECT_FALSE(root_.write(asNewCopy)) << round;
    }
    EXPECT_EQ(contentOf(path), before) << round;
    EXPECT_EQ(std::distance(fs::directory_iterator(folder_.at("gear.kpak")), {}), 1) << round;
    EXPECT_EQ(find(10 + round), &made);
    ASSERT_TRUE(root_.write(asNewCopy)) << jt::lastError();
  }
  const std::string listed = listing(root_);
  JtwRoot& again = reopened();
  EXPECT_EQ(listing(again), listed);
  EXPECT_EQ(jtw::children(again, again).size(), 1U);
  const auto after = segmentsOf(path);
  EXPECT_EQ(after.size(), segments.size() * 9);
  for (const auto& [id, bytes] : segments) EXPECT_TRUE(after.at(id) == bytes) << id;
}

/// The storage manager in use, of which one save fails.
class FailingStorage : public JtStorageManager {
 public:
  explicit FailingStorage(int saves) : left_(saves) { jt::installStorageManager(this); }
  ~FailingStorage() override = default;
  jt::StorageSaveResult save(const JtStorageLocation& location,
                             std::span<const jt::FilePiece> pieces,
                             const jt::StorageSaveOptions& options) override {
    if (left_-- != 0) return JtStorageManager::save(location, pieces, options);
    throw std::bad_alloc();
  }

 private:
  int left_;
};

TEST_F(Saving, AFailureBetweenTheFilesOfAnAssemblyIsMadeUpFor) {
  for (const int failing : {0, 1}) {
    SCOPED_TRACE(failing);
    const std::string name = "asm" + std::to_string(failing);
    const std::string folder = folder_.folder(name + ".kpak");
    fs::copy(JTW_TEST_DATA "/tiny95.jt", folder + "/tiny95.jt");
    fs::copy(JTW_TEST_DATA "/asm95.jt", folder + "/" + name + ".jt");
    const ApiDocumentRef document = documentAt(folder);
    const auto parts = [&] {
      JtwRoot* root = open(document);
      EXPECT_TRUE(root && jtw::loadWrappers(*root)) << jt::lastError();
      std::vector<JtwNode*> found{root};
      for (const auto& [node, depth] : jtw::tree(*root, *root))
        if (node->type() == JtwNode::JT_ENTITY_NODE) found.push_back(node);
      return found;
    };
    const auto edited = parts();
    ASSERT_GE(edited.size(), 2U);
    for (JtwNode* node : edited) node->setAttributes("edited");
    JtwRoot& root = *registry().root(document);
    const std::string held = SceneText::of(*root.partition(), false);
    const jt::Ref<JtStorageManager> manager = JtStorageManager::current();
    const auto failingManager = jt::make<FailingStorage>(failing);
    EXPECT_FALSE(root.write(false));
    jt::installStorageManager(manager.get());
    EXPECT_EQ(SceneText::of(*root.partition(), false), held);
    EXPECT_TRUE(root.write(false)) << jt::lastError();
    registry().releaseRoot(document);

    const auto again = parts();
    ASSERT_EQ(again.size(), edited.size());
    for (JtwNode* node : again) EXPECT_EQ(node->attributes(), "edited");
    registry().releaseRoot(document);
  }
}

}  // namespace
