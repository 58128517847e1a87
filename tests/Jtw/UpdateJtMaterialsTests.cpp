#include <filesystem>

#include "ApiErrStream.h"
#include "ComponentFixture.h"
#include "DmKrUtilsInterface.h"
#include "JtSwitch.h"
#include "JtwUpdateJtMaterials.h"

namespace {

constexpr const char* kMarker = "KrUpdatedDolvanMaterials";

/// Collects what is reported as "code arguments".
class MaterialUpdates : public RegistryFixture {
 protected:
  MaterialUpdates() {
    ApiErrStream::setSink([this](const ApiErrRecord& record) {
      EXPECT_EQ(record.functionName, "JtwUpdateJtMaterials::executeOnComponent");
      EXPECT_GT(record.sourceLine, 0);
      reported_ += record.code;
      for (const auto& argument : record.arguments) reported_ += " " + argument;
    });
  }
  ~MaterialUpdates() override { ApiErrStream::setSink({}); }

  /// Runs a fresh command; "true" or "false", and what was reported.
  std::string update(const ApiDocumentRef& document) {
    reported_.clear();
    const bool result = JtwUpdateJtMaterials().executeOnComponent(document);
    return (result ? "true " : "false ") + reported_;
  }

  static VisMetaDataNode& component(JtGroup& parent) {
    auto& node = add<VisMetaDataNode>(parent, "gear");
    setText(node, "KrObjType", "KrComponent");
    for (const char* name : {"a", "b"}) {
      const auto material = jt::make<JtMaterial>();
      material->setDiffuseColor(2, 0, 0);
      add<VisPartNode>(node, name).appendAttribute(material.get());
    }
    return node;
  }

  std::string reported_;
};

TEST_F(MaterialUpdates, AreDoneOnceInTheVersionOfTheFile) {
  for (const std::string name : {"tiny81", "tiny95", "tiny100", "tiny105"}) {
    const auto partition = DmKrUtilsInterface::OpenJt(JTW_TEST_DATA "/" + name + ".jt");
    component(*partition);
    const std::string version = partition->version().text();
    const ApiDocumentRef document = componentOf(*partition, name);
    std::string folder;
    std::string file;
    ASSERT_TRUE(JtwManager::getFileNameFromDocument(document, folder, file));
    const std::string path = folder + file;

    EXPECT_EQ(update(document), "true ");
    const std::string once = contentOf(path);
    EXPECT_EQ(update(document), "true JTUPDATE_FILE_HAS_BEEN_UPDATED " + path + " 3");
    EXPECT_EQ(contentOf(path), once);
    EXPECT_EQ(once.substr(8, version.size()), version);

    JtwRoot* root = open(document);
    ASSERT_NE(root, nullptr);
    const JtNode& node = *root->jtNode();
    EXPECT_NE(node.property(JtString(kMarker)), nullptr);
    EXPECT_EQ(jt::as<JtMaterial>(node.child(0)->attribute(0))->diffuse()[0], 1);
    EXPECT_EQ(node.child(0)->attribute(0), node.child(1)->attribute(0));
  }
}

TEST_F(MaterialUpdates, FindTheComponentInItsTwoForms) {
  struct Case {
    const char* what;
    std::function<void(JtPartition&)> build;
    std::vector<std::vector<int>> marked;  // paths of child indices; none: native
  };
  const auto withSwitch = [](JtPropAtom* mark, int representations, bool markPartition = false) {
    return [=](JtPartition& partition) {
      const auto atom = jt::Ref<JtPropAtom>(mark);
      auto& node = add<JtSwitch>(partition, "switch");
      for (int i = 0; i < representations; ++i) component(node);
      JtNode& owner = markPartition ? static_cast<JtNode&>(partition) : node;
      const auto key = jt::make<JtStringPropAtom>(JtString("KrSwitch"));
      if (mark) owner.addProperty(key.get(), mark, true);
    };
  };
  const auto one = jt::make<JtInt32PropAtom>(1);
  const auto zero = jt::make<JtInt32PropAtom>(0);
  const auto null = jt::make<JtVoidPtrPropAtom>();
  const Case cases[] = {
      {"component", [](JtPartition& top) { component(top); }, {{0}}},
      {"the first component of several",
       [](JtPartition& top) {
         setText(add<VisPartNode>(top, "part"), "KrObjType", "KrComponent");
         setText(add<VisMetaDataNode>(top, "block"), "KrObjType", "KrBlock");
         component(top);
         component(top);
       },
       {{2}}},
      {"switch", withSwitch(one.get(), 3), {{0, 0}, {0, 1}}},
      {"switch, marked by a property without value", withSwitch(null.get(), 1), {{0, 0}}},
      {"switch, marked from above", withSwitch(one.get(), 2, true), {{0, 0}, {0, 1}}},
      {"unmarked switch", withSwitch(nullptr, 2), {}},
      {"switch marked with 0", withSwitch(zero.get(), 2), {}},
      {"switch beside another child",
       [&](JtPartition& top) {
         withSwitch(one.get(), 2)(top);
         component(top);
       },
       {{1}}},
      {"empty", [](JtPartition&) {}, {}},
  };
  int number = 0;
  for (const Case& expected : cases) {
    SCOPED_TRACE(expected.what);
    const auto partition = jt::make<JtPartition>();
    expected.build(*partition);
    const ApiDocumentRef document = componentOf(*partition, "case" + std::to_string(++number));
    std::string folder;
    std::string file;
    ASSERT_TRUE(JtwManager::getFileNameFromDocument(document, folder, file));
    const std::string before = contentOf(folder + file);
    const std::string native = "JTUPDATE_FILE_IS_NATIVE_JT " + folder + file;
    EXPECT_EQ(update(document), "true " + (expected.marked.empty() ? native : ""));
    EXPECT_EQ(contentOf(folder + file) == before, expected.marked.empty());

    JtPartition* opened = nullptr;
    const auto place = jt::make<JtFSStorageLocation>(JtString(folder), JtString(file));
    JtPartition::openPartition(place.get(), nullptr, opened);
    const auto holder = jt::Ref<JtPartition>::adopt(opened);
    std::vector<std::vector<int>> marked;
    for (int i = 0; i < opened->numChildren(); ++i) {
      const JtNode& child = *opened->child(i);
      if (child.property(JtString(kMarker))) marked.push_back({i});
      for (int j = 0; j < child.numChildren(); ++j)
        if (child.child(j)->property(JtString(kMarker))) marked.push_back({i, j});
    }
    EXPECT_EQ(marked, expected.marked);
  }
}

TEST_F(MaterialUpdates, FailWithTheCodeOfWhatFailed) {
  EXPECT_EQ(update(documentAt(folder_.folder("empty.kpak"))), "false ");
  EXPECT_EQ(jt::lastError().rfind(folder_.at("empty.kpak"), 0), 0U) << jt::lastError();
  const std::string missing = folder_.at("missing.jt");
  EXPECT_EQ(update(documentAt(missing)), "false JTUPDATE_OPEN_FILE_FAILED " + missing);
  const auto partition = jt::make<JtPartition>();
  component(*partition);
  const ApiDocumentRef document = componentOf(*partition);
  const std::string path = document->path() + "/gear.jt";
  std::filesystem::permissions(path, std::filesystem::perms::owner_read);
  const std::string before = contentOf(path);
  EXPECT_EQ(update(document), "false JTUPDATE_SAVE_FILE_FAILED " + path);
  EXPECT_EQ(contentOf(path), before);
  std::filesystem::permissions(path, std::filesystem::perms::owner_all);
  std::filesystem::resize_file(path, before.size() / 2);
  EXPECT_EQ(update(document), "false JTUPDATE_OPEN_FILE_FAILED " + path);
}

using UpgradedComponent = ComponentFixture;

TEST_F(UpgradedComponent, IsConvertedAndMarkedAndSavedByItsRoot) {
  EXPECT_FALSE(JtwUpdateJtMaterials().executeOnUpgradedComponent(nullptr));
  paint(component(), 3);
  for (int i = 0; i < 2; ++i) {  // it does not look for an earlier update
    JtwUpdateJtMaterials command;
    EXPECT_TRUE(command.executeOnUpgradedComponent(&root_));
    EXPECT_EQ(command.conversion().clamped, i == 0 ? 1U : 0U);
    EXPECT_FALSE(command.saved());
  }
  const JtNode& node = *reopened().jtNode();
  EXPECT_NE(node.property(JtString(kMarker)), nullptr);
  EXPECT_EQ(jt::as<JtMaterial>(node.attribute(0))->diffuse()[0], 1);
  JtwRoot& root = *registry().root(document_);
  const auto top = jt::Ref<JtPartition>(root.partition());
  while (top->numChildren() > 0) top->removeChild(0);
  EXPECT_FALSE(JtwUpdateJtMaterials().executeOnUpgradedComponent(&root));
}

}  // namespace
