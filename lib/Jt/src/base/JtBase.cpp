#include "JtBase.h"

#include "base/ObjectBlocks.h"

void* JtAllocHooked::operator new(std::size_t size) { return jt::ObjectBlocks::allocate(size); }

void JtAllocHooked::operator delete(void* memory) noexcept {
  if (memory) jt::ObjectBlocks::release(memory);
}

void JtAllocHooked::operator delete(void* memory, std::size_t) noexcept { operator delete(memory); }

const JtType* JtBase::classTypeID() {
  static const JtType type("JtBase", nullptr);
  return &type;
}
