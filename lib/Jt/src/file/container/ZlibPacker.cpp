#include "file/container/ZlibPacker.h"

#include <libdeflate.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "base/ByteOrder.h"
#include "base/ParallelFor.h"
#include "file/container/DeflateBlocks.h"
#include "file/container/ZlibPieces.h"

namespace jt::file {

namespace {

using Deflater = std::unique_ptr<libdeflate_compressor, decltype(&libdeflate_free_compressor)>;

Deflater makeDeflater(int level) {
  Deflater deflater(libdeflate_alloc_compressor(std::clamp(level, 1, 12)),
                    &libdeflate_free_compressor);
  if (!deflater) throw std::bad_alloc();
  return deflater;
}

Buffer packWhole(std::span<const std::byte> bytes, int level) {
  const Deflater deflater = makeDeflater(level);
  Buffer out(libdeflate_zlib_compress_bound(deflater.get(), bytes.size()));
  const std::size_t size =
      libdeflate_zlib_compress(deflater.get(), bytes.data(), bytes.size(), out.data(), out.size());
  out.resize(size);
  return out;
}

/// A raw stream whose last block is not marked as the last one, up to a whole byte: more blocks can
/// follow. Throws std::logic_error when the blocks of the stream cannot be followed.
Buffer packPiece(std::span<const std::byte> bytes, int level, bool isLast) {
  constexpr std::size_t kStoredBlock = 5;  // an empty one, which ends at a whole byte
  const Deflater deflater = makeDeflater(level);
  Buffer out(libdeflate_deflate_compress_bound(deflater.get(), bytes.size()) + kStoredBlock);
  std::size_t size = libdeflate_deflate_compress(deflater.get(), bytes.data(), bytes.size(),
                                                 out.data(), out.size());
  if (!isLast) {
    const auto last = findLastBlock(out.bytes().first(size));
    if (!last) throw std::logic_error("a deflate stream of libdeflate has blocks of no known kind");
    out.data()[last->header / 8] &= ~(std::byte{1} << (last->header % 8));
    // Its first three bits are 0: not the last block, stored.
    size = (last->end + 3 + 7) / 8;
    const std::size_t used = (last->end + 7) / 8;
    if (size > used) out.data()[used] = std::byte{0};
    std::ranges::copy(kPieceEnd, out.data() + size);
    size += kPieceEnd.size();
  }
  out.resize(size);
  return out;
}

}  // namespace

ZlibPacker::~ZlibPacker() {
  {
    const std::lock_guard lock(mutex_);
    next_ = pieces_.size();
  }
  close();
  helpers_.clear();
}

/// A piece has begun when more follows it: whether it is the last one is known by then.
void ZlibPacker::begin(std::span<const std::byte> content) {
  for (; content.size() > begun_ + kZlibPiece; begun_ += kZlibPiece) {
    Piece piece;
    piece.copy = Buffer(kZlibPiece);
    std::ranges::copy(content.subspan(begun_, kZlibPiece), piece.copy.data());
    piece.bytes = piece.copy.bytes();
    put(std::move(piece));
  }
}

void ZlibPacker::put(Piece piece) {
  std::size_t waiting = 0;
  {
    const std::lock_guard lock(mutex_);
    pieces_.push_back(std::move(piece));
    waiting = pieces_.size() - next_;
  }
  changed_.notify_one();
  // The thread that calls is one of those that parallelFor() would use.
  if (waiting <= helpers_.size() || helpers_.size() + 1 >= parallelThreadCount()) return;
  try {
    helpers_.emplace_back([this] { work(); });
  } catch (const std::system_error&) {
    // No more threads available: those that run do the work, finish() what is left.
  }
}

/// Packs until there are no more pieces.
void ZlibPacker::work() {
  std::unique_lock lock(mutex_);
  for (;;) {
    changed_.wait(lock, [this] { return next_ < pieces_.size() || isClosed_; });
    if (next_ >= pieces_.size()) return;
    Piece& piece = pieces_[next_++];
    lock.unlock();
    try {
      piece.packed = packPiece(piece.bytes, level_, piece.isLast);
      piece.sum = adler32(piece.bytes);
      piece.copy = {};
      lock.lock();
    } catch (...) {
      lock.lock();
      failure_ = std::current_exception();
      next_ = pieces_.size();
    }
  }
}

/// No more pieces come.
void ZlibPacker::close() noexcept {
  {
    const std::lock_guard lock(mutex_);
    isClosed_ = true;
  }
  changed_.notify_all();
}

Buffer ZlibPacker::finish(std::span<const std::byte> content) {
  if (content.size() <= kZlibPiece) return packWhole(content, level_);
  for (; begun_ < content.size(); begun_ += kZlibPiece) {
    const bool isLast = content.size() - begun_ <= kZlibPiece;
    put({{}, content.subspan(begun_, std::min(kZlibPiece, content.size() - begun_)), isLast, {}});
  }
  close();
  work();
  helpers_.clear();
  if (failure_) std::rethrow_exception(failure_);
  return join();
}

Buffer ZlibPacker::join() {
  // RFC 1950: a window of 32 KiB, the usual compression.
  constexpr std::array<std::byte, 2> kHeader = {std::byte{0x78}, std::byte{0x9c}};
  std::size_t size = kHeader.size() + sizeof(std::uint32_t);
  for (const Piece& piece : pieces_) size += piece.packed.size();
  Buffer out(size);
  std::byte* at = std::ranges::copy(kHeader, out.data()).out;
  std::uint32_t sum = adler32({});
  for (Piece& piece : pieces_) {
    at = std::ranges::copy(piece.packed.bytes(), at).out;
    piece.packed = {};
    sum = joinAdler32(sum, piece.sum, piece.bytes.size());
  }
  sum = inFileOrder(sum, true);
  std::memcpy(at, &sum, sizeof sum);
  return out;
}

}  // namespace jt::file
