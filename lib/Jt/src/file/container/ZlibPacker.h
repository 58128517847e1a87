#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <exception>
#include <mutex>
#include <span>
#include <thread>
#include <vector>

#include "base/Buffer.h"
#include "file/container/ZlibPieces.h"

namespace jt::file {

/// Packs content into a zlib stream (RFC 1950), in pieces side by side, while the content grows.
/// What comes out depends on the content and the level alone.
class ZlibPacker {
 public:
  /// @param level 1 to 12
  explicit ZlibPacker(int level) : level_(level) {}
  ZlibPacker(const ZlibPacker&) = delete;
  ZlibPacker& operator=(const ZlibPacker&) = delete;
  /// Waits for what is being packed and drops it.
  ~ZlibPacker();

  /// Begins with what is there, on other threads. For one thread at a time.
  /// @param content all of it so far; may lie elsewhere next time, but what it holds stays
  void add(std::span<const std::byte> content) {
    if (content.size() > begun_ + kZlibPiece) begin(content);
  }
  /// The stream of the whole content; once. Throws std::bad_alloc.
  Buffer finish(std::span<const std::byte> content);

 private:
  struct Piece {
    Buffer copy;                       // of content that may move
    std::span<const std::byte> bytes;  // gone once they are packed
    bool isLast = false;
    Buffer packed;
    std::uint32_t sum = 0;  // of the bytes
  };

  void begin(std::span<const std::byte> content);
  void put(Piece piece);
  void work();
  void close() noexcept;
  Buffer join();

  const int level_;
  std::size_t begun_ = 0;  // bytes
  std::mutex mutex_;       // of the next five
  std::condition_variable changed_;
  std::deque<Piece> pieces_;
  std::size_t next_ = 0;  // of pieces_
  bool isClosed_ = false;
  std::exception_ptr failure_;
  std::vector<std::jthread> helpers_;
};

}  // namespace jt::file
