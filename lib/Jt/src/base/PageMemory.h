#pragma once

#include <cstddef>
#include <vector>

namespace jt::storage {

/// Memory of at least that many bytes takes pages of its own: they are given back whole, and come
/// in large ones where possible.
inline constexpr std::size_t kOwnPages = std::size_t{4} << 20U;

/// New memory of whole pages, zero when first touched, in large pages
/// where the system has them. Null when there is none.
std::byte* mapPages(std::size_t size) noexcept;
/// The same memory with another size, perhaps elsewhere; null, and nothing changed, when there is
/// none.
std::byte* remapPages(std::byte* pages, std::size_t oldSize, std::size_t newSize) noexcept;
void unmapPages(std::byte* pages, std::size_t size) noexcept;
/// Gives the memory of such pages back, but not the pages: what they hold is lost.
void dropPages(std::byte* pages, std::size_t size) noexcept;

/// Asks for large pages for memory that nothing was put in yet; no more than a hint.
void preferLargePages(void* memory, std::size_t size) noexcept;

/// Gives an empty vector that many values. The memory of a big one comes from the system each time,
/// and in large pages with far less work.
template <class T>
void fillLarge(std::vector<T>& values, std::size_t count, const T& value = T()) {
  if (count >= kOwnPages / sizeof(T)) {
    values.reserve(count);
    preferLargePages(values.data(), values.capacity() * sizeof(T));
  }
  values.assign(count, value);
}

}  // namespace jt::storage
