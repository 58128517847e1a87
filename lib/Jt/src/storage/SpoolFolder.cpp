// The folder of a spool. It is locked for as long as its process lives.

#include <fcntl.h>
#include <sys/file.h>

#include <filesystem>
#include <random>
#include <string_view>

#include "JtFormatError.h"
#include "JtSourceFile.h"
#include "JtSpool.h"
#include "storage/Descriptor.h"
#include "storage/SaveErrors.h"

namespace fs = std::filesystem;

namespace jt {
namespace {

constexpr std::string_view kMark = ".jtw-spool-";

std::string nameOf(const std::string& target) { return fs::path(target).filename().string(); }

fs::path folderOf(const std::string& target) {
  const fs::path folder = fs::path(target).parent_path();
  return folder.empty() ? fs::path(".") : folder;
}

storage::Descriptor lock(const fs::path& folder) {
  storage::Descriptor opened(storage::uninterrupted(
      [&] { return ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC); }));
  if (opened && ::flock(opened.get(), LOCK_EX | LOCK_NB) != 0) opened.close();
  return opened;
}

/// What cannot be removed stays: tidying up is not worth failing an export.
void removeAbandoned(const std::string& target) {
  const std::string prefix = "." + nameOf(target) + std::string(kMark);
  std::error_code error;
  for (fs::directory_iterator entry(folderOf(target), error), end; !error && entry != end;
       entry.increment(error)) {
    if (!entry->path().filename().string().starts_with(prefix)) continue;
    if (lock(entry->path())) {
      std::error_code ignored;
      fs::remove_all(entry->path(), ignored);
    }
  }
}

}  // namespace

class Spool::Folder {
 public:
  explicit Folder(const std::string& target) {
    removeAbandoned(target);
    std::random_device device;
    constexpr int kAttempts = 16;
    std::error_code error;
    bool isMade = false;
    for (int attempt = 0; attempt < kAttempts && !isMade && !error; ++attempt) {
      path_ =
          folderOf(target) / ("." + nameOf(target) + std::string(kMark) + std::to_string(device()));
      isMade = fs::create_directory(path_, error);
    }
    if (!isMade)
      storage::SaveErrors(target, 0).failed(error ? error.value() : EEXIST,
                                            "making a folder in the same folder");
    lock_ = lock(path_);
  }
  /// Removes the files by their names, and tries twice: a folder that cannot be listed is no reason
  /// to leave it.
  ~Folder() {
    std::error_code error;
    for (int attempt = 0; attempt < 2; ++attempt) {
      for (std::uint64_t number = 0; number < count_; ++number) fs::remove(place(number), error);
      if (fs::remove(path_, error)) return;
    }
    fs::remove_all(path_, error);
  }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  std::string nextPlace() { return place(count_++); }

 private:
  std::string place(std::uint64_t number) const {
    return (path_ / (std::to_string(number) + ".jt")).string();
  }
  fs::path path_;
  std::uint64_t count_ = 0;
  storage::Descriptor lock_;
};

Spool::Spool(const JtFSStorageLocation& target) : target_(target.fullFilePath()) {}
Spool::~Spool() = default;

Ref<JtPartition> Spool::store(JtPartition& content, const SaveOptions& options,
                              SaveReport& report) {
  if (!folder_) folder_ = std::make_unique<Folder>(target_);
  const auto place = make<JtFSStorageLocation>(JtString(), JtString(folder_->nextPlace()));
  SaveOptions spooled = options;
  spooled.partFiles = false;
  spooled.storage.readBack = false;  // the file that is made of it is read back
  report = content.save(place.get(), spooled);
  const bool loadsAhead = std::exchange(JtPartition::_autoLoadShapes, false);
  JtPartition* opened = nullptr;
  try {
    JtPartition::openPartition(place.get(), nullptr, opened);
  } catch (...) {
    JtPartition::_autoLoadShapes = loadsAhead;
    throw;
  }
  JtPartition::_autoLoadShapes = loadsAhead;
  // Around each page that is looked at the system maps many others.
  if (const FileImage* image = fileOf(*opened)) releasePages(*image);
  return Ref<JtPartition>::adopt(opened);
}

}  // namespace jt
