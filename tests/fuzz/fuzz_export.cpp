// An export: a file is opened, imported as a hierarchy of the toolkit, written in one file or in
// part files, in any version, with or without exact geometry, and opened again. Findings are also
// an export that cannot be opened, one with geometry that cannot be decoded, and files left beside
// it.
//
// The last byte of an input chooses the way; all of it is the file.

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "JtDrawing.h"
#include "JtkwComponentExportRoot.h"
#include "SegmentMutator.h"
#include "StartedLibrary.h"

namespace {

namespace fs = std::filesystem;

[[noreturn]] void report(const char* finding) {
  std::fprintf(stderr, "%s: %s\n", finding, jt::lastError().c_str());
  std::abort();
}

/// A folder in memory, where the system has one.
class Folder {
 public:
  Folder() {
    std::error_code ignored;
    const fs::path memory = "/dev/shm";
    path_ = (fs::is_directory(memory, ignored) ? memory : fs::temp_directory_path()) /
            ("fuzz-export-" + std::to_string(::getpid()));
    fs::create_directories(path_);
  }
  ~Folder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
  }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  std::string at(const char* name) const { return (path_ / name).string(); }
  void empty() const {
    for (const auto& entry : fs::directory_iterator(path_)) fs::remove_all(entry.path());
  }
  bool hasHiddenFiles() const {
    for (const auto& entry : fs::recursive_directory_iterator(path_))
      if (entry.path().filename().string().starts_with('.')) return true;
    return false;
  }

 private:
  fs::path path_;
};

jt::Ref<JtPartition> opened(const std::string& path, const jt::ReadLimits& limits) {
  JtPartition* raw = nullptr;
  JtPartition::openPartition(jt::make<JtFSStorageLocation>(JtString(), JtString(path)).get(),
                             nullptr, raw, limits);
  return jt::Ref<JtPartition>::adopt(raw);
}

/// Small graphs may have millions of paths; each takes its time and shows nothing new.
bool hasFewPaths(JtNode& top) {
  constexpr int kMost = 20'000;
  std::vector<JtNode*> open{&top};
  for (int paths = 0; !open.empty(); ++paths) {
    if (paths == kMost) return false;
    JtNode* node = open.back();
    open.pop_back();
    for (int i = 0; i < node->numChildren(); ++i)
      if (JtNode* child = node->child(i)) open.push_back(child);
  }
  return true;
}

void checkExport(const Folder& folder, bool inPartFiles) {
  if (folder.hasHiddenFiles()) report("a file is left beside the export");
  jt::Ref<JtPartition> top;
  try {
    top = opened(folder.at("out.jt"), {});
  } catch (const JtFormatError& error) {
    jt::setLastError(error.what());
    report("the export cannot be opened");
  }
  if (inPartFiles && !JtPartition::openAllPartitions(top.get(), true))
    report("a part file cannot be opened");
  jt::visitDrawnShapes(*top, {}, [](const jt::DrawnShape& drawn) {
    if (drawn.shape->takes() && drawn.shape->hasMesh() && !drawn.shape->mesh())
      report("geometry of the export cannot be decoded");
    return true;
  });
}

void exportFile(const Folder& folder, unsigned choice) {
  const jt::Ref<JtPartition> top = opened(folder.at("in.jt"), smallLimits());
  if (!hasFewPaths(*top)) return;
  JtkwComponentExportRoot root;
  root.initImporter();
  const bool isImported = root.importHierarchy(ApiKey(1), ApiKey(0), top.get());
  root.deleteImporter();
  if (!isImported) return;
  root.initializeJtkRoot(ApiKey(1), {}, folder.at("out.jt"));
  ApiApproxJtExportData wishes;
  wishes.setTargetJtFormat(static_cast<int>(choice % 2));
  wishes.setIncludeExactGeom(choice / 2 % 2 != 0);
  wishes.setJtVersion(choice / 4 % 4);
  if (root.write(wishes)) checkExport(folder, choice % 2 == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  startLibrary();
  static const Folder folder;
  folder.empty();
  std::ofstream(folder.at("in.jt"), std::ios::binary)
      .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  try {
    exportFile(folder, data[size - 1]);
  } catch (const JtFormatError&) {
    // Not a file that can be read.
  }
  return 0;
}

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t maxSize, unsigned seed) {
  const std::size_t changed = mutateSegment(data, size, maxSize, seed);
  if (changed > 0 && seed % 3 == 0) data[changed - 1] = static_cast<std::uint8_t>(seed / 3);
  return changed;
}
