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
    case EROFS:
    case EBADF:  // writing to what was opened for reading
    case ETXTBSY:
      return IStreamResult::accessDenied;
    case EISDIR:
    case ENXIO:
      return IStreamResult::notRegular;
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
      return IStreamResult::mediumFull;
    case ENOMEM:
      return IStreamResult::outOfMemory;
    case EINVAL:
      return IStreamResult::invalidArgument;
    default:
      return IStreamResult::ioError;
  }
}

int openFlags(FileStream::Mode mode) {
  // Without O_NONBLOCK a pipe of that name would block the open until somebody writes to it.
  // O_TRUNC is left out: the file is emptied only once it is known to be a regular one.
  const int common = O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
  switch (mode) {
    case FileStream::Mode::readOnly:
      return common | O_RDONLY;
    case FileStream::Mode::readWrite:
      return common | O_RDWR;
    case FileStream::Mode::create:
      return common | O_RDWR | O_CREAT;
  }
  return common | O_RDONLY;
}

/// Runs a transfer until all is done, the end is reached or it fails.
template <class Transfer>
IStreamResult transferAll(std::size_t size, std::size_t& done, Transfer transfer) {
  done = 0;
  while (done < size) {
    const ssize_t count = transfer(done, size - done);
    if (count == 0) break;
    if (count < 0) {
      if (errno == EINTR) continue;
      return fromErrno(errno);
    }
    done += static_cast<std::size_t>(count);
  }
  return IStreamResult::ok;
}

bool fits(std::uint64_t place, std::size_t size) {
  constexpr auto most = static_cast<std::uint64_t>(std::numeric_limits<off_t>::max());
  return place <= most && size <= most - place;
}

}  // namespace

std::unique_ptr<File> File::open(const std::string& path, FileStream::Mode mode,
                                 IStreamResult& result) {
  int descriptor = -1;
  do {
    descriptor = ::open(path.c_str(), openFlags(mode), 0666);
  } while (descriptor < 0 && errno == EINTR);
  if (descriptor < 0) {
    result = fromErrno(errno);
    return nullptr;
  }
  auto file = std::make_unique<File>(descriptor);
  struct stat info {};
  if (::fstat(descriptor, &info) != 0) {
    result = fromErrno(errno);
    return nullptr;
  }
  if (!S_ISREG(info.st_mode)) {
    result = IStreamResult::notRegular;
    return nullptr;
  }
  result = mode == FileStream::Mode::create ? file->setSize(0) : IStreamResult::ok;
  return result == IStreamResult::ok ? std::move(file) : nullptr;
}

File::~File() { ::close(descriptor_); }

IStreamResult File::readAt(std::uint64_t place, void* buffer, std::size_t size,
                           std::size_t& done) const {
  done = 0;
  if (!fits(place, 0)) return IStreamResult::ok;  // beyond what a file can hold: the end
  size = std::min(size, static_cast<std::size_t>(std::numeric_limits<off_t>::max()) - place);
  return transferAll(size, done, [&](std::size_t offset, std::size_t count) {
    return ::pread(descriptor_, static_cast<std::byte*>(buffer) + offset, count,
                   static_cast<off_t>(place + offset));
  });
}

IStreamResult File::writeAt(std::uint64_t place, const void* buffer, std::size_t size,
                            std::size_t& done) {
  done = 0;
  if (!fits(place, size)) return IStreamResult::mediumFull;
  const IStreamResult result = transferAll(size, done, [&](std::size_t offset, std::size_t count) {
    return ::pwrite(descriptor_, static_cast<const std::byte*>(buffer) + offset, count,
                    static_cast<off_t>(place + offset));
  });
  return result == IStreamResult::ok && done < size ? IStreamResult::ioError : result;
}

IStreamResult File::stat(std::uint64_t& size, std::int64_t& lastWriteTime) const {
  struct stat info {};
  if (::fstat(descriptor_, &info) != 0) return fromErrno(errno);
  size = static_cast<std::uint64_t>(info.st_size);
  lastWriteTime = std::int64_t{info.st_mtim.tv_sec} * 1'000'000'000 + info.st_mtim.tv_nsec;
  return IStreamResult::ok;
}

IStreamResult File::setSize(std::uint64_t size) {
  if (!fits(size, 0)) return IStreamResult::mediumFull;
  int failed = 0;
  do {
    failed = ::ftruncate(descriptor_, static_cast<off_t>(size));
  } while (failed != 0 && errno == EINTR);
  return failed == 0 ? IStreamResult::ok : fromErrno(errno);
}

IStreamResult File::sync() {
  // Not repeated after a failure: the system may have dropped the bytes, and a second call would
  // then succeed without having written them.
  return ::fsync(descriptor_) == 0 ? IStreamResult::ok : fromErrno(errno);
}

}  // namespace host
