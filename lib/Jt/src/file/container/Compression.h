#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "JtPartition.h"
#include "base/Buffer.h"

namespace jt::file {

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
Buffer pack(std::span<const std::byte> bytes, Packing packing, int level);

}  // namespace jt::file
