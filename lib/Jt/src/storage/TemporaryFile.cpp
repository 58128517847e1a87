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
#include <random>
#include <string_view>

namespace jt::storage {
namespace {

constexpr std::string_view kMark = ".jtw-";
constexpr std::string_view kEnd = ".tmp";
/// Longest part of the target's name that leaves room for mark, numbers and end.
constexpr std::size_t kMaxStem = 180;
constexpr std::time_t kIdleSeconds = 60;
constexpr int kAttempts = 16;

std::string hexText(std::uint64_t value) {
  char text[16];
  char* const end = std::to_chars(text, text + sizeof text, value, 16).ptr;
  return {text, end};
}

/// What the names of all temporary files of one target begin with.
std::string namePrefix(const std::string& target) {
  std::string stem = target;
  if (stem.size() > kMaxStem)
    stem = stem.substr(0, kMaxStem) + '~' + hexText(std::hash<std::string>{}(target));
  return "." + stem + std::string(kMark);
}

std::string newName(const std::string& target) {
  std::random_device device;
  const std::uint64_t number = (std::uint64_t{device()} << 32) | device();
  return namePrefix(target) + std::to_string(::getpid()) + '-' + hexText(number) +
         std::string(kEnd);
}

/// The process in a temporary file's name; nothing when the name is of another form.
std::optional<pid_t> makerOf(std::string_view name, std::string_view prefix) {
  if (!name.starts_with(prefix) || !name.ends_with(kEnd)) return std::nullopt;
  name.remove_prefix(prefix.size());
  name.remove_suffix(std::min(name.size(), kEnd.size()));
  pid_t maker = 0;
  const auto [stop, error] = std::from_chars(name.data(), name.data() + name.size(), maker);
  if (error != std::errc{} || maker <= 0 || stop == name.data() + name.size() || *stop != '-')
    return std::nullopt;
  return maker;
}

/// Nobody writes the file any more. Its maker holds a lock on it, which tells for makers on other
/// machines and in other containers too; where there are no locks the process number decides. A
/// number is taken again, always so in containers: a free lock on a file that has been idle for a
/// while tells that its process is another one.
bool isAbandoned(int folder, const char* name, pid_t maker) {
  const bool runs = ::kill(maker, 0) == 0 || errno != ESRCH;
  const int flags = O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
  const Descriptor file(uninterrupted([&] { return ::openat(folder, name, flags); }));
  if (!file) return !runs && errno == EACCES;
  struct stat info {};
  if (::fstat(file.get(), &info) != 0 || !S_ISREG(info.st_mode)) return false;
  const bool locked = ::flock(file.get(), LOCK_EX | LOCK_NB) == 0;
  if (!locked && errno == EWOULDBLOCK) return false;
  return !runs || (locked && std::time(nullptr) - info.st_mtim.tv_sec > kIdleSeconds);
}

}  // namespace

TemporaryFile::TemporaryFile(int folder, const std::string& target, const SaveErrors& errors)
    : folder_(folder), errors_(errors) {
  const int flags = O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
  for (int attempt = 0; !file_; ++attempt) {
    name_ = newName(target);
    file_ = Descriptor(
        uninterrupted([&] { return ::openat(folder_, name_.c_str(), flags, S_IRUSR | S_IWUSR); }));
    if (!file_ && (errno != EEXIST || attempt == kAttempts))
      errors_.failed(errno, "creating a file in the same folder");
  }
  ::flock(file_.get(), LOCK_EX | LOCK_NB);
}

TemporaryFile::~TemporaryFile() {
  if (!name_.empty()) uninterrupted([&] { return ::unlinkat(folder_, name_.c_str(), 0); });
}

void TemporaryFile::close() {
  struct stat info {};
  if (::fstat(file_.get(), &info) != 0) errors_.failed(errno, "looking at the new file");
  identity_ = identityOf(info);
  if (const int error = file_.close()) errors_.failed(error, "closing the new file");
}

void TemporaryFile::moveTo(const std::string& target, bool createOnly) {
  const auto look = [&](struct stat& info) {
    return ::fstatat(folder_, target.c_str(), &info, AT_SYMLINK_NOFOLLOW) == 0;
  };
  const auto move = [&](unsigned flags) {
    return uninterrupted(
        [&] { return ::renameat2(folder_, name_.c_str(), folder_, target.c_str(), flags); });
  };
  struct stat info {};
  int result = move(createOnly ? RENAME_NOREPLACE : 0);
  int error = errno;
  if (result != 0 && createOnly && (error == EINVAL || error == ENOSYS)) {
    // This file system cannot rename without replacing, so check first.
    error = EEXIST;
    if (!look(info)) {
      result = move(0);
      error = errno;
    }
  }
  // Network file systems can report a failure for a rename that was done.
  if (result != 0 && !(look(info) && identityOf(info) == identity_)) {
    if (createOnly && error == EEXIST)
      errors_.raise("exists", "another program made a file of that name; nothing was replaced");
    errors_.failed(error, "replacing the old file");
  }
  name_.clear();
}

void TemporaryFile::removeAbandoned(int folder, const std::string& target) noexcept try {
  Descriptor listed(
      uninterrupted([&] { return ::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
  if (!listed) return;
  const std::unique_ptr<DIR, int (*)(DIR*)> entries(::fdopendir(listed.get()), ::closedir);
  if (!entries) return;
  listed.release();
  const std::string prefix = namePrefix(target);
  while (const dirent* entry = ::readdir(entries.get())) {
    const std::optional<pid_t> maker = makerOf(entry->d_name, prefix);
    if (maker && isAbandoned(folder, entry->d_name, *maker))
      uninterrupted([&] { return ::unlinkat(folder, entry->d_name, 0); });
  }
} catch (const std::exception&) {
  // Tidying up is not worth failing a save.
}

}  // namespace jt::storage
