#include "MemoryStream.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

#include "StreamPosition.h"

CComPtr<MemoryStream> MemoryStream::create(std::vector<std::byte> bytes) {
  return new MemoryStream(std::move(bytes));
}

MemoryStream::MemoryStream(std::vector<std::byte> bytes) : bytes_(std::move(bytes)) {}

IStreamResult MemoryStream::Read(void* buffer, std::size_t size, std::size_t& done) {
  done = 0;
  if (size > 0 && buffer == nullptr) return IStreamResult::invalidArgument;
  if (size == 0 || position_ >= bytes_.size()) return IStreamResult::ok;
  done = std::min(size, bytes_.size() - static_cast<std::size_t>(position_));
  std::memcpy(buffer, bytes_.data() + position_, done);
  position_ += done;
  return IStreamResult::ok;
}

IStreamResult MemoryStream::Write(const void* buffer, std::size_t size, std::size_t& done) {
  done = 0;
  if (size == 0) return IStreamResult::ok;
  if (buffer == nullptr) return IStreamResult::invalidArgument;
  if (position_ > bytes_.max_size() - size) return IStreamResult::mediumFull;
  if (position_ + size > bytes_.size()) {
    const IStreamResult grown = SetSize(position_ + size);
    if (grown != IStreamResult::ok) return grown;
  }
  std::memcpy(bytes_.data() + position_, buffer, size);
  position_ += size;
  done = size;
  return IStreamResult::ok;
}

IStreamResult MemoryStream::Seek(std::int64_t move, IStreamOrigin origin,
                                 std::uint64_t* newPosition) {
  const IStreamResult result = host::seekPosition(move, origin, bytes_.size(), position_);
  if (newPosition != nullptr) *newPosition = position_;
  return result;
}

IStreamResult MemoryStream::Stat(IStreamStat& stat) const {
  stat = {.size = bytes_.size(), .name = {}, .lastWriteTime = 0};
  return IStreamResult::ok;
}

IStreamResult MemoryStream::SetSize(std::uint64_t size) {
  if (size > bytes_.max_size()) return IStreamResult::mediumFull;
  try {
    bytes_.resize(static_cast<std::size_t>(size));
  } catch (const std::bad_alloc&) {
    return IStreamResult::outOfMemory;
  }
  return IStreamResult::ok;
}

IStreamResult MemoryStream::Commit() { return IStreamResult::ok; }
