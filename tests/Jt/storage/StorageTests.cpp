// Opening, finding neighbours, the manager in use, and loads in the background.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <thread>

#include "../../Host/TempFolder.h"
#include "JtFileGuard.h"
#include "JtFormatError.h"
#include "JtResidencyRequestManager.h"
#include "JtStorageManager.h"

namespace {

namespace fs = std::filesystem;

jt::Ref<jt::FileImage> openImage(const std::string& path) {
  return JtStorageManager::current()->open(JtFSStorageLocation("", path));
}

template <class Call>
std::string codeOf(Call call) {
  try {
    call();
    return "";
  } catch (const JtFormatError& error) {
    return error.code();
  }
}

TEST(OpenedFile, RefusesWhatIsNoReadableFile) {
  const TempFolder folder;
  ASSERT_EQ(::mkfifo(folder.at("pipe").c_str(), 0666), 0);
  const std::pair<std::string, const char*> cases[] = {
      {folder.at("none.jt"), "not_found"}, {folder.at("pipe/a.jt"), "not_found"},
      {folder.at("."), "not_a_file"},      {folder.at("pipe"), "not_a_file"},
      {"/dev/zero", "not_a_file"},         {folder.file("empty", ""), ""}};
  for (const auto& [path, code] : cases)
    EXPECT_EQ(codeOf([&name = path] { openImage(name); }), code) << path;
}

TEST(OpenedFile, KeepsItsBytesWithoutItsNameAndNoticesThatTheyAreGone) {
  const TempFolder folder;
  const std::string path = folder.file("a.jt", "bytes");
  const auto image = openImage(path);
  fs::create_hard_link(path, folder.at("b.jt"));
  fs::remove(path);
  image->checkPresent();
  EXPECT_EQ(std::memcmp(image->bytes().data(), "bytes", 5), 0);
  fs::resize_file(folder.at("b.jt"), 4);
  EXPECT_EQ(codeOf([&] { image->checkPresent(); }), "changed_on_disk");
}

/// Where a file changes in place its mapping has bytes of both states, or no pages at all.
TEST(OpenedFile, SurvivesAndReportsChangesInPlace) {
  jt::guardMappedFiles();
  jt::takeFileChange();  // of tests before
  const TempFolder folder;
  const std::string bytes(3 * 4096 + 5, 'x');
  const std::string path = folder.file("a.jt", bytes);
  const auto change = [] {
    const auto error = jt::takeFileChange();
    return error ? error->code() + " " + error->where().file : std::string();
  };
  auto shrunk = openImage(path);
  auto other = openImage(folder.file("other.jt", bytes));
  fs::resize_file(path, 4096);
  EXPECT_EQ(shrunk->bytes()[4095], std::byte{'x'});
  EXPECT_EQ(shrunk->bytes()[2 * 4096], std::byte{0});
  EXPECT_EQ(shrunk->bytes().back(), std::byte{0});
  // The missing pages stay missing when the file has its old size again.
  fs::resize_file(path, bytes.size());
  EXPECT_EQ(codeOf([&] { shrunk->checkPresent(); }), "changed_on_disk");
  EXPECT_EQ(change(), "changed_on_disk " + path);
  shrunk = nullptr;
  EXPECT_EQ(change(), "changed_on_disk " + path) << "of a closed file";
  EXPECT_EQ(change(), "");

  // Replaced, as saves do it, the opened file is as it was.
  fs::rename(folder.file("new.jt", "short"), folder.at("other.jt"));
  EXPECT_EQ(change(), "");
  other->checkPresent();
  other = openImage(folder.at("other.jt"));
  std::this_thread::sleep_for(std::chrono::milliseconds(20));  // times of files have steps
  folder.file("other.jt", "twice");
  EXPECT_EQ(codeOf([&] { other->checkPresent(); }), "changed_on_disk");

  // A copy of what is gone is no copy.
  const jt::FilePiece piece{other->bytes(), other.get(), 0};
  EXPECT_EQ(codeOf([&] {
              JtStorageManager::current()->save(JtFSStorageLocation(folder.at(""), "copy.jt"),
                                                {&piece, 1}, {});
            }),
            "changed_on_disk");
  EXPECT_FALSE(fs::exists(folder.at("copy.jt")));
  other = nullptr;
  EXPECT_EQ(change(), "changed_on_disk " + folder.at("other.jt"));
}

/// Faults that are none of a mapped file end as they did before.
TEST(OpenedFile, LeavesOtherFaultsAlone) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "the sanitizer handles faults itself";
#endif
  jt::guardMappedFiles();
  EXPECT_EXIT(::raise(SIGBUS), testing::KilledBySignal(SIGBUS), "");
}

TEST(Resolve, FindsWhatAFileNamesAndNothingOutside) {
  const TempFolder folder;
  for (const char* name : {"asm.jt", "Sub/Gear.jt", "sub/other.jt", "bolt.jt", "\xc3\x9c.jt"})
    folder.file(std::string("top/") + name, "");
  folder.file("secret.jt", "");
  const JtFSStorageLocation base(folder.at("top"), "asm.jt");
  const std::pair<const char*, const char*> cases[] = {
      {"Sub/Gear.jt", "Sub/Gear.jt"},
      {"Sub\\Gear.jt", "Sub/Gear.jt"},
      {".\\sub\\GEAR.JT", "Sub/Gear.jt"},  // in the one of two like-named folders that has it
      {"SUB/OTHER.jt", "sub/other.jt"},
      {"\xc3\xbc.JT", "\xc3\x9c.jt"},
      {"parts/lib/bolt.jt", "bolt.jt"},
      {"parts\\lib\\Bolt.JT", "bolt.jt"},
      {"a/../bolt.jt", "bolt.jt"},
      {"none/at/all.jt", "none/at/all.jt"},
      {"../secret.jt", nullptr},
      {"Sub\\..\\..\\secret.jt", nullptr},
      {"/etc/passwd", nullptr},
      {"\\\\server\\share\\a.jt", nullptr},
      {"C:\\parts\\bolt.jt", nullptr},
      {"c:bolt.jt", nullptr},
      {"https://host/bolt.jt", nullptr},
      {"", nullptr},
      {".", nullptr}};
  for (const auto& [named, expected] : cases) {
    const auto found = JtStorageManager::current()->resolve(base, named);
    ASSERT_EQ(bool(found), expected != nullptr) << named;
    if (!expected) continue;
    EXPECT_EQ(found->displayName().stringToMbs(), folder.at(std::string("top/") + expected));
  }
}

/// Two links of like names to their own folder: as many ways as there are numbers of 60 bits.
TEST(Resolve, LinksToAFolderMeanNoMoreWorkThanOne) {
  const TempFolder folder;
  folder.file("asm.jt", "");
  folder.file("Bolt.jt", "");
  for (const char* link : {"a", "A"}) std::filesystem::create_symlink(".", folder.at(link));
  const JtFSStorageLocation base(folder.at(""), "asm.jt");
  std::string way;
  for (int level = 0; level < 60; ++level) way += level % 3 == 0 ? "A/" : "a/";
  const auto place = [&](const std::string& name) {
    return JtStorageManager::current()->resolve(base, JtString(way + name))->displayName();
  };
  EXPECT_TRUE(place("none.jt").stringToMbs().ends_with("A/a/a/none.jt"));
  EXPECT_TRUE(place("bolt.jt").stringToMbs().ends_with("/Bolt.jt"));
}

class HostLocation : public JtStorageLocation {
 public:
  static const JtType* classTypeID() {
    static const JtType type("HostLocation", JtStorageLocation::classTypeID());
    return &type;
  }
  const JtType* typeID() const override { return classTypeID(); }
  JtString displayName() const override { return "stream 1"; }
};

class HostManager : public JtStorageManager {
 public:
  explicit HostManager(int& alive) : alive_(alive) { ++alive_; }
  ~HostManager() override { --alive_; }

 private:
  int& alive_;
};

TEST(StorageManager, OwnsTheOneInUseAndServesFilesOnly) {
  int alive = 0;
  jt::installStorageManager(new HostManager(alive));
  EXPECT_EQ(JtStorageManager::current(), g_pInstanceJtStorageManager);
  jt::installStorageManager(g_pInstanceJtStorageManager);
  EXPECT_EQ(alive, 1);
  jt::installStorageManager(nullptr);
  EXPECT_EQ(alive, 0);

  const auto manager = JtStorageManager::current();
  EXPECT_EQ(codeOf([&] { manager->open(HostLocation()); }), "not_found");
  EXPECT_EQ(codeOf([&] { manager->save(HostLocation(), {}, {}); }), "unwritable");
  EXPECT_FALSE(manager->resolve(HostLocation(), "a.jt"));
}

TEST(ResidencyRequests, RunAllCountFailuresAndRestart) {
  JtResidencyRequestManager& manager = JtResidencyRequestManager::instance();
  std::atomic<int> done = 0;
  for (int round = 0; round < 3; ++round) {
    manager.setThreadCount(static_cast<std::size_t>(round));
    for (int i = 0; i < 50; ++i)
      manager.request([&, i] {
        ++done;
        if (i % 10 == 0) throw std::bad_alloc();
        // A request may make another one, and must not wait for itself.
        if (i % 10 == 1) manager.request([&] { ++done; });
        if (i % 10 == 2) manager.waitForAll();
      });
    manager.waitForAll();
    EXPECT_FALSE(manager.hasPendingRequests());
    EXPECT_EQ(done.exchange(0), 55);
    EXPECT_EQ(manager.failures(), 5U);
    manager.stop();
  }
}

TEST(ResidencyRequests, StopDropsWhatWaitsAndFinishesWhatRuns) {
  JtResidencyRequestManager& manager = JtResidencyRequestManager::instance();
  manager.setThreadCount(1);
  std::atomic<bool> started = false;
  std::atomic<bool> finished = false;
  std::atomic<int> late = 0;
  const auto owned = std::make_shared<int>(0);
  manager.request([&] {
    started = true;
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    finished = true;
  });
  for (int i = 0; i < 5; ++i) manager.request([&late, owned] { ++late; });
  while (!started) std::this_thread::yield();
  manager.stop();
  EXPECT_TRUE(finished);
  EXPECT_EQ(late, 0);
  EXPECT_EQ(owned.use_count(), 1);
  EXPECT_FALSE(manager.hasPendingRequests());
  manager.setThreadCount(2);
}

}  // namespace
