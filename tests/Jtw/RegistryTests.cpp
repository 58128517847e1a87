#include <atomic>
#include <filesystem>
#include <fstream>
#include <thread>

#include "ApiClock.h"
#include "ApiDebugOutput.h"
#include "ApiLogLogger.h"
#include "JtExportRoot.h"
#include "JtResidencyRequestManager.h"
#include "RegistryFixture.h"

namespace {

class Registry : public RegistryFixture {};

TEST_F(Registry, OptionsStartWithTheirDefaultsAndKeepWhatTheyAreGiven) {
  JtwManager copy = registry();
  EXPECT_EQ(copy.getJtVersion(), 2);
  EXPECT_EQ(copy.getDefaultJtVersion(), 2);
  std::string versions;
  for (const auto& version : copy.getJtVersionList())
    versions += std::to_string(version.version()) + "=" + version.jtFormatVersion() + " ";
  EXPECT_EQ(versions, "0=8.2 1=9.5 2=10.0 3=10.2 ");

  copy.setJtVersion(static_cast<ApiGraJtVersionData::apiGraJtVersion>(7));
  EXPECT_EQ(copy.getJtVersion(), 7);
  EXPECT_EQ(copy.getDefaultJtVersion(), 2);

  EXPECT_FALSE(copy.isPMITypeExcluded(API_PMI_NOTE));
  std::vector<bool> excluded(API_PMI_TYPE_COUNT);
  excluded[API_PMI_NOTE] = true;
  copy.setExcludedPMITypes(excluded);
  EXPECT_TRUE(copy.isPMITypeExcluded(API_PMI_NOTE));
  EXPECT_FALSE(copy.isPMITypeExcluded(API_PMI_BALLOON));
  EXPECT_FALSE(copy.isPMITypeExcluded(API_PMI_NONE));

  copy.setUsingJtViewer(true);
  copy.setUsingJtViewer(false);
  EXPECT_FALSE(copy.usingJtViewer());
  EXPECT_TRUE(copy.usingJtInCO());
}

TEST_F(Registry, PartitionTablesStayInStep) {
  const auto first = jt::make<JtPartition>();
  const auto second = jt::make<JtPartition>();
  const ApiDocumentRef document = documentAt("/d/gear.kpak");
  registry().insertJtPartition(document, first.get());
  registry().insertJtPartition(document, second.get());
  registry().insertJtPartition(document, first.get());  // no second entry, no new place
  EXPECT_EQ(registry().findJtPartition(document), second.get());

  // A new identity changes the hash: removal must still find the entry and leave the other one.
  document->setIdentity("moved");
  registry().removeJtPartition(second.get());
  EXPECT_EQ(registry().findJtPartition(document), first.get());
  ApiDocumentRef found;
  EXPECT_FALSE(registry().getApiDocumentRef(second.get(), found));
  ASSERT_TRUE(registry().getApiDocumentRef(first.get(), found));
  EXPECT_EQ(found, document);

  registry().insertJtPartition(document, second.get());
  document->setIdentity("moved again");
  registry().removeJtPartitionsOfDoc(first.get());
  EXPECT_EQ(registry().findJtPartition(document), nullptr);
  registry().removeJtPartition(first.get());  // unknown: nothing happens
}

TEST_F(Registry, ReleasingADocumentEndsWhenItsPartitionBelongsToAnother) {
  const auto partition = jt::make<JtPartition>();
  const ApiDocumentRef one = documentAt("/d/one.kpak");
  const ApiDocumentRef two = documentAt("/d/two.kpak");
  registry().insertJtPartition(one, partition.get());
  registry().insertJtPartition(two, partition.get());
  registry().releaseDocument(one);
  EXPECT_EQ(registry().findJtPartition(one), nullptr);

  registry().insertJtPartition(one, partition.get());
  registry().insertJtPartition(two, partition.get());
  registry().insertJtPartition(two, nullptr);
  registry().removeAllJtPartition();
  EXPECT_EQ(registry().findJtPartition(one), nullptr);
  EXPECT_EQ(registry().findJtPartition(two), nullptr);
  ApiDebugOutput::clearRecent();
  JtwManager::dumpJtwTables();
  EXPECT_EQ(ApiDebugOutput::recent().size(), 1U) << "no document is left";
}

TEST_F(Registry, RootsAreMadeOnceAndReleasedOnce) {
  const ApiDocumentRef document = documentAt(folder_.folder("gear.kpak"));
  EXPECT_EQ(registry().root(document), nullptr);
  JtwRoot* const root = registry().computeNewDocRoot(document);
  ASSERT_NE(root, nullptr);
  auto error = JtwRoot::JT_FILE_NOT_FOUND;
  EXPECT_EQ(registry().computeNewDocRoot(document), root);
  EXPECT_EQ(registry().exportRoot(document), root);
  EXPECT_EQ(registry().computeNewExportRoot(document), root);
  EXPECT_EQ(registry().computeExistingDocRoot(document, JtwRoot::JT_LOAD_PLAIN, error), root);
  EXPECT_EQ(error, JtwRoot::JT_FILE_NOT_FOUND) << "untouched although the data does not exist";
  EXPECT_TRUE(registry().releaseRoot(document));
  EXPECT_FALSE(registry().releaseRoot(document));
  EXPECT_EQ(registry().root(document), nullptr);
}

TEST_F(Registry, AFailedOpeningSaysSoAndRegistersNothing) {
  const std::string bad = folder_.folder("bad.kpak");
  folder_.file("bad.kpak/bad.jt", "Version 9.5 JT");
  constexpr auto kHasData = JtwRoot::JT_INITIALIZE_FAILED;
  const std::pair<std::string, JtwRoot::OPEN_JT_ERR> cases[] = {
      {folder_.at("missing.jt"), JtwRoot::JT_FILE_NOT_FOUND},
      {folder_.at("missing.kpak"), JtwRoot::JT_PATH_NOT_FOUND},
      {bad, kHasData},
      {folder_.folder("empty.kpak"), JtwRoot::JT_FILE_NOT_FOUND},
      {std::string(), JtwRoot::JT_FILE_NOT_FOUND}};
  for (const auto& [path, reason] : cases) {
    auto error = JtwRoot::JT_PATH_NOT_FOUND;
    const ApiDocumentRef document = documentAt(path);
    jt::setLastError("of an earlier call");
    EXPECT_EQ(registry().computeExistingDocRoot(document, JtwRoot::JT_LOAD_PLAIN, error), nullptr);
    EXPECT_EQ(error, JtwRoot::JT_INITIALIZE_FAILED) << path;
    EXPECT_EQ(registry().root(document), nullptr);
    EXPECT_EQ(jt::lastError().find("earlier"), std::string::npos) << path;
    EXPECT_EQ(jt::lastError().rfind(path, 0), 0U) << jt::lastError();
    EXPECT_GT(jt::lastError().size(), path.size());
    error = kHasData;
    EXPECT_EQ(JtwRoot::hasJtData(document, error), reason == kHasData) << path;
    EXPECT_EQ(error, reason) << path;
  }
}

TEST_F(Registry, RootsFollowTheirDocuments) {
  const ApiDocumentRef gear = documentAt(folder_.folder("gear.kpak"));
  const ApiDocumentRef wheel = documentAt(folder_.folder("wheel.kpak"));
  const ApiDocumentRef taken = documentAt(folder_.folder("taken.kpak"));
  JtwRoot* const root = registry().computeNewDocRoot(gear);
  registry().computeNewDocRoot(taken);

  EXPECT_FALSE(registry().updateRootDocument(wheel, gear));
  EXPECT_FALSE(registry().updateRootDocument(gear, taken));
  EXPECT_EQ(registry().root(gear), root);
  ASSERT_TRUE(registry().updateRootDocument(gear, wheel));
  EXPECT_EQ(registry().root(gear), nullptr);
  EXPECT_EQ(registry().root(wheel), root);
  EXPECT_EQ(root->partition()->datastoreName().stringToMbs(), "wheel.jt");

  RWClassicCString name = "other.jt";
  EXPECT_FALSE(registry().updateRootDocumentWithJtFileName(gear, name));
  EXPECT_TRUE(registry().updateRootDocumentWithJtFileName(wheel, name));
  EXPECT_EQ(root->getStorageLocation()->displayName().stringToMbs(), wheel->path() + "/other.jt");

  wheel->rename(folder_.at("renamed.kpak"));
  EXPECT_EQ(registry().root(wheel), nullptr);
  EXPECT_TRUE(registry().refreshRootsDocuments());
  EXPECT_EQ(registry().root(wheel), root);
}

TEST_F(Registry, ViewerModeRegistersTheRootsPartition) {
  registry().setUsingJtViewer(true);
  const ApiDocumentRef document = documentAt(folder_.folder("gear.kpak"));
  JtwRoot* const root = registry().computeNewDocRoot(document);
  EXPECT_EQ(registry().findJtPartition(document), root->partition());
  auto structure = ApiDocument::STRUCTURE_HOST_DATA;
  EXPECT_TRUE(registry().findDocumentStructure(root, structure));
  EXPECT_EQ(structure, ApiDocument::STRUCTURE_PLAIN);
  EXPECT_FALSE(registry().findDocumentStructure(static_cast<JtwRoot*>(nullptr), structure));

  const jt::Ref<JtPartition> viewers(root->partition());
  registry().releaseRoot(document);
  EXPECT_EQ(registry().findJtPartition(document), viewers.get()) << "the viewer still holds it";
}

TEST_F(Registry, TheDumpListsDocumentsAndPartitions) {
  const auto partition = jt::make<JtPartition>();
  folder_.folder("gear.kpak");
  folder_.file("gear.kpak/gear.jt");
  registry().insertJtPartition(documentAt(folder_.at("gear.kpak")), partition.get());
  ApiDebugOutput::clearRecent();
  EXPECT_EQ(JtwManager::dumpJtwTables(), 0);
  const auto lines = ApiDebugOutput::recent();
  ASSERT_EQ(lines.size(), 3U);
  EXPECT_EQ(lines[0], "Dumping docTojtPartitionsVec_\n");
  EXPECT_EQ(lines[1], " 1 gear.jt \n");
  EXPECT_EQ(lines[2].rfind("  1 JtPartition = 0x", 0), 0U) << lines[2];
}

/// A clock that only counts how often somebody wanted to sleep.
class CountingClock : public ApiClockSource {
 public:
  ApiClockTime utc() override {
    return {.year = 2024, .month = 3, .day = 7, .hour = 9, .minute = 5};
  }
  ApiClockTime local() override { return utc(); }
  void sleepMs(unsigned milliseconds) override { slept += milliseconds; }
  unsigned slept = 0;
};

TEST_F(Registry, ClosingAllFilesWaitsForLoadingButNotForEver) {
  const auto clock = std::make_shared<CountingClock>();
  const auto before = ApiClock::setSource(clock);
  auto& loads = JtResidencyRequestManager::instance();
  loads.waitForAll();
  for (const bool stuck : {false, true}) {
    std::atomic<bool> go = false;
    if (stuck)
      loads.request([&go] {
        while (!go) std::this_thread::yield();
      });
    const auto partition = jt::make<JtPartition>(nullptr, true);
    registry().insertJtPartition(documentAt("/d/gear.kpak"), partition.get());
    ApiLogLogger::clearRecent();
    registry().closeAllJtFiles();
    go = true;
    loads.waitForAll();

    const auto log = ApiLogLogger::recent();
    ASSERT_EQ(log.size(), 1U);
    EXPECT_EQ(log[0].category, "Infrastructure    ");
    EXPECT_EQ(log[0].level, 1);
    EXPECT_EQ(log[0].message,
              std::string("closeAllJtFiles waited ") + (stuck ? "1000" : "0") + " times");
    EXPECT_EQ(clock->slept, stuck ? 10000U : 0U);
    EXPECT_EQ(partition->openCount(), 0);
    EXPECT_EQ(registry().findJtPartition(documentAt("/d/gear.kpak")), partition.get());
    registry().removeAllJtPartition();
  }
  ApiClock::setSource(before);
}

TEST_F(Registry, AClosedPartitionIsNotWritten) {
  using Close = void (*)(const ApiDocumentRef&);
  for (const Close close :
       {Close{[](const ApiDocumentRef& document) { registry().closeJtFile(document); }},
        Close{[](const ApiDocumentRef&) { registry().closeAllJtFiles(); }},
        Close{[](const ApiDocumentRef& document) { registry().exportRoot(document)->close(); }}}) {
    const auto partition = jt::make<JtPartition>();
    setText(add<VisMetaDataNode>(*partition, "gear"), "KrObjType", "KrComponent");
    const ApiDocumentRef document = componentOf(*partition);
    const std::string path = document->path() + "/gear.jt";
    const auto size = std::filesystem::file_size(path);
    JtwRoot* const root = open(document);
    registry().insertJtPartition(document, root->partition());
    close(document);
    for (const bool asNewCopy : {false, true}) {
      jt::setLastError("of an earlier call");
      EXPECT_FALSE(root->write(asNewCopy));
      EXPECT_EQ(jt::lastError().rfind(path, 0), 0U) << jt::lastError();
    }
    EXPECT_FALSE(registry().exportRoot(document)->write());
    EXPECT_EQ(std::filesystem::file_size(path), size);
    registry().removeAllJtPartition();
    registry().releaseRoot(document);
  }
}

TEST_F(Registry, ExportRootsWriteTheVersionOfTheRegistry) {
  using Version = ApiGraJtVersionData;
  const auto versionOf = [](const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::string words[2];
    file >> words[0] >> words[1];
    return words[1];
  };
  const ApiDocumentRef document = documentAt(folder_.at("gear.kpak"));
  const std::string path = folder_.at("gear.jt");
  JtExportRoot& made = *registry().computeNewExportRoot(document);
  for (const auto& [version, text] : {std::pair{Version::JT_VERSION_9_5, "9.5"},
                                      {Version::JT_VERSION_8_2, "8.2"},
                                      {Version::JT_VERSION_10_2, "10.2"}}) {
    registry().setJtVersion(version);
    EXPECT_TRUE(made.write()) << jt::lastError();
    EXPECT_EQ(versionOf(path), text);
  }
  registry().setJtVersion(static_cast<Version::apiGraJtVersion>(7));
  EXPECT_FALSE(made.write());
  EXPECT_NE(jt::lastError().find("7"), std::string::npos) << jt::lastError();
  registry().setJtVersion(Version::JT_VERSION_9_5);
  JtExportRoot opened;
  ASSERT_TRUE(opened.initialize(document)) << jt::lastError();
  EXPECT_TRUE(opened.setCadSource() && opened.write()) << jt::lastError();
  EXPECT_EQ(versionOf(path), "10.2") << "as it was read";
  registry().setJtVersion(registry().getDefaultJtVersion());
}

TEST_F(Registry, AComponentThatIsItsPartitionIsCopied) {
  const auto partition = jt::make<JtPartition>();
  setText(*partition, Jt::jtPropName, "assembly");
  for (const char* name : {"a", "b", "c"}) add<VisMetaDataNode>(*partition, name);
  const ApiDocumentRef document = componentOf(*partition);
  ASSERT_NE(open(document, JtwRoot::JT_LOAD_ALTERNATE_REP), nullptr);
  JtExportRoot& root = *registry().exportRoot(document);
  ASSERT_EQ(root.jtNode(), root.partition());
  const auto target = jt::make<JtPartition>();
  root.copyToPartition(target.get());
  ASSERT_EQ(target->numChildren(), 1);
  EXPECT_EQ(root.jtNode(), target->child(0));
  ASSERT_EQ(root.jtNode()->numChildren(), 3);
  EXPECT_EQ(text(*root.jtNode(), Jt::jtPropName), "assembly");
  EXPECT_EQ(text(*root.jtNode()->child(1), Jt::jtPropName), "b");
  EXPECT_EQ(root.partition()->numChildren(), 3) << "the source keeps what it has";
}

TEST_F(Registry, ExportRootsStampAndWriteBesideTheDocument) {
  const auto clock = std::make_shared<CountingClock>();
  const auto before = ApiClock::setSource(clock);
  const ApiDocumentRef document = documentAt(folder_.at("gear.kpak"));
  JtExportRoot* const made = registry().computeNewExportRoot(document);
  EXPECT_TRUE(made->setCadSource());
  EXPECT_TRUE(made->setTranslationDate());
  RWClassicWString id = L"x-1";
  EXPECT_FALSE(made->setExternalID(ApiProtoKey(5), id)) << "no such key";
  EXPECT_TRUE(made->write()) << jt::lastError();
  registry().releaseRoot(document);
  ApiClock::setSource(before);

  JtExportRoot again;
  ASSERT_TRUE(again.initialize(document)) << jt::lastError();
  EXPECT_EQ(text(*again.jtNode(), "CadSource"), "KrJtExport");
  EXPECT_EQ(text(*again.jtNode(), "TranslationDate"), "7/3/2024, 9:5");
  EXPECT_TRUE(again.isJtKR());

  ApiSysFileName renamed("elsewhere/wheel.jt");
  EXPECT_TRUE(again.updateRelativeLocation(renamed));
  EXPECT_EQ(again.getStorageLocation()->displayName().stringToMbs(), folder_.at("wheel.jt"));

  const auto target = jt::make<JtPartition>();
  JtNode* const original = again.jtNode();
  again.copyToPartition(target.get());
  EXPECT_NE(again.jtNode(), original);
  EXPECT_EQ(again.jtNode()->parent(0), target.get());
  EXPECT_TRUE(again.disconnect());
  EXPECT_EQ(target->numChildren(), 0);
}

}  // namespace
