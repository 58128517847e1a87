// Commands of the program while allocations fail, at every place, once and from then on: an error,
// no crash, nothing leaked, no file half changed.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "../Host/TempFolder.h"
#include "AllocationFaults.h"
#include "ApiDocument.h"
#include "AssemblyFiles.h"
#include "JtwEntity.h"
#include "JtwManager.h"
#include "JtwTransaction.h"
#include "JtwTree.h"
#include "Session.h"

#if defined(__SANITIZE_ADDRESS__)
extern "C" int __lsan_do_recoverable_leak_check();
#endif

namespace {

namespace fs = std::filesystem;
using Words = std::vector<const char*>;
using Files = std::map<std::string, std::string>;

constexpr int kLeaked = 99;

struct Trial {
  int status = 0;
  std::size_t allocations = 0;
  std::string out;
  std::string err;
  Files files;

  int exit() const { return WIFEXITED(status) ? WEXITSTATUS(status) : -1; }
};

/// A folder with a component and an assembly; the tests run in it.
class AllocationFaults : public testing::TestWithParam<Words> {
 protected:
  AllocationFaults() {
    folder_.folder("io");
    folder_.folder("work");
    cli::AssemblyFiles{.cells = 1, .partsPerCell = 2}.write(folder_.at("work/in"));
    for (const Words& words :
         {Words{"new", "gear.jt"}, Words{"add", "gear.jt", "block", "--key", "2"},
          Words{"add", "gear.jt", "frame", "--key", "3", "--parent", "2", "--name", "Tip"}})
      EXPECT_EQ(run(words, faults::kNever, false).exit(), 0);
    before_ = files();
  }

  Files files() const {
    Files found;
    for (const auto& entry : fs::recursive_directory_iterator(folder_.at("work")))
      if (entry.is_regular_file())
        found[fs::relative(entry.path(), folder_.at("work")).string()] =
            contentOf(entry.path().string());
    return found;
  }

  void restore() const {
    fs::remove_all(folder_.at("work"));
    for (const auto& [name, content] : before_) folder_.file("work/" + name, content);
  }

  Trial run(const Words& words, std::size_t place, bool forever) const {
    const pid_t child = ::fork();
    if (child == 0) runHere(words, place, forever);
    Trial result;
    EXPECT_EQ(::waitpid(child, &result.status, 0), child);
    result.out = contentOf(folder_.at("io/out"));
    result.err = contentOf(folder_.at("io/err"));
    result.allocations = std::strtoul(contentOf(folder_.at("io/count")).c_str(), nullptr, 10);
    result.files = files();
    return result;
  }

  TempFolder folder_;
  Files before_;

  /// Names of files that are not as the exit code says. Ids in new files are random.
  std::string wrongFiles(const Trial& trial, const Trial& whole) const {
    std::string names;
    for (const auto& [name, content] : trial.files) {
      const auto old = before_.find(name);
      const auto fresh = whole.files.find(name);
      const bool isOld = old != before_.end() && old->second == content;
      const bool isNew = fresh != whole.files.end() &&
                         (old == before_.end() || fresh->second == content) && !content.empty();
      // Code 4 may come after the save, and says so.
      // Code 1: an export has left out geometry that it had no memory for.
      const bool wasSaved = trial.exit() <= 1 ||
                            (trial.exit() == 4 && trial.err.find("save is done") != trial.err.npos);
      if (wasSaved ? !isNew : !isOld) names += " " + name;
    }
    for (const auto& [name, content] : before_)
      if (!trial.files.contains(name)) names += " -" + name;
    return names;
  }

 private:
  [[noreturn]] void runHere(const Words& words, std::size_t place, bool forever) const {
    const auto redirect = [this](const char* name, int number) {
      ::dup2(
          ::open(folder_.at(std::string("io/") + name).c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600),
          number);
    };
    redirect("out", STDOUT_FILENO);
    redirect("err", STDERR_FILENO);
    if (::chdir(folder_.at("work").c_str()) != 0) ::_exit(kLeaked);
    faults::begin(place, forever);
    int exit = tool::runProgram(words);
    const std::size_t count = faults::end();
#if defined(__SANITIZE_ADDRESS__)
    if (__lsan_do_recoverable_leak_check() != 0) exit = kLeaked;
#endif
    folder_.file("io/count", std::to_string(count));
    ::_exit(exit);
  }
};

TEST_P(AllocationFaults, EndInAnErrorAndKeepFilesWhole) {
  const bool isLong = std::getenv("JTW_LONG_TESTS") != nullptr;
  constexpr std::size_t kSamples = 40;
  const Trial whole = run(GetParam(), faults::kNever, false);
  ASSERT_EQ(whole.exit(), 0) << whole.err;
  ASSERT_GT(whole.allocations, 0U);
  const std::size_t step = isLong ? 1 : std::max<std::size_t>(1, whole.allocations / kSamples);
  int crashes = 0;
  for (const bool forever : {true, false})
    for (std::size_t place = 0; place < whole.allocations; place += step) {
      restore();
      const Trial broken = run(GetParam(), place, forever);
      SCOPED_TRACE("allocation " + std::to_string(place) + " of " +
                   std::to_string(whole.allocations) + (forever ? " and all after it: " : ": ") +
                   broken.err);
      if (broken.exit() < 0) ++crashes;
      EXPECT_NE(broken.exit(), kLeaked);
      EXPECT_EQ(wrongFiles(broken, whole), "") << "exit " << broken.exit();
      EXPECT_TRUE(broken.exit() != 0 || broken.out == whole.out) << broken.out;
    }
  EXPECT_EQ(crashes, 0);
}

INSTANTIATE_TEST_SUITE_P(
    Commands, AllocationFaults,
    testing::Values(Words{"tree", "gear.jt"}, Words{"tree", "in/hall.jt", "--json"},
                    Words{"verify", "gear.jt", "in/hall.jt"},
                    Words{"set", "gear.jt", "3", "name=Point", "color=#102030"},
                    Words{"add", "gear.jt", "annotation", "--type", "Note", "--text", "left"},
                    Words{"copy", "in/cell0/cell.jt", "copy.jt", "--version", "10.2"},
                    Words{"export", "in/hall.jt", "out.jt", "--per-part"},
                    Words{"export", "in/hall.jt", "out.jt", "--monolithic"}));

/// Edits that fail anywhere, in a transaction that is left then.
TEST(TransactionFaults, LeaveTheComponentAsItWas) {
  JtwManager::init();
  const ApiDocumentRef document(
      std::make_shared<ApiDocument>((fs::temp_directory_path() / "faults.kpak").string()));
  JtwRoot& root = *JtwManager::the().computeNewDocRoot(document);
  const auto key = [](long value) { return ApiProtoKey(value); };
  const auto at = [](double x) { return RTTran3D::fromTranslation({x, 2 * x, 7}); };
  root.setKey(key(1));
  root.createBlockNode(key(2), key(1), at(1));
  root.createEntityNode(key(3), key(2), at(2));
  root.createFrameNode(key(4), key(2), at(3));
  const auto state = [&root] {
    EXPECT_TRUE(jtw::loadWrappers(root));
    std::ostringstream text;
    for (const auto& [node, depth] : jtw::tree(root, root))
      text << depth << ' ' << node->key().getAsLong() << ' ' << node->absLoc().getTranslation().x
           << ' ' << node->attributes() << ' ' << node->jtNode()->numAttributes() << ' '
           << node->jtNode()->numProperties() << ' ' << node->jtNode()->numParents() << '\n';
    return text.str();
  };
  const auto edit = [&](bool isKept) {
    try {
      JtwTransaction transaction(root);
      if (!transaction.begin()) return;
      JtwNode* node = nullptr;
      root.getNodeByKey(key(3), node);
      node->setAttributes("changed");
      node->setColor(ApiGraColor(1, 2, 3), true, false);
      root.createLinkNode(key(5), key(1), at(4));
      root.cloneEntityNode(key(3), true);
      node->setParent(key(5));
      root.createFrameNode(key(6), key(5), at(5));
      root.deleteNode(key(2));
      if (isKept) transaction.commit();
    } catch (const std::bad_alloc&) {
    }
  };
  JtwTransaction(root).begin();  // stores the frame
  const std::string before = state();
  faults::begin(faults::kNever, false);
  edit(false);
  const std::size_t whole = faults::end();
  ASSERT_EQ(state(), before);
  for (const bool forever : {true, false})
    for (std::size_t place = 0; place < whole; ++place) {
      faults::begin(place, forever);
      edit(forever);
      faults::end();
      ASSERT_EQ(state(), before) << place << ' ' << forever;
    }
  JtwManager::the().releaseAllRoots();
}

}  // namespace
