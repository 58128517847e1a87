#include "storage/TemporaryFile.h"

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>

#include <charconv>
#include <cstdio>
#include <ctime>
#include <functional>
#include <memory>
#include <optional>
#include <string_view>

#include "HostRandom.h"

namespace jt::storage {
namespace {

constexpr std::string_view kMark = ".jtw-";
constexpr std::string_view kEnd = ".tmp";
/// Longest part of the target's name that leaves room for mark, numbers and end.
constexpr std::size_t kMaxStem = 180;
constexpr std::time_t kIdleSeconds = 60;
constexpr int kAttempts = 16;

struct CloseEntries {
  void operator()(DIR* entries) const noexcept { ::closedir(entries); }
};
using Entries = std::unique_ptr<DIR, CloseEntries>;

std::string hexText(std::uint64_t value) {
  char text[16];
  char* const end = std::to_chars(text, text + sizeof text, value, 16).ptr;
  return {text, end};
}

/// The process in a temporary file's name; nothing when the name is of another form.
std::optional<pid_t> makerOf(std::string_view name) {
  const std::size_t mark = name.rfind(kMark);
  if (!name.starts_with('.') || !name.ends_with(kEnd) || mark == name.npos) return std::nullopt;
  name.remove_suffix(kEnd.size());
  const char* const end = name.data() + name.size();
  pid_t maker = 0;
  const auto [dash, bad] =
      std::from_chars(std::min(name.data() + mark + kMark.size(), end), end, maker);
  if (bad != std::errc{} || maker <= 0 || dash == end || *dash != '-') return std::nullopt;
  std::uint64_t number = 0;
  const auto [stop, badNumber] = std::from_chars(dash + 1, end, number, 16);
  if (badNumber != std::errc{} || stop != end) return std::nullopt;
  return maker;
}

/// Nobody writes the file any more. Its maker holds a lock on it, which covers makers on other
/// machines and in other containers too; where there are no locks the process number decides. A
/// number is taken again, always so in containers: a free lock on a file that has been idle for a
/// while shows that its process is another one.
bool isAbandoned(int folder, const char* name, pid_t maker) {
  const bool runs = ::kill(maker, 0) == 0 || errno != ESRCH;
  const int flags = O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
  Descriptor file(uninterrupted([&] { return ::openat(folder, name, O_RDWR | flags); }));
  if (!file && errno == EISDIR)
    file = Descriptor(uninterrupted([&] { return ::openat(folder, name, O_RDONLY | flags); }));
  if (!file) return !runs && errno == EACCES;
  struct stat info {};
  if (::fstat(file.get(), &info) != 0 || !(S_ISREG(info.st_mode) || S_ISDIR(info.st_mode)))
    return false;
  const bool locked = ::flock(file.get(), LOCK_EX | LOCK_NB) == 0;
  if (!locked && errno == EWOULDBLOCK) return false;
  return !runs || (locked && std::time(nullptr) - info.st_mtim.tv_sec > kIdleSeconds);
}

/// A folder of a spool, with files only.
void removeFolder(int folder, const char* name) {
  const int flags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
  Descriptor opened(uninterrupted([&] { return ::openat(folder, name, flags); }));
  const Entries entries(opened ? ::fdopendir(opened.get()) : nullptr);
  if (!entries) return;
  const int inside = opened.release();
  while (const dirent* entry = ::readdir(entries.get()))
    if (entry->d_name[0] != '.' || makerOf(entry->d_name)) ::unlinkat(inside, entry->d_name, 0);
  ::unlinkat(folder, name, AT_REMOVEDIR);
}

}  // namespace
}  // namespace jt::storage

std::string jt::newTemporaryName(const std::string& file) {
  using namespace storage;
  std::string stem = file;
  if (stem.size() > kMaxStem)
    stem = stem.substr(0, kMaxStem) + '~' + hexText(std::hash<std::string>{}(file));
  const auto bits = host::randomBits();
  const std::uint64_t number = (std::uint64_t{bits[0]} << 32) | bits[1];
  return "." + stem + std::string(kMark) + std::to_string(::getpid()) + '-' + hexText(number) +
         std::string(kEnd);
}

namespace jt::storage {

TemporaryFile::TemporaryFile(int folder, const std::string& target, const SaveErrors& errors)
    : folder_(folder), errors_(errors) {
  const int flags = O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
  for (int attempt = 0; !file_; ++attempt) {
    std::string name = newTemporaryName(target);
    file_ = Descriptor(
        uninterrupted([&] { return ::openat(folder_, name.c_str(), flags, S_IRUSR | S_IWUSR); }));
    if (file_)
      name_.emplace(folder_, std::move(name));
    else if (errno != EEXIST || attempt == kAttempts)
      errors_.failed(errno, "creating a file in the same folder");
  }
  ::flock(file_.get(), LOCK_EX | LOCK_NB);
}

void TemporaryFile::close() {
  struct stat info {};
  if (::fstat(file_.get(), &info) != 0) errors_.failed(errno, "looking at the new file");
  identity_ = identityOf(info);
  if (const int error = file_.close()) errors_.failed(error, "closing the new file");
}

int TemporaryFile::rename(const std::string& target, unsigned flags) const noexcept {
  return uninterrupted(
      [&] { return ::renameat2(folder_, name_->path().c_str(), folder_, target.c_str(), flags); });
}

void TemporaryFile::moveTo(const std::string& target, bool createOnly, bool keepsOld) {
  const auto look = [&](struct stat& info) {
    return ::fstatat(folder_, target.c_str(), &info, AT_SYMLINK_NOFOLLOW) == 0;
  };
  struct stat info {};
  const bool hasOld = keepsOld && look(info);
  if (hasOld && !createOnly && rename(target, RENAME_EXCHANGE) == 0) {
    move_ = Move::exchanged;
    return;
  }
  int result = rename(target, createOnly ? RENAME_NOREPLACE : 0);
  int error = errno;
  if (result != 0 && createOnly && (error == EINVAL || error == ENOSYS)) {
    // This file system cannot rename without replacing, so check first.
    error = EEXIST;
    if (!look(info)) {
      result = rename(target, 0);
      error = errno;
    }
  }
  // Network file systems can report a failure for a rename that was done.
  if (result != 0 && !(look(info) && identityOf(info) == identity_)) {
    if (createOnly && error == EEXIST)
      errors_.raise("exists", "another program made a file of that name; nothing was replaced");
    errors_.failed(error, "replacing the old file");
  }
  move_ = hasOld ? Move::replaced : Move::made;
  name_->keep();
}

void TemporaryFile::moveBack(const std::string& target) noexcept {
  if (move_ == Move::exchanged) rename(target, RENAME_EXCHANGE);
  if (move_ == Move::made) ::unlinkat(folder_, target.c_str(), 0);
  move_ = Move::none;
}

void TemporaryFile::removeAbandoned(int folder) noexcept try {
  Descriptor listed(
      uninterrupted([&] { return ::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
  if (!listed) return;
  const Entries entries(::fdopendir(listed.get()));
  if (!entries) return;
  listed.release();
  while (const dirent* entry = ::readdir(entries.get())) {
    const std::optional<pid_t> maker = makerOf(entry->d_name);
    if (!maker || !isAbandoned(folder, entry->d_name, *maker)) continue;
    if (::unlinkat(folder, entry->d_name, 0) != 0 && errno == EISDIR)
      removeFolder(folder, entry->d_name);
  }
} catch (const std::exception&) {
  // Tidying up is not worth failing a save.
}

}  // namespace jt::storage
