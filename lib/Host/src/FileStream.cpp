#include "FileStream.h"

#include <utility>

#include "StreamPosition.h"
#include "platform/File.h"

CComPtr<FileStream> FileStream::open(const ApiSysFilePath& path, IStreamResult& result) {
  std::unique_ptr<host::File> file = host::File::open(path.asNativeString(), result);
  if (!file) return nullptr;
  return new FileStream(std::move(file), path.asString());
}

FileStream::FileStream(std::unique_ptr<host::File> file, RWClassicCString name)
    : file_(std::move(file)), name_(std::move(name)) {}

FileStream::~FileStream() = default;

std::uint32_t FileStream::AddRef() {
  return references_.fetch_add(1, std::memory_order_relaxed) + 1;
}

std::uint32_t FileStream::Release() {
  const std::uint32_t left = references_.fetch_sub(1, std::memory_order_acq_rel) - 1;
  if (left == 0) delete this;
  return left;
}

IStreamResult FileStream::Read(void* buffer, std::size_t size, std::size_t& done) {
  done = 0;
  if (size == 0) return IStreamResult::ok;
  if (buffer == nullptr) return IStreamResult::invalidArgument;
  const IStreamResult result = file_->readAt(position_, buffer, size, done);
  position_ += done;
  return result;
}

IStreamResult FileStream::Write(const void* /*buffer*/, std::size_t /*size*/, std::size_t& done) {
  done = 0;
  return IStreamResult::accessDenied;
}

IStreamResult FileStream::Seek(std::int64_t move, IStreamOrigin origin,
                               std::uint64_t* newPosition) {
  IStreamStat now;
  IStreamResult result = origin == IStreamOrigin::end ? Stat(now) : IStreamResult::ok;
  if (result == IStreamResult::ok) {
    result = host::seekPosition(move, origin, now.size, position_);
  }
  if (newPosition != nullptr) *newPosition = position_;
  return result;
}

IStreamResult FileStream::Stat(IStreamStat& stat) const {
  stat.name = name_;
  return file_->stat(stat.size, stat.lastWriteTime);
}

IStreamResult FileStream::SetSize(std::uint64_t /*size*/) { return IStreamResult::accessDenied; }

IStreamResult FileStream::Commit() { return IStreamResult::ok; }
