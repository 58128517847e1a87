// What is packed in pieces is one stream to whoever unpacks it.

#include <gtest/gtest.h>

#include <random>
#include <string_view>
#include <vector>

#include "base/ParallelFor.h"
#include "file/container/Compression.h"
#include "file/container/DeflateBlocks.h"
#include "file/container/ZlibPacker.h"

namespace {

using jt::file::Buffer;
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
  constexpr std::size_t kPiece = std::size_t{2} << 20U;
  constexpr std::size_t kSizes[] = {kPiece, kPiece + 1, 2 * kPiece, 2 * kPiece + 77777};
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
      const jt::file::Unpacked unpacked =
          jt::file::unpack(packed.bytes(), Packing::zlib, jt::ReadLimits{}, 2 * size);
      EXPECT_EQ(unpacked.consumed, packed.size());
      EXPECT_TRUE(isSame(unpacked.bytes.bytes(), content)) << kind << ' ' << size << ' ' << level;
    }
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
