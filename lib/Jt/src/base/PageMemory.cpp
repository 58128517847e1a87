#include "base/PageMemory.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>

namespace jt::storage {

std::byte* mapPages(std::size_t size) noexcept {
  void* pages = mmap(nullptr, size, PROT_READ | PROT_WRITE,
                     MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (pages == MAP_FAILED) return nullptr;
  madvise(pages, size, MADV_HUGEPAGE);  // a hint
  return static_cast<std::byte*>(pages);
}

std::byte* remapPages(std::byte* pages, std::size_t oldSize, std::size_t newSize) noexcept {
  void* moved = mremap(pages, oldSize, newSize, MREMAP_MAYMOVE);
  return moved == MAP_FAILED ? nullptr : static_cast<std::byte*>(moved);
}

void unmapPages(std::byte* pages, std::size_t size) noexcept { munmap(pages, size); }

void dropPages(std::byte* pages, std::size_t size) noexcept { madvise(pages, size, MADV_DONTNEED); }

void preferLargePages(void* memory, std::size_t size) noexcept {
  const auto page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
  const auto begin = (reinterpret_cast<std::uintptr_t>(memory) + page - 1) / page * page;
  const auto end = (reinterpret_cast<std::uintptr_t>(memory) + size) / page * page;
  if (begin < end) madvise(reinterpret_cast<void*>(begin), end - begin, MADV_HUGEPAGE);
}

}  // namespace jt::storage
