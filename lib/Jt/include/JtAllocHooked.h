#pragma once

#include <cstddef>

#include "JtExport.h"

/// Objects whose memory comes from the library's allocator, so that it is freed by the library that
/// made it whichever module drops the last reference.
class JT_API JtAllocHooked {
 public:
  /// Memory from the library's allocator; std::bad_alloc when there is none.
  static void* operator new(std::size_t size);
  static void operator delete(void* memory) noexcept;
  static void operator delete(void* memory, std::size_t size) noexcept;
};

namespace jt {

/// Gives containers in JT objects the memory that the objects have: while a file is read, that of
/// an object and of what is in it lie side by side.
template <class T>
struct ObjectAllocator {
  using value_type = T;
  ObjectAllocator() noexcept = default;
  template <class U>
  /// All allocators are equal.
  ObjectAllocator(const ObjectAllocator<U>&) noexcept {}

  /// Throws std::bad_alloc.
  T* allocate(std::size_t count) {
    return static_cast<T*>(JtAllocHooked::operator new(count * sizeof(T)));
  }
  void deallocate(T* memory, std::size_t) noexcept { JtAllocHooked::operator delete(memory); }
  friend bool operator==(const ObjectAllocator&, const ObjectAllocator&) noexcept { return true; }
};

}  // namespace jt
