#include "platform/File.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <limits>

namespace host {
namespace {

IStreamResult fromErrno(int error) {
  switch (error) {
    case ENOENT:
    case ENOTDIR:
      return IStreamResult::notFound;
    case EACCES:
    case EPERM:
      return IStreamResult::accessDenied;
    case EISDIR:
    case ENXIO:
      return IStreamResult::notRegular;
    case ENOMEM:
      return IStreamResult::outOfMemory;
    case EINVAL:
      return IStreamResult::invalidArgument;
    default:
      return IStreamResult::ioError;
  }
}

}  // namespace

std::unique_ptr<File> File::open(const std::string& path, IStreamResult& result) {
  // Without O_NONBLOCK a pipe of that name would block the open until somebody writes to it.
  constexpr int kFlags = O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
  int descriptor = -1;
  do {
    descriptor = ::open(path.c_str(), kFlags);
  } while (descriptor < 0 && errno == EINTR);
  if (descriptor < 0) {
    result = fromErrno(errno);
    return nullptr;
  }
  auto file = std::make_unique<File>(descriptor);
  struct stat info {};
  result = ::fstat(descriptor, &info) == 0 ? IStreamResult::ok : fromErrno(errno);
  if (result == IStreamResult::ok && !S_ISREG(info.st_mode)) result = IStreamResult::notRegular;
  return result == IStreamResult::ok ? std::move(file) : nullptr;
}

File::~File() { ::close(descriptor_); }

IStreamResult File::readAt(std::uint64_t place, void* buffer, std::size_t size,
                           std::size_t& done) const {
  constexpr auto kMost = static_cast<std::uint64_t>(std::numeric_limits<off_t>::max());
  done = 0;
  if (place > kMost) return IStreamResult::ok;  // beyond what a file can hold: the end
  size = static_cast<std::size_t>(std::min<std::uint64_t>(size, kMost - place));
  while (done < size) {
    const ssize_t count = ::pread(descriptor_, static_cast<std::byte*>(buffer) + done, size - done,
                                  static_cast<off_t>(place + done));
    if (count == 0) break;
    if (count < 0 && errno != EINTR) return fromErrno(errno);
    if (count > 0) done += static_cast<std::size_t>(count);
  }
  return IStreamResult::ok;
}

IStreamResult File::stat(std::uint64_t& size, std::int64_t& lastWriteTime) const {
  struct stat info {};
  if (::fstat(descriptor_, &info) != 0) return fromErrno(errno);
  size = static_cast<std::uint64_t>(info.st_size);
  lastWriteTime = std::int64_t{info.st_mtim.tv_sec} * 1'000'000'000 + info.st_mtim.tv_nsec;
  return IStreamResult::ok;
}

}  // namespace host
