#include "file/container/Compression.h"

#include <libdeflate.h>
#include <lzma.h>

#include <algorithm>
#include <new>
#include <string>
#include <utility>

#include "JtFormatError.h"
#include "file/container/Inflater.h"
#include "file/container/ZlibPacker.h"
#include "file/container/ZlibPieces.h"

namespace jt::file {

namespace {

[[noreturn]] void throwTooLarge(std::uint64_t cap, std::size_t packed) {
  throw JtFormatError("too_large", std::to_string(packed) + " packed bytes unpack to more than " +
                                       std::to_string(cap) +
                                       " bytes; if the file is to be trusted, raise the limits "
                                       "(maxSegmentBytes, maxDocumentBytes, ratio)");
}

[[noreturn]] void throwBadStream(const char* kind, const std::string& what) {
  throw JtFormatError("bad_stream",
                      std::string("expected a whole ") + kind + " stream, found " + what);
}

std::uint64_t ceiling(std::size_t packed, std::uint32_t ratio, std::uint64_t maxBytes) {
  constexpr std::uint64_t kSmallest = 1024;  // headers weigh more than content in tiny streams
  return std::min(maxBytes, std::max<std::uint64_t>(kSmallest, std::uint64_t{packed} * ratio));
}

/// libdeflate wants the whole output at once and the stream does not hold its size: try with room
/// that fits nearly every file, then with more. Memory that stays unused is never touched.
Unpacked unpackZlib(std::span<const std::byte> packed, std::uint64_t cap) {
  if (auto unpacked = unpackPieces(packed, cap)) return std::move(*unpacked);
  const Inflater inflater = makeInflater();
  for (std::uint64_t factor = 12;; factor *= 8) {
    const std::uint64_t room =
        std::min<std::uint64_t>(cap, std::max<std::uint64_t>(4096, factor * packed.size()));
    Unpacked out{Buffer(static_cast<std::size_t>(room)), 0};
    std::size_t produced = 0;
    switch (libdeflate_zlib_decompress_ex(inflater.get(), packed.data(), packed.size(),
                                          out.bytes.data(), out.bytes.size(), &out.consumed,
                                          &produced)) {
      case LIBDEFLATE_SUCCESS:
        out.bytes.resize(produced);
        return out;
      case LIBDEFLATE_INSUFFICIENT_SPACE:
        if (room >= cap) throwTooLarge(cap, packed.size());
        break;
      default:
        throwBadStream("zlib", "damaged data");
    }
  }
}

/// Ends a liblzma coder however its user leaves.
struct LzmaStream {
  lzma_stream stream = LZMA_STREAM_INIT;
  LzmaStream() = default;
  LzmaStream(const LzmaStream&) = delete;
  LzmaStream& operator=(const LzmaStream&) = delete;
  ~LzmaStream() { lzma_end(&stream); }
};

std::uint8_t* asLzma(std::byte* bytes) { return reinterpret_cast<std::uint8_t*>(bytes); }
const std::uint8_t* asLzma(const std::byte* bytes) {
  return reinterpret_cast<const std::uint8_t*>(bytes);
}

Unpacked unpackXz(std::span<const std::byte> packed, std::uint64_t cap) {
  constexpr std::uint64_t kDecoderMemory = 256ULL
                                           << 20;  // bounds the dictionary a stream may ask for
  LzmaStream coder;
  if (lzma_stream_decoder(&coder.stream, kDecoderMemory, 0) != LZMA_OK) throw std::bad_alloc();
  coder.stream.next_in = asLzma(packed.data());
  coder.stream.avail_in = packed.size();
  Unpacked out{Buffer(static_cast<std::size_t>(std::min<std::uint64_t>(
                   cap, std::max<std::uint64_t>(4096, 12 * packed.size())))),
               0};
  for (;;) {
    const std::size_t done = static_cast<std::size_t>(coder.stream.total_out);
    coder.stream.next_out = asLzma(out.bytes.data()) + done;
    coder.stream.avail_out = out.bytes.size() - done;
    switch (lzma_code(&coder.stream, LZMA_FINISH)) {
      case LZMA_STREAM_END:
        out.consumed = packed.size() - coder.stream.avail_in;
        out.bytes.resize(static_cast<std::size_t>(coder.stream.total_out));
        return out;
      case LZMA_OK:
      case LZMA_BUF_ERROR:
        // A decoder that stops although there is room has run out of input.
        if (coder.stream.avail_out > 0)
          throwBadStream("xz", "its end after " + std::to_string(packed.size()) + " bytes");
        if (out.bytes.size() >= cap) throwTooLarge(cap, packed.size());
        out.bytes.resize(static_cast<std::size_t>(
            std::min<std::uint64_t>(cap, std::uint64_t{2} * out.bytes.size())));
        break;
      case LZMA_MEM_ERROR:
        throw std::bad_alloc();
      case LZMA_MEMLIMIT_ERROR:
        throwBadStream("xz", "a dictionary of more than 256 MiB");
      default:
        throwBadStream("xz", "damaged data");
    }
  }
}

Buffer packXz(std::span<const std::byte> bytes) {
  // Preset 1 and CRC64: what the streams of real files begin with.
  LzmaStream coder;
  if (lzma_easy_encoder(&coder.stream, 1, LZMA_CHECK_CRC64) != LZMA_OK) throw std::bad_alloc();
  Buffer out(lzma_stream_buffer_bound(bytes.size()));
  coder.stream.next_in = asLzma(bytes.data());
  coder.stream.avail_in = bytes.size();
  coder.stream.next_out = asLzma(out.data());
  coder.stream.avail_out = out.size();
  if (lzma_code(&coder.stream, LZMA_FINISH) != LZMA_STREAM_END) throw std::bad_alloc();
  out.resize(static_cast<std::size_t>(coder.stream.total_out));
  return out;
}

}  // namespace

Unpacked unpack(std::span<const std::byte> packed, Packing packing, const ReadLimits& limits,
                std::uint64_t maxBytes) {
  if (packing == Packing::xz)
    return unpackXz(packed, ceiling(packed.size(), limits.maxLzmaRatio, maxBytes));
  if (packing == Packing::zlib)
    return unpackZlib(packed, ceiling(packed.size(), limits.maxZlibRatio, maxBytes));
  if (packed.size() > maxBytes) throwTooLarge(maxBytes, packed.size());
  Unpacked out{Buffer(packed.size()), packed.size()};
  std::copy(packed.begin(), packed.end(), out.bytes.data());
  return out;
}

Buffer pack(std::span<const std::byte> bytes, Packing packing, int level) {
  if (packing == Packing::zlib) return ZlibPacker(level).finish(bytes);
  if (packing == Packing::xz) return packXz(bytes);
  Buffer out(bytes.size());
  std::copy(bytes.begin(), bytes.end(), out.data());
  return out;
}

}  // namespace jt::file
