#include "file/container/ZlibPieces.h"

#include <libdeflate.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <utility>
#include <vector>

#include "base/ByteOrder.h"
#include "base/ParallelFor.h"
#include "file/container/Inflater.h"

namespace jt::file {

namespace {

constexpr std::size_t kHeaderSize = 2;
constexpr std::size_t kSumSize = 4;

/// Deflate with a window of at most 32 KiB, and without a preset dictionary.
bool isZlibHeader(std::byte first, std::byte second) {
  const unsigned both = std::to_integer<unsigned>(first) << 8U | std::to_integer<unsigned>(second);
  return both % 31 == 0 && (both & 0x8f20U) == 0x0800U;
}

/// Where pieces begin: behind the header, and behind each end of a piece, by the look of it. Ends
/// with the first that is too much.
std::vector<std::size_t> findPieces(std::span<const std::byte> packed, std::size_t most) {
  std::vector<std::size_t> starts{kHeaderSize};
  const std::byte* const begin = packed.data();
  const std::byte* const end = begin + packed.size();
  const std::byte* at = begin + kHeaderSize + 2;
  while (at + 1 < end && starts.size() <= most) {
    at = static_cast<const std::byte*>(
        std::memchr(at, 0xff, static_cast<std::size_t>(end - at - 1)));
    if (!at) break;
    const bool isEnd = std::equal(kPieceEnd.begin(), kPieceEnd.end(), at - 2);
    at += isEnd ? 2 : 1;
    if (isEnd) starts.push_back(static_cast<std::size_t>(at - begin));
  }
  return starts;
}

struct Lengths {
  std::size_t consumed = 0;
  std::size_t produced = 0;
};

/// Unpacks a raw stream; nothing when it is damaged or takes more than the room.
std::optional<Lengths> inflate(std::span<const std::byte> packed, std::span<std::byte> room) {
  const Inflater inflater = makeInflater();
  Lengths lengths;
  if (libdeflate_deflate_decompress_ex(inflater.get(), packed.data(), packed.size(), room.data(),
                                       room.size(), &lengths.consumed,
                                       &lengths.produced) != LIBDEFLATE_SUCCESS)
    return {};
  return lengths;
}

/// Unpacks a piece that is not the last one: as a stream of its own, with a last block behind it.
bool unpackPiece(std::span<const std::byte> packed, std::span<std::byte> room) {
  constexpr std::byte kLastStored{1};  // the first bits of an empty block
  Buffer stream(packed.size() + 1 + kPieceEnd.size());
  std::byte* at = std::ranges::copy(packed, stream.data()).out;
  *at++ = kLastStored;
  std::ranges::copy(kPieceEnd, at);
  const auto lengths = inflate(stream.bytes(), room);
  return lengths && lengths->consumed == stream.size() && lengths->produced == room.size();
}

}  // namespace

std::uint32_t adler32(std::span<const std::byte> bytes) noexcept {
  constexpr std::uint32_t kStart = 1;
  return libdeflate_adler32(kStart, bytes.data(), bytes.size());
}

/// RFC 1950: the low half is 1 and the sum of all bytes, the high half the sum of the low half
/// behind each byte, both modulo 65521.
std::uint32_t joinAdler32(std::uint32_t first, std::uint32_t second,
                          std::size_t secondSize) noexcept {
  constexpr std::uint64_t kModulus = 65521;
  const std::uint64_t more = (first & 0xffffU) + kModulus - 1;  // in each low half of the second
  const std::uint64_t low = (more + (second & 0xffffU)) % kModulus;
  const std::uint64_t high =
      ((first >> 16U) + (second >> 16U) + secondSize % kModulus * (more % kModulus)) % kModulus;
  return static_cast<std::uint32_t>(high << 16U | low);
}

std::optional<Unpacked> unpackPieces(std::span<const std::byte> packed, std::uint64_t cap) {
  constexpr std::size_t kLeast = 2048;  // two megabytes do not become less
  if (packed.size() < kLeast || !isZlibHeader(packed[0], packed[1])) return {};
  const std::vector<std::size_t> starts =
      findPieces(packed, static_cast<std::size_t>(cap / kZlibPiece) + 1);
  const std::size_t last = starts.size() - 1;
  if (last == 0 || last * kZlibPiece >= cap) return {};

  Unpacked out{Buffer(static_cast<std::size_t>(
                   std::min<std::uint64_t>(cap, starts.size() * std::uint64_t{kZlibPiece}))),
               0};
  std::vector<std::uint32_t> sums(starts.size());
  Lengths ofLast;
  std::atomic<bool> isOurs = true;
  parallelFor(starts.size(), [&](std::size_t i) {
    if (!isOurs.load(std::memory_order_relaxed)) return;
    std::span<std::byte> room(out.bytes.data() + i * kZlibPiece,
                              std::min(kZlibPiece, out.bytes.size() - i * kZlibPiece));
    bool isGood = false;
    if (i < last) {
      isGood = unpackPiece(packed.subspan(starts[i], starts[i + 1] - starts[i]), room);
    } else if (const auto lengths = inflate(packed.subspan(starts[i]), room)) {
      isGood = true;
      ofLast = *lengths;
      room = room.first(lengths->produced);
    }
    if (isGood)
      sums[i] = adler32(room);
    else
      isOurs = false;
  });
  if (!isOurs) return {};

  const std::size_t end = starts[last] + ofLast.consumed;
  if (packed.size() - end < kSumSize) return {};
  std::uint32_t sum = sums[0];
  for (std::size_t i = 1; i <= last; ++i)
    sum = joinAdler32(sum, sums[i], i < last ? kZlibPiece : ofLast.produced);
  if (sum != loadScalar<std::uint32_t>(packed.data() + end, true)) return {};
  out.bytes.resize(last * kZlibPiece + ofLast.produced);
  out.consumed = end + kSumSize;
  return out;
}

}  // namespace jt::file
