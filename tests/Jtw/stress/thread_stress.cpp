// What may run at the same time, for some seconds: 16 threads that read opened files, several that
// save files of their own, and on the main thread a component that is opened, edited and saved
// again and again. Meant for the thread sanitizer; without it a crash or a wrong content is the
// finding. usage: thread_stress [SECONDS]     2 seconds, 600 with JTW_LONG_TESTS in the environment

#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

#include "ApiDocument.h"
#include "ApiDocumentRef.h"
#include "JtwEntity.h"
#include "JtwManager.h"
#include "JtwTree.h"
#include "support/GoldenFiles.h"
#include "support/Survival.h"

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

std::atomic<bool> isOver = false;
std::atomic<std::size_t> reads = 0;
std::atomic<std::size_t> saves = 0;

void require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "%s: %s\n", what, jt::lastError().c_str());
  std::_Exit(1);
}

jt::Ref<JtPartition> opened(const fs::path& path) {
  const auto place = jt::make<JtFSStorageLocation>("", JtString(path.string()));
  JtPartition* raw = nullptr;
  JtPartition::openPartition(place.get(), nullptr, raw);
  jt::Ref<JtPartition> partition(raw);
  raw->unref();
  return partition;
}

void readAll(const std::vector<jt::Ref<JtPartition>>& files, std::size_t from) {
  while (!isOver) {
    JtPartition& file = *files[from++ % files.size()];
    loadEverything(file);
    jt::summarizeGraph(file);
    SceneText::of(file);
    ++reads;
  }
}

void saveAgain(const fs::path& path, int number) {
  while (!isOver) {
    const auto file = opened(path);
    file->addProperty(jt::make<JtStringPropAtom>(JtString("count")).get(),
                      jt::make<JtInt32PropAtom>(++number).get(), true);
    jt::SaveOptions options;
    if (number % 3 == 0)
      options.version = number % 2 == 0 ? jt::FileVersion{10, 0} : jt::FileVersion{9, 5};
    file->save(jt::make<JtFSStorageLocation>("", JtString(path.string())).get(), options);
    const auto again = opened(path);
    const auto* atom = jt::as<JtInt32PropAtom>(again->property(JtString("count")));
    require(atom && atom->value() == number, "a save is lost");
    ++saves;
  }
}

/// The component layer belongs to the main thread.
void editComponent(const fs::path& folder, Clock::time_point end) {
  JtwManager& registry = JtwManager::the();
  fs::create_directory(folder);
  const ApiDocumentRef document(std::make_shared<ApiDocument>(folder.string()));
  JtwRoot* root = registry.computeNewDocRoot(document);
  require(root, "no component is made");
  root->setKey(ApiProtoKey(1));
  for (long key = 2; Clock::now() < end; ++key) {
    require(root->createEntityNode(ApiProtoKey(key), ApiProtoKey(1), RTTran3D::unit),
            "no entity is made");
    if (key > 40) root->deleteNode(ApiProtoKey(key - 30));
    require(root->write(false), "the component is not saved");
    registry.releaseRoot(document);
    auto error = JtwRoot::JT_PATH_NOT_FOUND;
    root = registry.computeExistingDocRoot(document, JtwRoot::JT_LOAD_WITH_UNIT_PROPERTY, error);
    require(root && jtw::loadWrappers(*root), "the component is not opened");
    JtwNode* node = nullptr;
    require(root->getNodeByKey(ApiProtoKey(key), node) && node, "an entity is lost");
    ++saves;
  }
  registry.releaseAllRoots();
}

}  // namespace

int main(int count, char** arguments) {
  const int seconds = count > 1 ? std::atoi(arguments[1]) : std::getenv("JTW_LONG_TESTS") ? 600 : 2;
  JtwManager::init();
  std::string folder = (fs::temp_directory_path() / "jtw-stress-XXXXXX").string();
  require(mkdtemp(folder.data()), "no folder is made");
  std::vector<fs::path> paths;
  for (const GoldenFile& golden : goldenFiles()) {
    paths.push_back(fs::path(folder) / std::to_string(paths.size()).append(".jt"));
    std::ofstream(paths.back(), std::ios::binary)
        .write(reinterpret_cast<const char*>(golden.bytes.data()),
               static_cast<std::streamsize>(golden.bytes.size()));
  }
  {
    std::vector<jt::Ref<JtPartition>> files;
    for (const fs::path& path : paths) files.push_back(opened(path));
    std::vector<std::jthread> threads;
    for (std::size_t i = 0; i < 16; ++i) threads.emplace_back([&, i] { readAll(files, i); });
    for (const std::size_t saved : {1U, 3U, 8U}) {
      const fs::path copy = fs::path(folder) / "copy" / std::to_string(saved).append(".jt");
      fs::create_directories(copy.parent_path());
      fs::copy_file(paths[saved], copy);
      threads.emplace_back([copy, saved] { saveAgain(copy, static_cast<int>(saved)); });
    }
    editComponent(fs::path(folder) / "gear.kpak", Clock::now() + std::chrono::seconds(seconds));
    isOver = true;
  }
  JtwManager::fini();
  fs::remove_all(folder);
  std::printf("%d s: 16 readers, %zu reads of files, %zu saves beside them\n", seconds,
              reads.load(), saves.load());
  return reads > 0 && saves > 0 ? 0 : 1;
}
