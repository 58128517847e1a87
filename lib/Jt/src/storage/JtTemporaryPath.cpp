#include "JtTemporaryPath.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <mutex>
#include <utility>

#include "base/SpinLock.h"

namespace jt {
namespace {

constinit SpinLock listLock;
constinit TemporaryPath* newest = nullptr;

}  // namespace

TemporaryPath::TemporaryPath(std::string path, Kind kind) { set(std::move(path), kind); }

TemporaryPath::TemporaryPath(int folder, std::string name)
    : path_(std::move(name)), folder_(folder) {
  enlist();
}

TemporaryPath::~TemporaryPath() { remove(); }

void TemporaryPath::set(std::string path, Kind kind) {
  keep();
  path_ = std::move(path);
  folder_ = AT_FDCWD;
  kind_ = kind;
  enlist();
}

void TemporaryPath::enlist() noexcept {
  if (path_.empty()) return;
  process_ = ::getpid();
  const std::lock_guard lock(listLock);
  older_ = std::exchange(newest, this);
  if (older_) older_->newer_ = this;
}

void TemporaryPath::keep() noexcept {
  if (path_.empty()) return;
  const std::lock_guard lock(listLock);
  if (older_) older_->newer_ = newer_;
  (newer_ ? newer_->older_ : newest) = older_;
  older_ = newer_ = nullptr;
  path_.clear();
}

void TemporaryPath::remove() noexcept {
  if (path_.empty()) return;
  unlinkNow();
  keep();
}

void TemporaryPath::unlinkNow() const noexcept {
  if (process_ != ::getpid()) return;
  constexpr int kMostTries = 2;  // one failure is no reason to leave it
  const int flags = kind_ == Kind::folder ? AT_REMOVEDIR : 0;
  for (int i = 0; i < kMostTries; ++i)
    if (::unlinkat(folder_, path_.c_str(), flags) == 0 || errno == ENOENT) return;
}

void removeTemporaryPaths() noexcept {
  // The thread that holds the lock may be the one that the signal interrupted. What stays then is
  // removed by the next save in its folder.
  if (!listLock.tryLock()) return;
  for (const TemporaryPath* path = newest; path; path = path->older_) path->unlinkNow();
  listLock.unlock();
}

}  // namespace jt
