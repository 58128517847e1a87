#pragma once

// Streams in pieces, as ZlibPacker makes them: any reader of RFC 1950 takes them for one stream,
// and whoever knows of the pieces unpacks them side by side.

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "file/container/Compression.h"

namespace jt::file {

/// What a piece unpacks to, but for the last one. An empty stored block, which ends at a whole
/// byte, is the end of each piece but the last; no piece refers to bytes of another.
inline constexpr std::size_t kZlibPiece = std::size_t{2} << 20U;
/// The lengths in an empty stored block: the last bytes of each piece but the last.
inline constexpr std::array<std::byte, 4> kPieceEnd = {std::byte{0}, std::byte{0}, std::byte{0xff},
                                                       std::byte{0xff}};

/// The checksum of a zlib stream.
std::uint32_t adler32(std::span<const std::byte> bytes) noexcept;
/// The checksum of bytes with the checksum `first`, followed by `secondSize` bytes with the
/// checksum `second`.
std::uint32_t joinAdler32(std::uint32_t first, std::uint32_t second,
                          std::size_t secondSize) noexcept;

/// Unpacks a stream of several pieces; nothing for any other, which may well be a good one. Safe on
/// any bytes. Throws std::bad_alloc.
/// @param cap most bytes that the result may have
std::optional<Unpacked> unpackPieces(std::span<const std::byte> packed, std::uint64_t cap);

}  // namespace jt::file
