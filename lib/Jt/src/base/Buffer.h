#pragma once

#include <cstddef>
#include <cstring>
#include <span>
#include <utility>

namespace jt::file {

/// Bytes whose memory is not touched before something is put there.
class Buffer {
 public:
  Buffer() = default;
  /// Throws std::bad_alloc.
  explicit Buffer(std::size_t size);
  Buffer(Buffer&& other) noexcept;
  Buffer& operator=(Buffer&& other) noexcept;
  ~Buffer();
  std::byte* data() noexcept { return bytes_; }
  std::size_t size() const noexcept { return size_; }
  std::span<const std::byte> bytes() const noexcept { return {bytes_, size_}; }
  /// Changes the size; what is in both sizes stays.
  void resize(std::size_t size);
  /// Gives memory of the first `size` bytes back, where it is in large pages of its own.
  /// @param dropped how many bytes were dropped before
  /// @return how many are dropped now; what they were is lost
  std::size_t dropFront(std::size_t dropped, std::size_t size) noexcept;

 private:
  std::byte* bytes_ = nullptr;
  std::size_t size_ = 0;
  std::size_t mapped_ = 0;  // bytes of pages of its own; 0 when the memory is from the heap
};

/// Bytes that grow at the end.
class ByteSink {
 public:
  std::size_t size() const noexcept { return size_; }
  std::byte* data() noexcept { return buffer_.data(); }
  std::span<const std::byte> bytes() const noexcept { return buffer_.bytes().first(size_); }
  void reserve(std::size_t capacity) {
    if (capacity > buffer_.size()) buffer_.resize(capacity);
  }
  /// Room for `count` more bytes at the end, to be filled by the caller.
  std::byte* extend(std::size_t count) {
    if (count > buffer_.size() - size_) grow(count);
    std::byte* at = buffer_.data() + size_;
    size_ += count;
    return at;
  }
  void append(std::span<const std::byte> bytes) {
    if (!bytes.empty()) std::memcpy(extend(bytes.size()), bytes.data(), bytes.size());
  }
  /// The bytes written, in memory of exactly that size.
  Buffer take() && {
    buffer_.resize(size_);
    size_ = 0;
    return std::move(buffer_);
  }
  /// Truncates to `size` bytes.
  void shrink(std::size_t size) noexcept { size_ = size; }

 private:
  void grow(std::size_t count);

  Buffer buffer_;
  std::size_t size_ = 0;
};

}  // namespace jt::file
