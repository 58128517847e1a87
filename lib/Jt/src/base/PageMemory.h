#pragma once

#include <cstddef>

namespace jt::storage {

/// New memory of whole pages, zero when first touched, in large pages
/// where the system has them. Null when there is none.
std::byte* mapPages(std::size_t size) noexcept;
/// The same memory with another size, perhaps elsewhere; null, and nothing changed, when there is
/// none.
std::byte* remapPages(std::byte* pages, std::size_t oldSize, std::size_t newSize) noexcept;
void unmapPages(std::byte* pages, std::size_t size) noexcept;
/// Gives the memory of such pages back, but not the pages: what they hold is lost.
void dropPages(std::byte* pages, std::size_t size) noexcept;

}  // namespace jt::storage
