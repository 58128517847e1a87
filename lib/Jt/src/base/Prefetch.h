#pragma once

#include <cstddef>

namespace jt {

/// Asks for memory that is needed soon, so that waits for several pieces of it overlap. It need not
/// be valid; nothing happens for null.
inline void prefetch(const void* memory, std::size_t size) noexcept {
  constexpr std::size_t kLine = 64;
  if (!memory) return;
  for (std::size_t at = 0; at < size; at += kLine)
    __builtin_prefetch(static_cast<const std::byte*>(memory) + at);
}

}  // namespace jt
