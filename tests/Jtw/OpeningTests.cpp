#include <algorithm>
#include <filesystem>
#include <functional>
#include <span>

#include "DmKrUtilsInterface.h"
#include "DocumentStore.h"
#include "JtPathAttributes.h"
#include "JtStorageManager.h"
#include "JtSwitch.h"
#include "MemoryStream.h"
#include "RegistryFixture.h"

namespace {

class Opening : public RegistryFixture {
 protected:
  static jt::Matrix4 moved(double x, double y) {
    jt::Matrix4 matrix = jt::kIdentity;
    matrix[12] = x;
    matrix[13] = y;
    return matrix;
  }
  static void place(JtNode& node, const jt::Matrix4& matrix) {
    node.appendAttribute(jt::make<JtXform>(matrix).get());
  }
  /// A partition with one component of the host's own kind, holding one part.
  static jt::Ref<JtPartition> hostComponent() {
    auto partition = jt::make<JtPartition>();
    auto& component = add<VisMetaDataNode>(*partition, "own");
    setText(component, "KrObjType", "KrComponent");
    add<VisPartNode>(component, "part");
    return partition;
  }
};

TEST_F(Opening, TheComponentNodeIsFoundOrBuilt) {
  const auto group = [](JtPartition& p, const char* name) -> VisMetaDataNode& {
    return add<VisMetaDataNode>(p, name);
  };
  struct Case {
    const char* what;
    std::function<void(JtPartition&)> fill;
    bool own;
    const char* component;  // name of the component node
    const char* children;   // names of its children
  };
  const Case cases[] = {
      {"nothing", [](JtPartition&) {}, false, "top", ""},
      {"one group is reused", [&](JtPartition& p) { add<VisPartNode>(group(p, "g"), "part"); },
       false, "top", "part "},
      {"one part is wrapped", [](JtPartition& p) { add<VisPartNode>(p, "part"); }, false, "top",
       "part "},
      {"several are wrapped in order",
       [&](JtPartition& p) {
         add<VisPartNode>(p, "part");
         group(p, "g");
         add<JtGroup>(p, "h");
       },
       false, "top", "part g h "},
      {"a marked one is taken",
       [&](JtPartition& p) {
         add<VisPartNode>(p, "part");
         setText(group(p, "own"), "KrObjType", "KrComponent");
       },
       true, "own", ""},
      {"a block is no component",
       [&](JtPartition& p) { setText(group(p, "b"), "KrObjType", "KrBlock"); }, false, "top", ""},
  };
  for (const Case& expected : cases) {
    SCOPED_TRACE(expected.what);
    const auto partition = jt::make<JtPartition>();
    setText(*partition, Jt::jtPropName, "top");
    expected.fill(*partition);
    const ApiDocumentRef document = componentOf(*partition, expected.what);
    JtwRoot* const root = open(document);
    ASSERT_NE(root, nullptr) << jt::lastError();
    EXPECT_EQ(root->isJtKR(), expected.own);
    EXPECT_EQ(registry().docHasKrJt(document), expected.own);
    const JtNode& component = *root->jtNode();
    EXPECT_EQ(component.parent(0), root->partition());
    EXPECT_EQ(text(component, Jt::jtPropName), expected.component);
    EXPECT_EQ(text(component, "KrObjType"), "KrComponent");
    EXPECT_EQ(text(*root->partition(), "KrObjType"), expected.own ? "-" : "KrComponent");
    EXPECT_EQ(jt::as<JtPtrPropAtom>(
                  root->partition()->property(JtString("KrOriginateFromNativeJt"))) != nullptr,
              !expected.own);
    std::string children;
    for (int i = 0; i < component.numChildren(); ++i)
      children += text(*component.child(i), Jt::jtPropName) + " ";
    EXPECT_EQ(children, expected.children);
    registry().releaseRoot(document);
  }
}

TEST_F(Opening, WhatWasWrappedIsFoundWhenItIsOpenedAgain) {
  for (const char* name : {"tiny81", "tiny95", "tiny95be", "tiny100", "tiny105", "zoo81", "zoo95",
                           "zoo100", "zoo105"}) {
    SCOPED_TRACE(name);
    const std::string path = folder_.at(std::string(name) + ".jt");
    std::filesystem::copy_file(std::string(JTW_TEST_DATA "/") + name + ".jt", path);
    const ApiDocumentRef document = documentAt(path);
    JtwRoot* root = open(document);
    ASSERT_NE(root, nullptr) << jt::lastError();
    EXPECT_FALSE(root->isJtKR());
    ASSERT_TRUE(root->write(false)) << jt::lastError();
    registry().releaseRoot(document);

    const std::string written = contentOf(path);
    root = open(document);
    ASSERT_NE(root, nullptr) << jt::lastError();
    EXPECT_TRUE(root->isJtKR());
    ASSERT_TRUE(root->write(false)) << jt::lastError();
    EXPECT_TRUE(contentOf(path) == written) << "opening and saving changed the file";
    registry().releaseRoot(document);
  }
}

TEST_F(Opening, TheTransformGoesDownToTheChildren) {
  const auto partition = hostComponent();
  auto& component = static_cast<JtGroup&>(*partition->child(0));
  place(component, moved(1, 0));
  place(component, moved(0, 2));
  auto& placed = add<VisPartNode>(component, "placed");
  jt::Matrix4 turned = jt::kIdentity;
  turned[0] = turned[5] = 0;
  turned[1] = 1;
  turned[4] = -1;
  turned[12] = 10;
  place(placed, turned);
  auto& back = add<VisPartNode>(component, "back");
  place(back, moved(-1, -2));
  auto& shared = add<VisPartNode>(component, "shared");  // also below a group that is placed
  add<JtGroup>(component, "group").addChild(&shared);
  component.addChild(partition->child(0)->child(0));  // the first part once more

  JtwRoot* const root = open(componentOf(*partition));
  ASSERT_NE(root, nullptr) << jt::lastError();
  const JtNode& node = *root->jtNode();
  EXPECT_EQ(node.numAttributes(), 0);
  const auto matrix = [](const JtNode* child) {
    const auto* xform =
        child->numAttributes() == 1 ? jt::as<JtXform>(child->attribute(0)) : nullptr;
    return xform ? xform->matrix() : jt::Matrix4{};
  };
  ASSERT_EQ(node.numChildren(), 6);
  EXPECT_EQ(matrix(node.child(0)), moved(1, 2)) << "once, though it is listed twice";
  EXPECT_EQ(matrix(node.child(1)), jt::multiply(turned, moved(1, 2)));
  EXPECT_EQ(node.child(2)->numAttributes(), 0) << "what became the identity is cleaned up";
  EXPECT_EQ(matrix(node.child(3)), moved(1, 2)) << "a group in front of the shared part";
  EXPECT_EQ(node.child(3)->child(0)->numAttributes(), 0);
  EXPECT_EQ(matrix(node.child(4)), moved(1, 2));
}

TEST_F(Opening, AFinalTransformGoesDownAsAFinalOne) {
  const auto partition = hostComponent();
  auto& component = static_cast<JtGroup&>(*partition->child(0));
  place(component, moved(1, 2));
  const auto xformOf = [](const JtNode& node) {
    return const_cast<JtXform*>(jt::as<JtXform>(node.attribute(node.numAttributes() - 1)));
  };
  xformOf(component)->setFinal(true);
  place(add<VisPartNode>(component, "overridden"), moved(10, 0));
  auto& forcing = add<VisPartNode>(component, "forcing");
  place(forcing, moved(20, 0));
  xformOf(forcing)->setForce(true);
  add<VisPartNode>(component, "plain");

  JtwRoot* const root = open(componentOf(*partition));
  ASSERT_NE(root, nullptr) << jt::lastError();
  const jt::Matrix4 expected[] = {moved(1, 2), moved(21, 2), moved(1, 2)};
  for (int i = 0; i < 3; ++i) {
    bool isFinal = false;
    EXPECT_EQ(jt::localTransform(*root->jtNode()->child(i + 1), isFinal), expected[i]) << i;
    EXPECT_TRUE(isFinal) << i;
  }
}

TEST_F(Opening, AnUnnamedFileDoesNotTakeTheNameOfWhatItHolds) {
  const auto partition = jt::make<JtPartition>();
  add<VisMetaDataNode>(*partition, "assembly");
  EXPECT_EQ(text(*open(componentOf(*partition))->jtNode(), Jt::jtPropName), "assembly");
}

TEST_F(Opening, ASwitchYieldsTheRepresentationThatWasAskedFor) {
  struct Case {
    const char* mark;
    unsigned representation;
    const char* component;
  };
  for (const Case& expected :
       {Case{"KrSwitch", 0, "shown"}, Case{"KrSwitch", 1, "shown"}, Case{"KrSwitch", 2, "other"},
        Case{"KrSwitch", 3, "shown"}, Case{"Switch", 0, "-"}}) {
    const auto partition = jt::make<JtPartition>();
    auto& choice = add<JtSwitch>(*partition, "choice");
    setText(choice, expected.mark, "");
    for (const char* name : {"other", "shown"})
      setText(add<VisMetaDataNode>(choice, name), "KrObjType", "KrComponent");
    choice.setSelectedChild(1);
    const ApiDocumentRef document =
        componentOf(*partition, expected.mark + std::to_string(expected.representation));
    JtwRoot* const root = open(document, expected.representation);
    ASSERT_NE(root, nullptr) << jt::lastError();
    const bool taken = *expected.component != '-';
    EXPECT_EQ(root->hasKrSwitch(), taken);
    EXPECT_EQ(registry().docHasKrSwitch(document), taken);
    EXPECT_EQ(root->isJtKR(), taken);
    const std::string name = text(*root->jtNode(), Jt::jtPropName);
    EXPECT_EQ(name == expected.component, taken);
    registry().releaseRoot(document);
  }
}

TEST_F(Opening, TheAlternateRepresentationIsWrappedOnlyInPmiMode) {
  for (const bool pmiMode : {false, true}) {
    const auto partition = jt::make<JtPartition>();
    place(add<VisMetaDataNode>(*partition, "g"), moved(1, 0));
    const ApiDocumentRef document = componentOf(*partition);
    document->setProperty(ApiDocument::PMI_MODE, pmiMode);
    JtwRoot* const root = open(document, JtwRoot::JT_LOAD_ALTERNATE_REP);
    ASSERT_NE(root, nullptr);
    EXPECT_EQ(root->jtNode() == root->partition(), !pmiMode);
    EXPECT_EQ(root->partition()->child(0)->numAttributes(), pmiMode ? 0 : 1);
    registry().releaseRoot(document);
  }
}

TEST_F(Opening, TheStructureShowsWhetherThereIsHostData) {
  for (const char* property :
       {"KrGmAttributes", "KrKinBuffer", "KrKinModelingBuffer", "KrMopBuffer"}) {
    const auto partition = hostComponent();
    setText(*partition->child(0), property, "text");
    const ApiDocumentRef document = componentOf(*partition);
    ASSERT_NE(open(document), nullptr);
    auto structure = ApiDocument::STRUCTURE_PLAIN;
    ASSERT_TRUE(registry().findDocumentStructure(document, structure));
    EXPECT_EQ(structure, std::string(property) == "KrMopBuffer" ? ApiDocument::STRUCTURE_PLAIN
                                                                : ApiDocument::STRUCTURE_HOST_DATA)
        << property;
    registry().releaseRoot(document);
  }
}

TEST_F(Opening, UnitScalesAreRecordedOnForeignData) {
  const auto partition = jt::make<JtPartition>();
  auto& inch = add<VisMetaDataNode>(*partition, "inch");
  setText(inch, Jt::jtPropMeasurementUnits, "Inches");
  setText(add<VisMetaDataNode>(*partition, "mm"), Jt::jtPropMeasurementUnits, "Millimeters");
  auto& stale = add<VisPartNode>(inch, "stale");
  setText(stale, Jt::jtPropMeasurementUnits, "Meters");
  setText(stale, "KrMeasurementUnitProp", "5");
  for (const unsigned representation : {0U, 1U}) {
    const ApiDocumentRef document = componentOf(*partition);
    const JtNode& node = *open(document, representation)->jtNode();
    EXPECT_EQ(text(*node.child(0), "KrMeasurementUnitProp"), "25.4");
    EXPECT_EQ(text(*node.child(1), "KrMeasurementUnitProp"), "-");
    EXPECT_EQ(text(*node.child(0)->child(0), "KrMeasurementUnitProp"),
              representation == 0 ? "5" : "1000");
    registry().releaseRoot(document);
  }
}

TEST_F(Opening, TheViewersPartitionIsSharedUnlessItIsClosedOrTooLarge) {
  enum { kShared, kClosed, kTooLarge };
  for (const int state : {kShared, kClosed, kTooLarge}) {
    const auto partition = hostComponent();
    const ApiDocumentRef document = componentOf(*partition);
    const auto viewers = jt::make<JtPartition>(nullptr, state != kClosed);
    JtGroup* level = viewers.get();
    for (int i = 0; state == kTooLarge && i < 60; ++i) {  // 2^60 paths
      auto& next = add<JtGroup>(*level, "level");
      level->addChild(&next);
      level = &next;
    }
    add<VisMetaDataNode>(*level, "g");
    registry().setUsingJtViewer(true);
    registry().insertJtPartition(document, viewers.get());
    JtwRoot* const root = open(document);
    ASSERT_NE(root, nullptr) << jt::lastError();
    EXPECT_EQ(root->isNewCopy(), state != kShared);
    EXPECT_EQ(root->partition() == viewers.get(), state == kShared);
    EXPECT_TRUE(root->isJtKR()) << "a shared partition is looked at twice";
    registry().releaseRoot(document);
    EXPECT_EQ(viewers->numChildren() > 0, true) << "never closed by a root";
    EXPECT_EQ(registry().findJtPartition(document), viewers.get());
    registry().removeAllJtPartition();
    registry().setUsingJtViewer(false);
  }
}

/// A storage manager that throws a type not derived from std::exception.
class StrangeStorage : public JtStorageManager {
 public:
  StrangeStorage() = default;
  jt::Ref<jt::FileImage> open(const JtStorageLocation& /*location*/) override { throw 7; }
};

TEST_F(Opening, AnyExceptionIsAFailedOpening) {
  const ApiDocumentRef document = componentOf(*hostComponent());
  const std::string exported = folder_.at("gear.jt");
  std::filesystem::copy(folder_.at("gear.kpak/gear.jt"), exported);
  const jt::Ref<JtStorageManager> manager = JtStorageManager::current();
  jt::installStorageManager(jt::make<StrangeStorage>().get());
  auto error = JtwRoot::JT_PATH_NOT_FOUND;
  EXPECT_EQ(registry().computeExistingDocRoot(document, JtwRoot::JT_LOAD_PLAIN, error), nullptr);
  EXPECT_EQ(error, JtwRoot::JT_INITIALIZE_FAILED);
  EXPECT_NE(jt::lastError().find("unknown type"), std::string::npos);
  EXPECT_EQ(registry().computeExistingExportRoot(document, JtwRoot::JT_LOAD_PLAIN), nullptr);
  EXPECT_FALSE(DmKrUtilsInterface::OpenJt(exported, {}));
  jt::installStorageManager(manager.get());
  EXPECT_NE(open(document), nullptr);
}

TEST_F(Opening, AStreamIsReadInPlaceOfAFile) {
  const std::string content = contentOf(JTW_TEST_DATA "/tiny95.jt");
  std::vector<std::byte> data(content.size());
  std::ranges::transform(content, data.begin(), [](char c) { return static_cast<std::byte>(c); });
  using Duty = ApiDocument::StreamDuty;
  struct Case {
    bool stream;
    Duty duty;
    bool file;
    bool opens;
  };
  for (const Case& expected : {Case{true, Duty::should, false, true},
                               {true, Duty::might, false, true},
                               {false, Duty::might, true, true},
                               {false, Duty::might, false, false},
                               {false, Duty::should, true, false}}) {
    const std::string path = folder_.at("part.jt");
    std::filesystem::remove(path);
    if (expected.file) folder_.file("part.jt", content);
    const CComPtr<IStream> stream(expected.stream ? MemoryStream::create(data).get() : nullptr);
    const auto document = host::withStream(documentAt(path), stream, expected.duty);
    auto error = JtwRoot::JT_PATH_NOT_FOUND;
    JtwRoot* const root =
        registry().computeExistingDocRoot(document, JtwRoot::JT_LOAD_PLAIN, error);
    EXPECT_EQ(root != nullptr, expected.opens);
    EXPECT_EQ(error, expected.opens ? JtwRoot::JT_PATH_NOT_FOUND : JtwRoot::JT_INITIALIZE_FAILED);
    registry().releaseRoot(document);
  }
}

TEST_F(Opening, AStreamIsWrittenInPlaceOfAFile) {
  const std::string content = contentOf(JTW_TEST_DATA "/tiny95.jt");
  const auto data = std::as_bytes(std::span(content));
  const CComPtr<IStream> stream(MemoryStream::create({data.begin(), data.end()}).get());
  const auto document =
      host::withStream(documentAt("stream"), stream, ApiDocument::StreamDuty::should);
  std::string written;
  for (const bool asNewCopy : {false, true, false}) {
    JtwRoot* const root = open(document);
    ASSERT_NE(root, nullptr) << jt::lastError();
    EXPECT_EQ(root->attributes(), written);
    written += "x";
    root->setAttributes(written);
    EXPECT_TRUE(root->write(asNewCopy)) << jt::lastError();
    registry().releaseRoot(document);
  }
}

TEST_F(Opening, ADeepGraphAndADamagedOneComeBack) {
  const auto partition = jt::make<JtPartition>();
  JtGroup* level = partition.get();
  for (int i = 0; i < 100000; ++i) {
    auto next = jt::make<JtGroup>();
    level->addChild(next.get());
    level = next.get();
  }
  const ApiDocumentRef document = componentOf(*partition);
  EXPECT_NE(open(document), nullptr) << jt::lastError();
  registry().releaseRoot(document);

  const std::string content = contentOf(JTW_TEST_DATA "/tiny95.jt");
  for (std::size_t length = 0; length < content.size(); length += 7) {
    const ApiDocumentRef cut = documentAt(folder_.file("cut.jt", content.substr(0, length)));
    open(cut);
    registry().releaseRoot(cut);
  }
}

TEST(Version, ReportsItsRelease) {
  EXPECT_EQ(JtwRoot::currentVersion(), 2U);
  EXPECT_EQ(JtwRoot::getVersionAsString(1), "7.6Dev");
  EXPECT_EQ(JtwRoot::getVersionAsString(2), "7.6");
  EXPECT_EQ(JtwRoot::getVersionAsString(0) + JtwRoot::getVersionAsString(3), "");
}

}  // namespace
