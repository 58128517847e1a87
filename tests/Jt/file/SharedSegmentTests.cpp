// Segments with several elements, and segments of several files under one id.

#include <gtest/gtest.h>

#include "JtInspect.h"
#include "support/PMIFiles.h"

namespace {

using namespace jt::file;
using Kind = jt::SegmentAction::Kind;
using Keys = std::initializer_list<const char*>;

jt::Ref<JtPartition> saveAs(MemoryStorage& storage, JtPartition& root, const Format& format) {
  jt::SaveOptions options;
  options.version = jt::FileVersion{format.major, format.minor};
  auto saved = storage.open(storage.saved(root, options));
  for (const jt::Diagnostic& note : jt::verify(MemoryLocation("saved")))
    ADD_FAILURE() << note.code << ' ' << note.message;
  return saved;
}

/// Keys of the metadata of a node, and how many PMI entities it has: "a b, 1".
std::string contentOf(VisMetaDataNode& node) {
  EXPECT_TRUE(node.ensureMetaData() && node.ensurePMI()) << jt::lastError();
  std::string text;
  if (node.metaData())
    for (const auto& entry : node.metaData()->entries()) text += entry.key.stringToMbs() + ' ';
  if (!node.pmi()) return text;
  const jt::PMIData& pmi = node.pmi()->data();
  return text + std::to_string(pmi.genericEntities.size() + pmi.flat[jt::PMIData::note].size());
}

Bytes fileWith(const PMIVector& vector, Keys keys, std::span<const std::byte> further = {}) {
  Fields content(vector.format);
  content.raw(metaDataElement(vector.format, keys)).raw(further).raw(vector.content());
  return pmiFile(vector.format, content.bytes(), true);
}

TEST(SharedSegment, EveryElementGoesIntoAnotherVersion) {
  const Format eight{8, 1, false};
  const Format nine{9, 5, false};
  const Format ten{10, 0, false};
  Fields unknown(nine);
  unknown.i32(21).put(*JtGuid::parse(SceneBuilder::kUnknown)).put(std::uint8_t{9}).i32(0);
  const struct {
    PMIVector from;
    Format to;
    std::span<const std::byte> further;
    const char* content;
    std::size_t warnings;
  } cases[] = {{kNote8, nine, {}, "keep drop 1", 0},   {kNote9, eight, {}, "keep drop 1", 0},
               {kDim9, ten, {}, "keep drop 1", 0},     {kDim105, nine, {}, "keep drop 1", 0},
               {kNote9, ten, {}, "keep drop 2", 0},    {kDim9, eight, {}, "keep drop 1", 0},
               {kDim9, ten, unknown, "keep drop 1", 1}};
  for (const auto& [from, to, further, content, warnings] : cases) {
    SCOPED_TRACE(std::string(from.name) + " to " + formatText(to));
    MemoryStorage storage;
    const auto root = storage.open(fileWith(from, {"keep", "drop"}, further));
    const auto saved = saveAs(storage, *root, to);
    EXPECT_EQ(contentOf(pmiNode(*saved)), content);
    EXPECT_EQ(storage.report().segments.at(1).kind, Kind::rewritten);
    EXPECT_EQ(storage.report().warnings.size(), warnings);
    EXPECT_EQ(pmiNode(*saved).numProperties(), pmiNode(*saved).pmi() ? 2 : 1)
        << "nothing names what is not there";
    // An edit of one element takes the other one along.
    ASSERT_TRUE(pmiNode(*root).ensureMetaData());
    ASSERT_TRUE(pmiNode(*root).deleteProperty(jt::make<JtStringPropAtom>(JtString("drop")).get()));
    EXPECT_EQ(contentOf(pmiNode(*saveAs(storage, *root, to))), std::string("keep") + (content + 9));
  }
}

/// Moves the node with metadata of another file into a scene.
void take(JtPartition& root, JtPartition& other) {
  const jt::Ref<JtNode> node(other.child(0));
  ASSERT_TRUE(other.removeChild(node.get()));
  ASSERT_TRUE(root.addChild(node.get()));
}

TEST(SharedSegment, SegmentsOfOtherFilesUnderOneIdStayApart) {
  for (const bool intoFile : {true, false})
    for (const jt::FileVersion to : {jt::FileVersion{9, 5}, {10, 0}}) {
      SCOPED_TRACE(std::string(intoFile ? "file " : "new ") + to.text());
      MemoryStorage storage;
      const Bytes a = fileWith(kDim9, {"a"});
      const Bytes b = fileWith(kDim9, {"b"});
      const Bytes ten = fileWith(kDim105, {"ten"});
      const auto root = intoFile ? storage.open(a) : jt::make<JtPartition>();
      for (const Bytes* file : {&a, &b, &ten, &b}) take(*root, *storage.open(*file));
      // One that is changed is another one, and its own file's segment too.
      const auto changed = storage.open(fileWith(kDim9, {"a", "drop"}));
      VisMetaDataNode& node = pmiNode(*changed);
      ASSERT_TRUE(node.ensureMetaData());
      ASSERT_TRUE(node.deleteProperty(jt::make<JtStringPropAtom>(JtString("drop")).get()));
      take(*root, *changed);
      const auto saved = saveAs(storage, *root, {to.major, to.minor, false});
      std::string contents;
      for (int i = intoFile ? 1 : 0; i < saved->numChildren(); ++i)
        contents += contentOf(*jt::as<VisMetaDataNode>(saved->child(i))) + ' ';
      EXPECT_EQ(contents, "a 1 b 1 ten 1 b 1 a 1 ");
      // The scene, a, b and ten: equal ones are shared.
      EXPECT_EQ(saved->container()->toc().size(), 4U);
      EXPECT_EQ(storage.report().warnings.size(), 0U);
    }
}

TEST(SharedSegment, ASegmentThatChangedIsNotTakenForThatOfAnotherFile) {
  MemoryStorage storage;
  const Bytes file = fileWith(kDim9, {"keep", "drop"});
  const auto root = storage.open(file);
  VisMetaDataNode& node = pmiNode(*root);
  ASSERT_TRUE(node.ensureMetaData());
  ASSERT_TRUE(node.deleteProperty(jt::make<JtStringPropAtom>(JtString("drop")).get()));
  take(*root, *storage.open(file));
  const auto saved = saveAs(storage, *root, kDim9.format);
  EXPECT_EQ(contentOf(pmiNode(*saved)), "keep 1");
  EXPECT_EQ(contentOf(*jt::as<VisMetaDataNode>(saved->child(1))), "keep drop 1");
}

}  // namespace
