#pragma once

#include <cstddef>
#include <optional>
#include <span>

namespace jt::file {

/// Where the last block of a raw deflate stream (RFC 1951) lies, in bits from its start.
struct LastBlock {
  std::size_t header = 0;  ///< of its first bit, which says that it is the last one
  std::size_t end = 0;     ///< behind its last bit
};

/// Steps through the blocks of a whole stream without unpacking it. Safe on any bytes: nothing for
/// those that are no such stream.
std::optional<LastBlock> findLastBlock(std::span<const std::byte> stream);

}  // namespace jt::file
