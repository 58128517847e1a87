#include "base/Buffer.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <utility>

#include "base/PageMemory.h"

namespace jt::file {

Buffer::Buffer(std::size_t size) : size_(size), mapped_(size >= storage::kOwnPages ? size : 0) {
  bytes_ =
      mapped_ ? storage::mapPages(size) : static_cast<std::byte*>(std::malloc(size ? size : 1));
  if (!bytes_) throw std::bad_alloc();
}

Buffer::Buffer(Buffer&& other) noexcept
    : bytes_(std::exchange(other.bytes_, nullptr)),
      size_(std::exchange(other.size_, 0)),
      mapped_(std::exchange(other.mapped_, 0)) {}

Buffer& Buffer::operator=(Buffer&& other) noexcept {
  std::swap(bytes_, other.bytes_);
  std::swap(size_, other.size_);
  std::swap(mapped_, other.mapped_);
  return *this;
}

Buffer::~Buffer() {
  if (mapped_) {
    storage::unmapPages(bytes_, mapped_);
  } else {
    std::free(bytes_);
  }
}

void Buffer::resize(std::size_t size) {
  if (mapped_ && size >= storage::kOwnPages) {
    std::byte* moved = storage::remapPages(bytes_, mapped_, size);
    if (!moved) throw std::bad_alloc();
    bytes_ = moved;
    mapped_ = size;
  } else {
    Buffer other(size);
    if (size_ > 0) std::memcpy(other.bytes_, bytes_, std::min(size, size_));
    *this = std::move(other);
  }
  size_ = size;
}

std::size_t Buffer::dropFront(std::size_t dropped, std::size_t size) noexcept {
  if (!mapped_) return dropped;
  constexpr std::uintptr_t kLargePage = std::uintptr_t{2} << 20U;
  const auto start = reinterpret_cast<std::uintptr_t>(bytes_);
  const std::uintptr_t end = (start + size) / kLargePage * kLargePage;
  if (end <= start + dropped) return dropped;
  storage::dropPages(bytes_ + dropped, end - start - dropped);
  return end - start;
}

void ByteSink::grow(std::size_t count) {
  buffer_.resize(std::max<std::size_t>({256, 2 * buffer_.size(), size_ + count}));
}

}  // namespace jt::file
