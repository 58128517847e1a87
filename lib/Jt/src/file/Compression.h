#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <span>
#include <vector>

#include "JtPartition.h"

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

 private:
  std::byte* bytes_ = nullptr;
  std::size_t size_ = 0;
  std::size_t mapped_ = 0;  // bytes of pages of its own; 0 when the memory is from the heap
};

/// How a segment's bytes are packed; the values of the algorithm byte.
enum class Packing : std::uint8_t { stored = 1, zlib = 2, xz = 3 };

/// An unpacked stream and how many of the packed bytes it took.
struct Unpacked {
  Buffer bytes;
  std::size_t consumed = 0;
};

/// Unpacks a whole stream (RFC 1950, or an .xz container) with its integrity check. Safe on any
/// bytes: throws JtFormatError "bad_stream", or "too_large" when the result would pass a limit.
/// @param maxBytes most bytes that the result may have
Unpacked unpack(std::span<const std::byte> packed, Packing packing, const ReadLimits& limits,
                std::uint64_t maxBytes);

/// Packs a stream. @param level zlib level 1 to 12; xz always takes the preset of real files.
std::vector<std::byte> pack(std::span<const std::byte> bytes, Packing packing, int level);

}  // namespace jt::file
