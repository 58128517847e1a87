// What is packed in pieces is one stream to whoever unpacks it.

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "JtFormatError.h"
#include "base/ParallelFor.h"
#include "file/container/Compression.h"
#include "file/container/DeflateBlocks.h"
#include "file/container/ZlibPacker.h"
#include "file/container/ZlibPieces.h"

namespace {

using jt::file::Buffer;
using jt::file::kZlibPiece;
using jt::file::Packing;

/// Kinds of content that get blocks of all kinds: words, noise, long runs, and stretches of each.
std::vector<std::byte> contentOf(int kind, std::size_t size) {
  constexpr std::string_view kWords = "Bolt M6x20, Washer 7.5; ";
  std::vector<std::byte> content(size);
  std::mt19937 random(17);
  for (std::size_t i = 0; i < size; ++i) {
    const int of = kind == 3 ? static_cast<int>(i / 50021 % 3) : kind;
    const auto noise = static_cast<unsigned>(random());
    if (of == 0)
      content[i] = static_cast<std::byte>(noise % 11 == 0 ? static_cast<char>('0' + noise / 11 % 10)
                                                          : kWords[(i + i / 977) % kWords.size()]);
    else
      content[i] = static_cast<std::byte>(of == 1 ? noise & 0xffU : i / 70001 % 3);
  }
  return content;
}

bool isSame(std::span<const std::byte> a, std::span<const std::byte> b) {
  return std::ranges::equal(a, b);
}

TEST(Compression, PiecesMakeOneStream) {
  constexpr std::size_t kSizes[] = {kZlibPiece, kZlibPiece + 1, 2 * kZlibPiece,
                                    2 * kZlibPiece + 77777};
  for (int kind = 0; kind < 4; ++kind)
    for (const std::size_t size : kSizes) {
      const int level = size % 2 == 0 ? 1 : 6;
      const std::vector<std::byte> content = contentOf(kind, size);
      jt::file::parallelThreads = 3;
      const Buffer packed = jt::file::pack(content, Packing::zlib, level);
      jt::file::parallelThreads = 1;
      const Buffer alone = jt::file::pack(content, Packing::zlib, level);
      jt::file::parallelThreads = 0;
      EXPECT_TRUE(isSame(packed.bytes(), alone.bytes())) << kind << ' ' << size;
      jt::file::ZlibPacker growing(level);
      for (std::size_t part = 1; part < size; part += 654321) {
        std::vector<std::byte> early(content.begin(),
                                     content.begin() + static_cast<std::ptrdiff_t>(part));
        growing.add(early);
        std::ranges::fill(early, std::byte{0x5a});
      }
      EXPECT_TRUE(isSame(packed.bytes(), growing.finish(content).bytes())) << kind << ' ' << size;
      jt::file::ZlibPacker(level).add(content);  // given up
      for (const std::size_t threads : {1U, 3U}) {
        jt::file::parallelThreads = threads;
        const auto unpacked = jt::file::unpackPieces(packed.bytes(), 2 * size);
        jt::file::parallelThreads = 0;
        EXPECT_EQ(unpacked.has_value(), size > kZlibPiece) << kind << ' ' << size;
        if (!unpacked) continue;
        EXPECT_EQ(unpacked->consumed, packed.size());
        EXPECT_TRUE(isSame(unpacked->bytes.bytes(), content)) << kind << ' ' << size;
      }
      const auto unpacked =
          jt::file::unpack(packed.bytes(), Packing::zlib, jt::ReadLimits{}, 2 * size);
      EXPECT_EQ(unpacked.consumed, packed.size());
      EXPECT_TRUE(isSame(unpacked.bytes.bytes(), content)) << kind << ' ' << size << ' ' << level;
    }
}

/// How unpacking ends: the name of the error, or how many bytes there are.
std::string endOf(std::span<const std::byte> packed, std::uint64_t most) {
  try {
    return std::to_string(
        jt::file::unpack(packed, Packing::zlib, jt::ReadLimits{}, most).bytes.size());
  } catch (const JtFormatError& error) {
    return error.code();
  }
}

TEST(Compression, DamagedPiecesEndAsOtherStreamsDo) {
  const std::vector<std::byte> content = contentOf(3, 2 * kZlibPiece + 4321);
  const Buffer packed = jt::file::pack(content, Packing::zlib, 6);
  std::vector<std::byte> bytes(packed.bytes().begin(), packed.bytes().end());
  EXPECT_EQ(endOf(bytes, content.size()), std::to_string(content.size()));
  EXPECT_EQ(endOf(bytes, content.size() - 1), "too_large");
  EXPECT_EQ(endOf(bytes, kZlibPiece), "too_large");
  for (const std::size_t at : {std::size_t{0}, std::size_t{1}, bytes.size() / 7, bytes.size() / 2,
                               bytes.size() - 3000, bytes.size() - 2}) {
    bytes[at] = ~bytes[at];
    EXPECT_EQ(endOf(bytes, content.size()), "bad_stream") << at;
    bytes[at] = ~bytes[at];
  }
  for (const std::size_t size : {bytes.size() - 1, bytes.size() / 2, std::size_t{2100}})
    EXPECT_EQ(endOf(std::span(bytes).first(size), content.size()), "bad_stream") << size;
  bytes.resize(bytes.size() + 9);  // what follows the stream is not its own
  EXPECT_EQ(jt::file::unpackPieces(bytes, 2 * content.size())->consumed, packed.size());
}

TEST(Compression, WhatLooksLikeTheEndOfAPieceNeedNotBeOne) {
  std::vector<std::byte> content = contentOf(1, 3 * kZlibPiece + 55);  // noise: stored as it is
  for (std::size_t at = 1000; at + 4 < content.size(); at += 700001)
    for (std::size_t i = 0; i < 4; ++i) content[at + i] = std::byte(i < 2 ? 0 : 0xff);
  const Buffer packed = jt::file::pack(content, Packing::zlib, 1);
  EXPECT_FALSE(jt::file::unpackPieces(packed.bytes(), 2 * content.size()));
  EXPECT_TRUE(
      isSame(jt::file::unpack(packed.bytes(), Packing::zlib, jt::ReadLimits{}, content.size())
                 .bytes.bytes(),
             content));
}

TEST(Compression, StepsThroughBlocksOfAnyBytes) {
  const std::vector<std::byte> content = contentOf(3, 300007);
  const Buffer packed = jt::file::pack(content, Packing::zlib, 6);
  const auto raw = packed.bytes().subspan(2, packed.size() - 6);  // without header and checksum
  const auto last = jt::file::findLastBlock(raw);
  ASSERT_TRUE(last);
  EXPECT_GT(last->header, 0U);
  EXPECT_EQ((last->end + 7) / 8, raw.size());
  EXPECT_FALSE(jt::file::findLastBlock({}));
  for (std::size_t size = 1; size < raw.size(); size += 1999)
    EXPECT_FALSE(jt::file::findLastBlock(raw.first(size))) << size;
  std::vector<std::byte> damaged(raw.begin(), raw.end());
  for (std::size_t i = 0; i < 3000; i += 17) {
    damaged[i] = ~damaged[i];
    jt::file::findLastBlock(damaged);
    damaged[i] = raw[i];
  }
}

}  // namespace
