#include "storage/AtomicFile.h"

#include <fcntl.h>
#include <sys/file.h>

#include <chrono>
#include <filesystem>
#include <iterator>
#include <list>
#include <optional>
#include <thread>

#include "JtSaveFiles.h"
#include "storage/Descriptor.h"
#include "storage/FileAttributes.h"
#include "storage/ReadBack.h"
#include "storage/SaveContent.h"
#include "storage/SaveErrors.h"
#include "storage/TemporaryFile.h"

namespace jt::storage {
namespace {

namespace fs = std::filesystem;

/// The real file behind a path, found once: all that follows goes by the descriptor of its folder.
struct Target {
  std::string path;
  std::string name;
  Descriptor folder;
  bool canSyncFolder = true;
  Descriptor file;                  ///< the old file; may be unset although there is one
  std::optional<struct stat> info;  ///< of the old file; nothing when there is none
};

/// Follows the links of the last component, also when they lead to a file that is not there yet.
std::string followLinks(const std::string& path, const SaveErrors& errors) {
  constexpr int kMostLinks = 40;
  fs::path place(path);
  for (int i = 0; i < kMostLinks; ++i) {
    std::error_code error;
    if (!fs::is_symlink(fs::symlink_status(place, error))) return place.string();
    const fs::path next = fs::read_symlink(place, error);
    if (error) errors.failed(error.value(), "following the link");
    place = next.is_absolute() ? next : place.parent_path() / next;
  }
  errors.failed(ELOOP, "following the link");
}

void openFolder(Target& target, const SaveErrors& errors) {
  const std::string folder = fs::path(target.path).parent_path().string();
  const char* name = folder.empty() ? "." : folder.c_str();
  const auto open = [&](int kind) {
    return Descriptor(uninterrupted([&] { return ::open(name, kind | O_DIRECTORY | O_CLOEXEC); }));
  };
  target.folder = open(O_RDONLY);
  if (!target.folder && errno == EACCES) {
    // A folder that one may write to but not list.
    target.folder = open(O_PATH);
    target.canSyncFolder = false;
  }
  if (!target.folder) errors.failed(errno, "opening the folder of the file");
}

std::optional<struct stat> look(const Target& target, const SaveErrors& errors) {
  struct stat info {};
  if (::fstatat(target.folder.get(), target.name.c_str(), &info, AT_SYMLINK_NOFOLLOW) == 0)
    return info;
  if (errno != ENOENT) errors.failed(errno, "looking at the old file");
  return std::nullopt;
}

void requireReplaceable(const Target& target, const SaveErrors& errors) {
  if (!S_ISREG(target.info->st_mode))
    errors.raise("unwritable", std::string("a file was expected, but this is ") +
                                   kindText(target.info->st_mode) + "; save elsewhere");
  // For the superuser every file is accessible, so the mode is looked at as well.
  const bool writable =
      (target.info->st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) != 0 &&
      ::faccessat(target.folder.get(), target.name.c_str(), W_OK, AT_EACCESS) == 0;
  if (!writable)
    errors.raise("read_only", "the file is read-only; make it writable, or save elsewhere");
}

/// @param now what is in the place of the target
void requireUnchanged(const std::optional<struct stat>& now, const StorageSaveOptions& options,
                      const SaveErrors& errors) {
  if (now && options.createOnly)
    errors.raise("exists", "there is a file of that name; nothing was replaced");
  if (!options.expected || (now && identityOf(*now) == *options.expected)) return;
  errors.raise("changed_on_disk",
               std::string(now ? "another program changed the file since it was opened"
                               : "the file was opened, but is no longer there") +
                   "; nothing was replaced; open it again, or save elsewhere");
}

Descriptor openOldFile(const Target& target, int access = O_RDONLY) {
  const int flags = access | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
  return Descriptor(
      uninterrupted([&] { return ::openat(target.folder.get(), target.name.c_str(), flags); }));
}

Target examine(const std::string& path, const StorageSaveOptions& options,
               const SaveErrors& errors) {
  Target target;
  target.path = followLinks(path, errors);
  target.name = fs::path(target.path).filename().string();
  if (target.name.empty() || target.name == "." || target.name == "..")
    errors.raise("unwritable", "the path names a folder, but a file was expected");
  openFolder(target, errors);
  target.info = look(target, errors);
  if (target.info) {
    requireReplaceable(target, errors);
    target.file = openOldFile(target);
  }
  requireUnchanged(target.info, options, errors);
  return target;
}

/// Waits until nobody else holds the lock on a file. False, with the reason in errno, where it
/// cannot be locked.
bool waitForLock(const Descriptor& file, const SaveErrors& errors) {
  using namespace std::chrono_literals;
  constexpr auto kMostWaiting = 10s;  // others hold it for a rename
  const auto end = std::chrono::steady_clock::now() + kMostWaiting;
  while (uninterrupted([&] { return ::flock(file.get(), LOCK_EX | LOCK_NB); }) != 0) {
    if (errno != EWOULDBLOCK) return false;
    if (std::chrono::steady_clock::now() > end)
      errors.raise("unwritable", "another program keeps the file locked; close it there");
    std::this_thread::sleep_for(2ms);
  }
  return true;
}

/// Locks the old file. Where there are no locks the save goes on without.
void lockOldFile(Target& target, const SaveErrors& errors) {
  if (!target.file || waitForLock(target.file, errors) || errno != EBADF) return;
  // Network file systems lock only what is open for writing.
  Descriptor writable = openOldFile(target, O_WRONLY);
  if (!writable) return;
  target.file = std::move(writable);
  waitForLock(target.file, errors);
}

/// Locks the file that is to be replaced, so that nobody else replaces it between the last look at
/// it and the rename. Of two saves over the same file the later one finds another file there.
void lockTarget(Target& target, const StorageSaveOptions& options, const SaveErrors& errors) {
  constexpr int kMostTries = 1000;
  for (int i = 0; i < kMostTries; ++i) {
    lockOldFile(target, errors);
    const std::optional<struct stat> now = look(target, errors);
    requireUnchanged(now, options, errors);
    struct stat locked {};
    if (!now || !target.file || ::fstat(target.file.get(), &locked) != 0) return;
    if (locked.st_dev == now->st_dev && locked.st_ino == now->st_ino) return;
    target.file = openOldFile(target);
  }
  errors.raise("write_failed", "other programs replace the file all the time; try again");
}

void copyAttributesOf(const Target& target, int file, const StorageSaveOptions& options,
                      const SaveErrors& errors, StorageSaveResult& result) {
  const std::vector<std::string> missed =
      target.info ? copyAttributes(target.file.get(), *target.info, file)
                  : applyCreationMode(target.folder.get(), file);
  if (missed.empty()) return;
  std::string message = "the new file lacks attributes of the old one";
  for (const std::string& one : missed) message += "; " + one;
  if (options.strictAttributes) errors.raise("attributes_not_copied", message);
  result.warnings.push_back({"attributes_not_copied", std::move(message)});
}

/// Fills the new file and returns once its bytes are on the medium and compared.
void fill(int file, const Target& target, const SaveContent& content,
          const StorageSaveOptions& options, const SaveErrors& errors, StorageSaveResult& result) {
  std::optional<ReadBack> readBack;
  if (options.readBack) readBack.emplace(file, content, errors);
  writeContent(file, content, errors, [&](std::uint64_t position) {
    if (readBack) readBack->reached(position);
  });
  copyAttributesOf(target, file, options, errors, result);
  // Never tried again: after a failure the system may have dropped what it could not write, and a
  // second call would succeed without it.
  if (::fsync(file) != 0) errors.failed(errno, "bringing the new file to the medium");
  if (readBack) readBack->finish();
}

/// The warnings that a save may end with. They are made before the file is replaced: afterwards
/// nothing may fail, and making a text can.
struct FinalWarnings {
  FinalWarnings(const Target& target, StorageSaveResult& result) {
    notDurable = {"saved_not_durable",
                  std::string("saved, but a power cut soon may bring back the old file: ") +
                      (target.canSyncFolder ? "the folder could not be brought to the medium"
                                            : "the folder may not be read")};
    if (target.info && target.info->st_nlink > 1)
      linksBroken = {"links_broken", "the file had " + std::to_string(target.info->st_nlink) +
                                         " names (hard links); the others keep the old content"};
    result.warnings.reserve(result.warnings.size() + 2);
  }

  Diagnostic notDurable;
  std::optional<Diagnostic> linksBroken;
};

void checkSources(std::span<const FilePiece> pieces) {
  const FileImage* last = nullptr;
  for (const FilePiece& piece : pieces) {
    if (piece.source && piece.source != last) piece.source->checkPresent();
    last = piece.source;
  }
}

/// A save up to the point where the new file is whole, beside the old one.
class PreparedSave {
 public:
  PreparedSave(const std::string& path, std::span<const FilePiece> pieces,
               const StorageSaveOptions& options)
      : content_(pieces),
        errors_(path, content_.size()),
        options_(options),
        target_(examine(path, options_, errors_)) {
    checkSources(pieces);
    TemporaryFile::removeAbandoned(target_.folder.get());
    temporary_.emplace(target_.folder.get(), target_.name, errors_);
    fill(temporary_->descriptor(), target_, content_, options_, errors_, result_);
    checkSources(pieces);  // what was encoded from them may be of changed bytes as well
    temporary_->close();
    warnings_.emplace(target_, result_);
  }

  /// Puts the new file in its place. @param keepsOld until `finish`, for `undo`
  void replace(bool keepsOld) {
    lockTarget(target_, options_, errors_);
    temporary_->moveTo(target_.name, options_.createOnly, keepsOld);
    target_.file.close();  // and with it the lock
  }
  /// Nothing is thrown any more.
  StorageSaveResult finish() noexcept {
    result_.identity = temporary_->identity();
    temporary_.reset();  // and with it an old file that was kept
    if (!target_.canSyncFolder || ::fsync(target_.folder.get()) != 0)
      result_.warnings.push_back(std::move(warnings_->notDurable));
    if (warnings_->linksBroken) result_.warnings.push_back(std::move(*warnings_->linksBroken));
    return std::move(result_);
  }
  void undo() noexcept { temporary_->moveBack(target_.name); }

 private:
  const SaveContent content_;
  const SaveErrors errors_;
  const StorageSaveOptions options_;
  Target target_;
  StorageSaveResult result_;
  std::optional<TemporaryFile> temporary_;
  std::optional<FinalWarnings> warnings_;
};

}  // namespace

StorageSaveResult saveFile(const std::string& path, std::span<const FilePiece> pieces,
                           const StorageSaveOptions& options) {
  PreparedSave save(path, pieces, options);
  save.replace(false);
  return save.finish();
}

}  // namespace jt::storage

std::vector<jt::StorageSaveResult> jt::saveFilesTogether(std::span<const NewFile> files) {
  std::list<storage::PreparedSave> saves;
  for (const NewFile& file : files) {
    const FilePiece piece{.bytes = file.content};
    saves.emplace_back(file.path, std::span(&piece, 1), StorageSaveOptions{});
  }
  std::vector<StorageSaveResult> results;
  results.reserve(saves.size());
  std::size_t replaced = 0;
  try {
    for (storage::PreparedSave& save : saves) {
      save.replace(true);
      ++replaced;
    }
  } catch (...) {
    for (auto save = std::next(saves.begin(), static_cast<std::ptrdiff_t>(replaced));
         save != saves.begin();)
      (--save)->undo();
    throw;
  }
  for (storage::PreparedSave& save : saves) results.push_back(save.finish());
  return results;
}
