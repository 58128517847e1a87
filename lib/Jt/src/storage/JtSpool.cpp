// The folder of a spool: named as temporary files are, and locked for as long as its process lives.
// What a killed process left is removed by the next save in that place.

#include "JtSpool.h"

#include <fcntl.h>
#include <sys/file.h>

#include <filesystem>
#include <list>

#include "JtFormatError.h"
#include "JtSourceFile.h"
#include "JtTemporaryPath.h"
#include "storage/Descriptor.h"
#include "storage/OpenWithoutShapes.h"
#include "storage/SaveErrors.h"
#include "storage/TemporaryFile.h"

namespace fs = std::filesystem;

namespace jt {
namespace {

std::string nameOf(const std::string& target) { return fs::path(target).filename().string(); }

fs::path folderOf(const std::string& target) {
  const fs::path folder = fs::path(target).parent_path();
  return folder.empty() ? fs::path(".") : folder;
}

constexpr int kOpenFolder = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

storage::Descriptor openFolder(const fs::path& path) {
  return storage::Descriptor(
      storage::uninterrupted([&] { return ::open(path.c_str(), kOpenFolder); }));
}

}  // namespace

class Spool::Folder {
 public:
  explicit Folder(const std::string& target) {
    if (const storage::Descriptor folder = openFolder(folderOf(target)))
      storage::TemporaryFile::removeAbandoned(folder.get());
    constexpr int kAttempts = 16;
    std::error_code error;
    for (int attempt = 0; attempt < kAttempts && path_.path().empty() && !error; ++attempt) {
      const fs::path path = folderOf(target) / newTemporaryName(nameOf(target));
      if (fs::create_directory(path, error)) path_.set(path.string(), TemporaryPath::Kind::folder);
    }
    if (path_.path().empty())
      storage::SaveErrors(target, 0).failed(error ? error.value() : EEXIST,
                                            "making a folder in the same folder");
    lock_ = openFolder(path_.path());
    if (lock_) ::flock(lock_.get(), LOCK_EX | LOCK_NB);
  }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  const std::string& nextPlace() {
    return files_.emplace_back(path_.path() + "/" + std::to_string(files_.size()) + ".jt").path();
  }

 private:
  TemporaryPath path_;
  std::list<TemporaryPath> files_;  // ends before the folder
  storage::Descriptor lock_;
};

Spool::Spool(const JtFSStorageLocation& target) : target_(target.fullFilePath()) {}
Spool::~Spool() = default;

Ref<JtPartition> Spool::store(JtPartition& content, const SaveOptions& options,
                              SaveReport& report) {
  if (!folder_) folder_ = std::make_unique<Folder>(target_);
  const auto place = make<JtFSStorageLocation>(folder_->nextPlace());
  SaveOptions spooled = options;
  spooled.partFiles = false;
  spooled.storage.readBack = false;  // the file that is made of it is read back
  report = content.save(place.get(), spooled);
  Ref<JtPartition> opened = storage::openWithoutShapes(*place);
  // Around each page that is looked at the system maps many others.
  if (const FileImage* image = fileOf(*opened)) image->releasePages();
  return opened;
}

}  // namespace jt
