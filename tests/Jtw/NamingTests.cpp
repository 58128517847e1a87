#include <chrono>
#include <filesystem>

#include "RegistryFixture.h"

namespace {

namespace fs = std::filesystem;

class Naming : public RegistryFixture {
 protected:
  void age(const std::string& name, int minutes) const {
    fs::last_write_time(folder_.at(name),
                        fs::file_time_type::clock::now() - std::chrono::minutes(minutes));
  }
  void make(std::initializer_list<const char*> names) const {
    for (const char* name : names) {
      folder_.folder(fs::path(name).parent_path().string());
      folder_.file(name);
    }
  }
};

TEST_F(Naming, TheJtFileOfAnExistingDocument) {
  make({"gear.kpak/gear.jt", "gear.kpak/a.jt", "other.kpak/z.jt", "other.kpak/b.JT", "part.jt",
        "odd.co/odd.jt"});
  folder_.folder("empty.kpak");
  struct Case {
    const char* document;
    bool found;
    const char* location;  // below the folder; "?": untouched
    const char* name;      // "/...": a path below the folder
  };
  const Case cases[] = {
      {"gear.kpak", true, "gear.kpak/", "gear.jt"},
      {"other.kpak", true, "other.kpak/", "b.JT"},  // none named like the folder: the first
      {"empty.kpak", false, "empty.kpak/", "?"},
      {"missing.kpak", false, "missing.kpak/", "?"},
      {"part.jt", true, "?", "/part.jt"},
      {"missing.jt", true, "?", "?"},
  };
  for (const Case& expected : cases) {
    RWClassicCString location = "?";
    RWClassicCString name = "?";
    EXPECT_EQ(JtwManager::getFileNameFromDocument(documentAt(folder_.at(expected.document)),
                                                  location, name),
              expected.found)
        << expected.document;
    const std::string wanted = expected.location;
    EXPECT_EQ(location, wanted == "?" ? wanted : folder_.at(wanted)) << expected.document;
    const std::string file = expected.name;
    EXPECT_EQ(name, file.front() == '/' ? folder_.path() + file : file) << expected.document;
  }
  RWClassicCString location;
  RWClassicCString name;
  const std::string relative = fs::relative(folder_.at("gear.kpak")).string();
  EXPECT_TRUE(JtwManager::getJtFileNameFromPath(relative, false, location, name));
  EXPECT_EQ(location + name, relative + "/gear.jt");
}

TEST_F(Naming, CoDocumentsCountOnlyWhenTheRegistryLooksIntoThem) {
  make({"odd.co/odd.jt"});
  RWClassicCString location;
  RWClassicCString name;
  const ApiDocumentRef document = documentAt(folder_.at("odd.co"));
  EXPECT_EQ(JtwManager::getFileNameFromDocument(document, location, name),
            registry().usingJtInCO());
  registry().setUsingJtViewer(true);
  EXPECT_TRUE(JtwManager::getFileNameFromDocument(document, location, name));
  EXPECT_EQ(location + name, folder_.at("odd.co/odd.jt"));
}

TEST_F(Naming, TheNewestOfManyFilesCounts) {
  constexpr int kManyFiles = ApiDocument::KIND_MANY_JT_FILES;
  make({"cell.kpak/a.jt", "cell.kpak/b.jt", "cell.kpak/cell.jt", "cell.kpak/notes.txt"});
  const ApiDocumentRef document = documentAt(folder_.at("cell.kpak"), kManyFiles);
  struct Case {
    int ageOfA, ageOfB, ageOfCell;
    const char* newest;
  };
  for (const Case& ages :
       {Case{3, 2, 1, "cell.jt"}, Case{3, 1, 2, "b.jt"}, Case{1, 2, 3, "a.jt"}}) {
    age("cell.kpak/a.jt", ages.ageOfA);
    age("cell.kpak/b.jt", ages.ageOfB);
    age("cell.kpak/cell.jt", ages.ageOfCell);
    RWClassicCString location;
    RWClassicCString name;
    EXPECT_TRUE(JtwManager::getFileNameFromDocument(document, location, name));
    EXPECT_EQ(name, ages.newest);
    JtwManager::getDatastoreLocationAndName(document, location, name);
    EXPECT_EQ(name, ages.newest);
  }
  const auto same = fs::last_write_time(folder_.at("cell.kpak/b.jt"));
  for (const char* file : {"a.jt", "cell.jt"})
    fs::last_write_time(folder_.at(std::string("cell.kpak/") + file), same);
  RWClassicCString name;
  EXPECT_TRUE(JtwManager::findJtFile(folder_.at("cell.kpak"), name, true));
  EXPECT_EQ(name, "a.jt");
}

TEST_F(Naming, WhereNewAndExportedFilesGo) {
  make({"used.kpak/kept.jt", "used.jt"});
  struct Case {
    const char* document;
    const char* datastore;
    const char* exported;
    bool exportExists;
  };
  const Case cases[] = {
      {"new.kpak", "new.kpak/new.jt", "new.jt", false},
      {"used.kpak", "used.kpak/kept.jt", "used.jt", true},
      {"a.b.kpak", "a.b.kpak/a.b.jt", "a.b.jt", false},
      {"bare", "bare/bare.jt", "bare.jt", false},
  };
  for (const Case& expected : cases) {
    const ApiDocumentRef document = documentAt(folder_.at(expected.document));
    RWClassicCString location;
    RWClassicCString name;
    JtwManager::getDatastoreLocationAndName(document, location, name);
    EXPECT_EQ(location + name, folder_.at(expected.datastore));
    EXPECT_EQ(JtwManager::getExportFileNameFromDocument(document, location, name),
              expected.exportExists);
    EXPECT_EQ(location + name, folder_.at(expected.exported));
  }
}

TEST_F(Naming, NoExportGoesOverItsSource) {
  make({"part.jt", "UPPER.JT", "bare", "linked.kpak/x"});
  fs::remove(folder_.at("linked.kpak/x"));
  folder_.file("linked.jt");
  fs::create_symlink("../linked.jt", folder_.at("linked.kpak/linked.jt"));
  fs::create_hard_link(folder_.at("part.jt"), folder_.at("part.export.jt"));
  const std::pair<const char*, const char*> cases[] = {{"part.jt", "part.export.export.jt"},
                                                       {"./part.jt", "part.export.export.jt"},
                                                       {"UPPER.JT", "UPPER.export.jt"},
                                                       {"new.jt", "new.export.jt"},
                                                       {"bare", "bare.jt"},
                                                       {"linked.kpak", "linked.export.jt"}};
  for (const auto& [path, exported] : cases) {
    RWClassicCString location;
    RWClassicCString name;
    JtwManager::getExportLocationAndName(documentAt(folder_.at(path)), location, name);
    EXPECT_EQ(name, exported) << path;
  }
}

TEST_F(Naming, ANewPlainFileGoesWhereItIs) {
  const ApiDocumentRef plain = documentAt(folder_.at("plain.jt"));
  EXPECT_TRUE(registry().computeNewDocRoot(plain)->write(false)) << jt::lastError();
  const ApiDocumentRef moved = documentAt(folder_.at("moved.jt"));
  ASSERT_TRUE(registry().updateRootDocument(plain, moved));
  EXPECT_TRUE(registry().root(moved)->write(false)) << jt::lastError();
  for (const char* name : {"plain.jt", "moved.jt"})
    EXPECT_TRUE(fs::is_regular_file(folder_.at(name))) << name;
}

}  // namespace
