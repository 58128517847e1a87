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
  const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  const std::size_t outside = reinterpret_cast<std::uintptr_t>(memory) % page;
  const std::size_t before = outside == 0 ? 0 : page - outside;
  if (size < before + page) return;
  madvise(static_cast<std::byte*>(memory) + before, (size - before) / page * page, MADV_HUGEPAGE);
}

}  // namespace jt::storage
