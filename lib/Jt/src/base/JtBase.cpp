#include "JtBase.h"

#include <algorithm>
#include <cstdlib>
#include <new>

void* JtAllocHooked::operator new(std::size_t size) {
  if (void* memory = std::malloc(std::max<std::size_t>(size, 1))) return memory;
  throw std::bad_alloc();
}

void JtAllocHooked::operator delete(void* memory) noexcept { std::free(memory); }

void JtAllocHooked::operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

const JtType* JtBase::classTypeID() {
  static const JtType type("JtBase", nullptr);
  return &type;
}
