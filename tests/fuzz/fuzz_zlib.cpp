// Bytes as a zlib stream: unpacked in pieces or as a whole, and its blocks stepped through.

#include <algorithm>
#include <cstdint>
#include <span>

#include "Finding.h"
#include "JtFormatError.h"
#include "file/container/Compression.h"
#include "file/container/DeflateBlocks.h"
#include "file/container/ZlibPieces.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace jt::file;
  constexpr std::uint64_t kMost = 4 * kZlibPiece;
  const auto stream = std::as_bytes(std::span(data, size));
  findLastBlock(stream);
  try {
    const Unpacked unpacked = unpack(stream, Packing::zlib, {}, kMost);
    if (unpacked.consumed > size || unpacked.bytes.size() > kMost) finding("more than there is");
    const Buffer packed = pack(unpacked.bytes.bytes(), Packing::zlib, 1);
    const Unpacked again = unpack(packed.bytes(), Packing::zlib, {}, kMost);
    if (!std::ranges::equal(again.bytes.bytes(), unpacked.bytes.bytes()))
      finding("what was packed unpacks to something else");
  } catch (const JtFormatError&) {
    // It is no whole stream.
  }
  return 0;
}
