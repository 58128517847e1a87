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
