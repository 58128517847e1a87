#include "AllocationFaults.h"

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <new>

namespace {

std::atomic<bool> isOn{false};
std::atomic<std::size_t> count{0};
std::size_t failFrom = faults::kNever;
bool failsOn = false;

bool fails() noexcept {
  if (!isOn.load(std::memory_order_relaxed)) return false;
  const std::size_t place = count.fetch_add(1);
  return failsOn ? place >= failFrom : place == failFrom;
}

}  // namespace

void faults::begin(std::size_t place, bool forever) noexcept {
  failFrom = place;
  failsOn = forever;
  count = 0;
  isOn = true;
}

std::size_t faults::end() noexcept {
  isOn = false;
  return count;
}

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)

void* operator new(std::size_t size) {
  void* const memory = fails() ? nullptr : std::malloc(size == 0 ? 1 : size);
  if (!memory) throw std::bad_alloc();
  return memory;
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return fails() ? nullptr : std::malloc(size == 0 ? 1 : size);
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

#else

// The allocator of the C library under its other names.
extern "C" {
void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);

static void* refused() noexcept {
  errno = ENOMEM;
  return nullptr;
}
void* malloc(std::size_t size) { return fails() ? refused() : __libc_malloc(size); }
void* calloc(std::size_t number, std::size_t size) {
  return fails() ? refused() : __libc_calloc(number, size);
}
void* realloc(void* memory, std::size_t size) {
  return fails() ? refused() : __libc_realloc(memory, size);
}
}

#endif
