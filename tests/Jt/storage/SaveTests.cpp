// What a save leaves behind: content, attributes, links, and the old file when it is refused.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <functional>
#include <new>
#include <random>
#include <sstream>
#include <thread>

#include "../../Host/TempFolder.h"
#include "JtFormatError.h"
#include "JtMesh.h"
#include "JtPartition.h"
#include "JtSaveFiles.h"
#include "JtShape.h"
#include "JtStorageManager.h"
#include "JtTemporaryPath.h"

namespace {
/// How many allocations of this thread succeed before one fails; negative: all.
thread_local long allocationsLeft = -1;
}  // namespace

// Not inlined: g++ would take the free() below for one that does not match its new.
[[gnu::noinline]] void* operator new(std::size_t size) {
  if (allocationsLeft >= 0 && allocationsLeft-- == 0) throw std::bad_alloc();
  if (void* memory = std::malloc(size > 0 ? size : 1)) return memory;
  throw std::bad_alloc();
}
// Sanitizers have one of their own, whose memory would not be of malloc().
[[gnu::noinline]] void* operator new(std::size_t size, const std::nothrow_t&) noexcept try {
  return operator new(size);
} catch (const std::bad_alloc&) {
  return nullptr;
}
[[gnu::noinline]] void operator delete(void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

namespace {

namespace fs = std::filesystem;
using Names = std::set<std::string>;

std::span<const std::byte> bytesOf(const std::string& text) {
  return std::as_bytes(std::span(text));
}
std::span<const std::byte> bytesOf(std::string&&) = delete;

jt::Ref<jt::FileImage> openImage(const std::string& path) {
  return JtStorageManager::current()->open(JtFSStorageLocation("", path));
}

jt::StorageSaveResult save(const std::string& path, std::span<const jt::FilePiece> pieces,
                           const jt::StorageSaveOptions& options = {}) {
  return JtStorageManager::current()->save(JtFSStorageLocation("", path), pieces, options);
}

/// The codes of the warnings, or of the error, of saving `text`.
std::string saveText(const std::string& path, const std::string& text,
                     const jt::StorageSaveOptions& options = {}) try {
  const jt::FilePiece piece{bytesOf(text)};
  std::string codes;
  for (const auto& warning : save(path, {&piece, 1}, options).warnings) codes += warning.code;
  return codes;
} catch (const JtFormatError& error) {
  EXPECT_NE(std::string(error.what()).find(path), std::string::npos) << error.what();
  return error.code();
}

/// A limit of open files for as long as it lives.
class FewDescriptors {
 public:
  explicit FewDescriptors(rlim_t count) {
    EXPECT_EQ(::getrlimit(RLIMIT_NOFILE, &before_), 0);
    const rlimit few{count, before_.rlim_max};
    EXPECT_EQ(::setrlimit(RLIMIT_NOFILE, &few), 0);
  }
  ~FewDescriptors() { EXPECT_EQ(::setrlimit(RLIMIT_NOFILE, &before_), 0); }
  FewDescriptors(const FewDescriptors&) = delete;
  FewDescriptors& operator=(const FewDescriptors&) = delete;

 private:
  rlimit before_{};
};

TEST(Save, JoinsPartsOfMoreFilesThanThereAreDescriptors) {
  constexpr int kFiles = 100;
  const TempFolder folder;
  const FewDescriptors few(64);
  const auto all = jt::make<JtPartition>();
  for (int i = 0; i < kFiles; ++i) {
    auto mesh = std::make_shared<jt::Mesh>();
    mesh->positions = {{0, 0, 0}, {1, 0, 0}, {0, 2, static_cast<float>(i)}};
    mesh->corners = {0, 1, 2};
    const auto made = jt::make<JtPartition>();
    made->addChild(jt::makeShape(mesh).get());
    const auto place = jt::make<JtFSStorageLocation>("", folder.at(std::to_string(i) + ".jt"));
    made->save(place.get());
    JtPartition* opened = nullptr;
    ASSERT_NO_THROW(JtPartition::openPartition(place.get(), nullptr, opened)) << i;
    all->addChild(jt::as<JtNode>(opened->child(0)->clone().get()));
    opened->unref();
  }
  const auto target = jt::make<JtFSStorageLocation>("", folder.at("all.jt"));
  all->save(target.get());
  JtPartition* joined = nullptr;
  JtPartition::openPartition(target.get(), nullptr, joined);
  ASSERT_EQ(joined->numChildren(), kFiles);
  for (int i = 0; i < kFiles; ++i) {
    const auto mesh = jt::as<JtShape>(joined->child(i))->mesh();
    ASSERT_TRUE(mesh) << jt::lastError();
    EXPECT_EQ(mesh->positions.at(2)[2], static_cast<float>(i));
  }
  joined->unref();
}

TEST(Save, TakesItsPiecesFromMoreFilesThanThereAreDescriptors) {
  constexpr std::size_t kFiles = 300;
  const TempFolder folder;
  const FewDescriptors few(100);
  std::vector<jt::Ref<jt::FileImage>> images;
  std::vector<jt::FilePiece> pieces;
  std::string expected;
  for (std::size_t i = 0; i < kFiles; ++i) {
    const std::string content(i % 3 == 0 ? 70'000 : 5, static_cast<char>('a' + i % 20));
    images.push_back(openImage(folder.file("in/" + std::to_string(i), content)));
    pieces.push_back({images.back()->bytes(), images.back().get(), 0});
    expected += content;
  }
  // Another file in the place of one that was opened: its bytes are those of the opening.
  folder.file("new", "other bytes");
  fs::rename(folder.at("new"), folder.at("in/250"));
  EXPECT_TRUE(save(folder.at("out"), pieces).warnings.empty());
  EXPECT_EQ(contentOf(folder.at("out")), expected);
  fs::resize_file(folder.at("in/251"), 4);
  EXPECT_THROW(save(folder.at("out"), pieces), JtFormatError);
  EXPECT_EQ(contentOf(folder.at("out")), expected);
}

TEST(Save, WritesAllPiecesInOrder) {
  const TempFolder folder;
  std::mt19937 random(7);
  std::string old(9 << 20, '\0');
  for (char& c : old) c = static_cast<char>(random());
  const std::string path = folder.file("a.jt", old);
  // From nothing to more than a step of the writer, and small runs beside large ones.
  const std::size_t limits[] = {1, 3000, 200'000, 8 << 20};
  for (int round = 0; round < 12; ++round) {
    const auto image = openImage(path);
    const auto bytes = image->bytes();
    std::vector<jt::FilePiece> pieces;
    std::string expected;
    std::size_t next = 0;
    for (int i = static_cast<int>(random() % 40); i > 0; --i) {
      const std::size_t size = random() % limits[random() % 4];
      const std::size_t place = std::min(random() % 3 ? next : random() % bytes.size(),
                                         bytes.size() - std::min(size, bytes.size()));
      const auto part = bytes.subspan(place, std::min(size, bytes.size()));
      next = place + part.size();  // two of three pieces continue the one before
      if (expected.size() + part.size() > (12U << 20)) continue;
      pieces.push_back({part, random() % 4 ? image.get() : nullptr, place});
      expected.append(reinterpret_cast<const char*>(part.data()), part.size());
    }
    jt::StorageSaveOptions options{.readBack = round % 4 != 0, .expected = image->identity()};
    const std::string target = round % 2 ? path : folder.at("new.jt");
    if (round % 2 == 0) options.expected.reset();
    EXPECT_TRUE(save(target, pieces, options).warnings.empty());
    ASSERT_TRUE(contentOf(target) == expected) << "round " << round;
    if (target == path) folder.file("a.jt", old);
  }
  EXPECT_EQ(folder.names(), (Names{"a.jt", "new.jt"}));
}

std::string attribute(const std::string& path, const char* name) {
  char value[256];
  const ssize_t size = ::getxattr(path.c_str(), name, value, sizeof value);
  return size < 0 ? "none" : std::string(value, static_cast<std::size_t>(size));
}

struct stat statOf(const std::string& path) {
  struct stat info {};
  EXPECT_EQ(::stat(path.c_str(), &info), 0);
  return info;
}

/// An access list in the kernel's form: `user` may do `rights` beside owner, group and others.
std::string accessList(char owner, char rights, char group, char mask, char others) {
  const auto entry = [](char tag, char permission, char id) {
    const std::string noId = "\xff\xff\xff\xff";
    const std::string end = id ? std::string{id, 0, 0, 0} : noId;
    return std::string{tag, 0, permission, 0} + end;
  };
  return std::string{2, 0, 0, 0} + entry(1, owner, 0) + entry(2, rights, 99) + entry(4, group, 0) +
         entry(16, mask, 0) + entry(32, others, 0);
}

TEST(Save, KeepsModeOwnerListAndAttributes) {
  const TempFolder folder;
  const std::string path = folder.file("a.jt", "old");
  const bool root = ::geteuid() == 0;
  ASSERT_TRUE(!root || ::chown(path.c_str(), 1234, 1235) == 0);
  // The bits that let a program run with the rights of its owner are not for other content.
  ASSERT_EQ(::chmod(path.c_str(), 06750), 0);
  ::setxattr(path.c_str(), "user.origin", "press", 5, 0);
  const std::string list = accessList(6, 4, 4, 6, 0);
  ::setxattr(path.c_str(), "system.posix_acl_access", list.data(), list.size(), 0);
  const struct stat before = statOf(path);
  const std::string origin = attribute(path, "user.origin");
  const std::string keptList = attribute(path, "system.posix_acl_access");

  jt::StorageSaveOptions strict;
  strict.strictAttributes = true;
  EXPECT_EQ(saveText(path, "new", strict), "");
  EXPECT_EQ(contentOf(path), "new");
  const struct stat after = statOf(path);
  EXPECT_EQ(after.st_mode, before.st_mode & ~mode_t{S_ISUID | S_ISGID});
  EXPECT_EQ(after.st_uid, before.st_uid);
  EXPECT_EQ(after.st_gid, before.st_gid);
  EXPECT_EQ(attribute(path, "user.origin"), origin);
  EXPECT_EQ(attribute(path, "system.posix_acl_access"), keptList);
}

TEST(Save, GivesNewFilesTheRightsOfAPlainCreation) {
  const TempFolder folder;
  const mode_t mask = ::umask(027);
  for (const bool withList : {false, true}) {
    const std::string list = accessList(7, 7, 5, 7, 4);
    if (withList && ::setxattr(folder.at(".").c_str(), "system.posix_acl_default", list.data(),
                               list.size(), 0) != 0)
      break;
    const std::string plain = folder.file("plain", "x");
    const std::string saved = folder.at("saved.jt");
    EXPECT_EQ(saveText(saved, "x"), "");
    EXPECT_EQ(statOf(saved).st_mode, statOf(plain).st_mode);
    EXPECT_EQ(attribute(saved, "system.posix_acl_access"),
              attribute(plain, "system.posix_acl_access"));
    // A file without a list gains none from its folder when it is replaced.
    ::removexattr(plain.c_str(), "system.posix_acl_access");
    ASSERT_EQ(::chmod(plain.c_str(), 0604), 0);
    EXPECT_EQ(saveText(plain, "y"), "");
    EXPECT_EQ(statOf(plain).st_mode & 0777, 0604U);
    EXPECT_EQ(attribute(plain, "system.posix_acl_access"), "none");
    fs::remove(saved);
    fs::remove(plain);
  }
  ::umask(mask);
}

TEST(Save, FollowsSymbolicLinksAndWarnsOfHardLinks) {
  const TempFolder folder;
  folder.file("real/a.jt", "old");
  fs::create_symlink("real/a.jt", folder.at("one"));
  fs::create_symlink(folder.at("one"), folder.at("two"));
  fs::create_symlink("real/none.jt", folder.at("dangling"));
  EXPECT_EQ(saveText(folder.at("two"), "new"), "");
  EXPECT_EQ(saveText(folder.at("dangling"), "made"), "");
  EXPECT_TRUE(fs::is_symlink(folder.at("one")) && fs::is_symlink(folder.at("two")) &&
              fs::is_symlink(folder.at("dangling")));
  EXPECT_EQ(contentOf(folder.at("real/a.jt")), "new");
  EXPECT_EQ(contentOf(folder.at("real/none.jt")), "made");

  fs::create_hard_link(folder.at("real/a.jt"), folder.at("other"));
  EXPECT_EQ(saveText(folder.at("real/a.jt"), "newer"), "links_broken");
  EXPECT_EQ(contentOf(folder.at("other")), "new");
}

TEST(Save, RefusesWhatIsNoWritableFile) {
  const TempFolder folder;
  ASSERT_EQ(::chmod(folder.file("read_only.jt", "old").c_str(), 0444), 0);
  fs::create_directory(folder.at("folder"));
  ASSERT_EQ(::mkfifo(folder.at("pipe").c_str(), 0666), 0);
  fs::create_symlink("/dev/null", folder.at("device"));
  fs::create_symlink("loop", folder.at("loop"));
  const Names before = folder.names();
  const std::pair<const char*, const char*> cases[] = {
      {"read_only.jt", "read_only"}, {"folder", "unwritable"},   {"folder/", "unwritable"},
      {"pipe", "unwritable"},        {"device", "unwritable"},   {"loop", "unwritable"},
      {"none/a.jt", "unwritable"},   {"folder/..", "unwritable"}};
  for (const auto& [name, code] : cases) EXPECT_EQ(saveText(folder.at(name), "new"), code) << name;
  EXPECT_EQ(saveText(folder.at(std::string(300, 'x')), "new"), "unwritable");
  EXPECT_EQ(saveText(folder.at(std::string(250, 'x')), "new"), "");
  EXPECT_EQ(contentOf(folder.at("read_only.jt")), "old");
  fs::remove(folder.at(std::string(250, 'x')));
  EXPECT_EQ(folder.names(), before);
}

/// A source that has another program come in between while it is being saved.
class Intruder : public jt::FileImage {
 public:
  explicit Intruder(std::function<void()> act) : act_(std::move(act)) {}
  std::span<const std::byte> bytes() const override { return bytesOf(text_); }
  std::optional<jt::FileIdentity> identity() const override { return std::nullopt; }
  void checkPresent() const override { act_(); }
  std::string name() const override { return "intruder"; }

 private:
  std::string text_ = "new";
  std::function<void()> act_;
};

TEST(Save, NoticesThatTheFileChangedSinceItWasOpened) {
  using Change = std::function<void(const std::string&)>;
  const Change changes[] = {
      [](const std::string& path) { std::ofstream(path, std::ios::app) << "more"; },
      [](const std::string& path) {
        std::ofstream(path) << "OLD";
        const timespec times[2] = {{1000, 0}, {1000, 1}};
        ::utimensat(AT_FDCWD, path.c_str(), times, 0);
      },
      [](const std::string& path) {
        std::ofstream(path + "2") << "old";
        fs::last_write_time(path + "2", fs::last_write_time(path));
        fs::rename(path + "2", path);
      },
      [](const std::string& path) { fs::remove(path); }};
  for (const Change& change : changes) {
    const TempFolder folder;
    const std::string path = folder.file("a.jt", "old");
    const auto image = openImage(path);
    change(path);
    const Names names = folder.names();
    const std::string content = contentOf(path);
    EXPECT_EQ(saveText(path, "new", {.expected = image->identity()}), "changed_on_disk");
    EXPECT_EQ(contentOf(path), content);
    EXPECT_EQ(folder.names(), names);
    // The same while the save goes on, after its first look at the file.
    folder.file("a.jt", "old");
    const jt::StorageSaveOptions options{.expected = openImage(path)->identity()};
    const auto intruder = jt::make<Intruder>([&, done = false]() mutable {
      if (!std::exchange(done, true)) change(path);
    });
    const jt::FilePiece piece{intruder->bytes(), intruder.get(), 0};
    EXPECT_THROW(save(path, {&piece, 1}, options), JtFormatError);
    EXPECT_EQ(contentOf(path), content);
    EXPECT_EQ(folder.names(), names);
  }

  // A source that got shorter: its bytes are gone, and the mapping must not be touched.
  const TempFolder folder;
  const auto source = openImage(folder.file("b.jt", std::string(100'000, 'b')));
  const jt::FilePiece piece{source->bytes(), source.get(), 0};
  fs::resize_file(folder.at("b.jt"), 10);
  EXPECT_THROW(save(folder.at("c.jt"), {&piece, 1}), JtFormatError);
  EXPECT_EQ(folder.names(), Names{"b.jt"});
}

/// Moves another file with this content to the path, as a save does.
void replaceFile(const std::string& path, const std::string& content) {
  std::ofstream(path + ".other") << content;
  fs::rename(path + ".other", path);
}

TEST(Save, WaitsForTheOneThatReplacesTheSameFile) {
  const TempFolder folder;
  for (const bool replaced : {false, true}) {
    const std::string path = folder.file("a.jt", "old");
    const jt::StorageSaveOptions options{.expected = openImage(path)->identity()};
    const int other = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_EQ(::flock(other, LOCK_EX), 0);
    std::atomic<bool> saved = false;
    std::thread saver([&] {
      EXPECT_EQ(saveText(path, "new", options), replaced ? "changed_on_disk" : "");
      saved = true;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_FALSE(saved);
    if (replaced) replaceFile(path, "other");
    ::close(other);
    saver.join();
    EXPECT_EQ(contentOf(path), replaced ? "other" : "new");
  }
}

TEST(Save, MakesANewFileOnlyWhereThereIsNone) {
  const TempFolder folder;
  const std::string path = folder.at("a.jt");
  EXPECT_EQ(saveText(path, "first", {.expected = {}, .createOnly = true}), "");
  EXPECT_EQ(saveText(path, "second", {.expected = {}, .createOnly = true}), "exists");
  // Made by another program while the save goes on.
  const std::string late = folder.at("late.jt");
  const auto intruder = jt::make<Intruder>([&] { folder.file("late.jt", "other"); });
  const jt::FilePiece piece{intruder->bytes(), intruder.get(), 0};
  EXPECT_THROW(save(late, {&piece, 1}, {.expected = {}, .createOnly = true}), JtFormatError);
  EXPECT_EQ(contentOf(path) + contentOf(late), "firstother");
  EXPECT_EQ(folder.names(), (Names{"a.jt", "late.jt"}));
}

TEST(Save, FailsOfLackOfMemoryOnlyBeforeTheFileIsReplaced) {
  const TempFolder folder;
  const std::string path = folder.file("a.jt", "old");
  fs::create_hard_link(path, folder.at("other"));  // a warning takes memory
  const std::string text = "new";
  const jt::FilePiece piece{bytesOf(text)};
  const JtFSStorageLocation location("", path);
  const auto manager = JtStorageManager::current();
  bool isDone = false;
  for (long n = 0; !isDone; ++n) {
    ASSERT_LT(n, 10'000);
    try {
      allocationsLeft = n;
      isDone = manager->save(location, {&piece, 1}, {}).warnings.size() == 1;
    } catch (const std::bad_alloc&) {
      EXPECT_EQ(contentOf(path), "old") << n;
    }
    allocationsLeft = -1;
  }
  EXPECT_EQ(contentOf(path), "new");
  EXPECT_EQ(folder.names(), (Names{"a.jt", "other"}));
}

/// Lets somebody act right after a save, and does not open or identify what it wrote if asked to.
class Watched : public JtStorageManager {
 public:
  jt::Ref<jt::FileImage> open(const JtStorageLocation& location) override {
    if (hides) throw JtFormatError("unreadable", "hidden");
    return JtStorageManager::open(location);
  }
  jt::StorageSaveResult save(const JtStorageLocation& location,
                             std::span<const jt::FilePiece> pieces,
                             const jt::StorageSaveOptions& options) override {
    jt::StorageSaveResult result = JtStorageManager::save(location, pieces, options);
    if (hides) result.identity.reset();
    if (afterwards) afterwards();
    return result;
  }
  bool hides = false;
  std::function<void()> afterwards;
};

TEST(Save, OfAPartitionKnowsItsOwnFileFromAnother) {
  const TempFolder folder;
  const std::string path = folder.at("a.jt");
  fs::copy_file(JTW_TEST_DATA "/tiny95.jt", path);
  const auto manager = jt::make<Watched>();
  jt::installStorageManager(manager.get());
  const auto place = jt::make<JtFSStorageLocation>("", path);
  JtPartition* opened = nullptr;
  JtPartition::openPartition(place.get(), nullptr, opened);
  const auto partition = jt::Ref<JtPartition>::adopt(opened);
  const auto saved = [&] {
    const auto key = jt::make<JtStringPropAtom>(JtString("key"));
    partition->addProperty(key.get(), jt::make<JtStringPropAtom>(JtString("edited")).get(), true);
    try {
      std::string codes;
      for (const auto& warning : partition->save().warnings) codes += warning.code;
      return codes;
    } catch (const JtFormatError& error) {
      return error.code();
    }
  };
  EXPECT_EQ(saved(), "");
  EXPECT_EQ(saved(), "") << "its own file is no other one";
  for (const char* name : {"c.jt", "a.jt"}) {
    partition->setStorageLocation(jt::make<JtFSStorageLocation>("", folder.at(name)).get());
    EXPECT_EQ(saved(), "") << name;
  }
  for (int i = 0; i < 2; ++i)
    EXPECT_NO_THROW(partition->saveAs(partition->child(0), partition->storageLocation()));
  manager->hides = true;
  EXPECT_EQ(saved(), "saved_not_reopened") << "the save is done all the same";
  EXPECT_EQ(saved(), "changed_on_disk");
  manager->hides = false;
  partition->setStorageLocation(jt::make<JtFSStorageLocation>("", folder.at("b.jt")).get());
  manager->afterwards = [&] { replaceFile(folder.at("b.jt"), "of another program"); };
  EXPECT_EQ(saved(), "") << "a new place";
  EXPECT_EQ(saved(), "changed_on_disk");
  EXPECT_EQ(contentOf(folder.at("b.jt")), "of another program");
  jt::installStorageManager(nullptr);
}

TEST(Save, RemovesWhatKilledSavesLeftAndNothingElse) {
  const TempFolder folder;
  const std::string path = folder.file("a.jt", "old");
  const std::string self = std::to_string(::getpid());
  const auto age = [&](const std::string& name) {
    fs::last_write_time(folder.at(name), fs::file_time_type::clock::now() - std::chrono::hours(1));
  };
  const Names kept{".a.jt.jtw-" + self + "-1.tmp",  // its process runs
                   ".a.jt.jtw-" + self + "-2.tmp",  // old, but locked
                   ".a.jt.jtw-x-1.tmp",
                   ".a.jt.jtw-999999999.tmp",
                   ".a.jt.jtw-999999999-1x.tmp",
                   "a.jt"};
  const Names removed{".a.jt.jtw-999999999-1.tmp", ".a.jt.jtw-" + self + "-3.tmp",
                      ".b.jt.jtw-999999999-1.tmp",        // of another target
                      ".c.jt.jtw-999999999-f.tmp/0.jt"};  // of an export
  for (const Names* names : {&kept, &removed})
    for (const std::string& name : *names) folder.file(name, "old");
  age(".a.jt.jtw-" + self + "-2.tmp");
  age(".a.jt.jtw-" + self + "-3.tmp");
  const int lock = ::open(folder.at(".a.jt.jtw-" + self + "-2.tmp").c_str(), O_RDWR | O_CLOEXEC);
  ASSERT_EQ(::flock(lock, LOCK_EX), 0);
  EXPECT_EQ(saveText(path, "new"), "");
  EXPECT_EQ(folder.names(), kept);
  ::close(lock);
}

/// What a signal handler does: nothing of a save, an export or a made folder stays.
TEST(TemporaryPaths, AreRemovedByAProcessThatIsTerminated) {
  const TempFolder folder;
  folder.file("a.jt", "old");
  const auto saveUntilTheEnd = [&folder] {
    fs::create_directory(folder.at("made"));
    const jt::TemporaryPath made(folder.at("made"), jt::TemporaryPath::Kind::folder);
    jt::TemporaryPath kept(folder.file("made/kept", ""));
    const jt::TemporaryPath inside(folder.file("made/inside", ""));
    fs::rename(folder.at("made/kept"), folder.at("kept"));
    kept.keep();
    // The second time that a source is looked at, its bytes are in the temporary file.
    int looks = 0;
    const auto ends = jt::make<Intruder>([&looks] {
      if (++looks < 2) return;
      jt::removeTemporaryPaths();
      std::_Exit(7);
    });
    const jt::FilePiece piece{ends->bytes(), ends.get(), 0};
    save(folder.at("a.jt"), {&piece, 1});
  };
  EXPECT_EXIT(saveUntilTheEnd(), testing::ExitedWithCode(7), "");
  EXPECT_EQ(folder.names(), (Names{"a.jt", "kept"}));
}

TEST(SaveTogether, ReplacesAllFilesOrNone) {
  const TempFolder folder;
  folder.file("a.mtl", "old materials");
  folder.file("a.obj", "old");
  const auto saveBoth = [&](const std::string& second) {
    const std::string contents[] = {"new materials", "more", "new"};
    const jt::NewFile files[] = {{folder.at("a.mtl"), bytesOf(contents[0])},
                                 {folder.at("new.mtl"), bytesOf(contents[1])},
                                 {folder.at(second), bytesOf(contents[2])}};
    try {
      jt::saveFilesTogether(files);
    } catch (const JtFormatError& error) {
      return error.code();
    }
    return std::string();
  };
  fs::create_directory(folder.at("folder"));
  EXPECT_EQ(saveBoth("folder"), "unwritable");
  EXPECT_EQ(contentOf(folder.at("a.mtl")), "old materials");
  EXPECT_EQ(folder.names(), (Names{"a.mtl", "a.obj", "folder"}));
  EXPECT_EQ(saveBoth("a.obj"), "");
  EXPECT_EQ(contentOf(folder.at("a.mtl")) + contentOf(folder.at("a.obj")), "new materialsnew");
  EXPECT_EQ(folder.names(), (Names{"a.mtl", "a.obj", "folder", "new.mtl"}));
}

TEST(Save, KeepsOneWholeContentWhenManySaveAtOnce) {
  const TempFolder folder;
  const std::string path = folder.file("a.jt", "old");
  const auto content = [](int i) { return std::string(5 << 20, static_cast<char>('a' + i)); };
  std::vector<std::thread> threads;
  for (int i = 0; i < 3; ++i)
    threads.emplace_back([&, i] {
      const std::string text = content(i);
      for (int round = 0; round < 2; ++round) EXPECT_EQ(saveText(path, text), "");
    });
  for (std::thread& thread : threads) thread.join();
  const std::string found = contentOf(path);
  EXPECT_TRUE(found == content(found[0] - 'a'));
  EXPECT_EQ(folder.names(), Names{"a.jt"});
}

TEST(Save, OfManyAtOnceLosesNoneThatItReported) {
  const TempFolder folder;
  const std::string path = folder.file("a.jt", "");
  std::array<std::string, 4> reported;
  std::vector<std::thread> threads;
  for (std::string& mine : reported)
    threads.emplace_back([&mine, &path, name = 'a' + (&mine - reported.data())] {
      for (int round = 0; round < 100; ++round) {
        const auto image = openImage(path);
        const auto old = image->bytes();
        const std::string line = static_cast<char>(name) + std::to_string(round) + ' ';
        const jt::FilePiece pieces[] = {{old, image.get(), 0}, {bytesOf(line)}};
        try {
          save(path, pieces, {.readBack = false, .expected = image->identity()});
          mine += line;
        } catch (const JtFormatError& error) {
          EXPECT_EQ(error.code(), "changed_on_disk");
        }
      }
    });
  for (std::thread& thread : threads) thread.join();
  const std::string found = contentOf(path);
  for (const std::string& lines : reported) {
    std::string mine;
    std::istringstream words(found);
    for (std::string word; words >> word;)
      if (word[0] == lines[0]) mine += word + ' ';
    EXPECT_EQ(mine, lines);
  }
}

}  // namespace
