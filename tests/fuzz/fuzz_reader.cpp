// A whole file: opened, looked at from all sides, edited, saved and opened again. A scene that
// means something else after that is a finding too.

#include <cstdio>
#include <cstdlib>

#include "SegmentMutator.h"
#include "support/Survival.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static MemoryStorage storage;
  const auto bytes = std::as_bytes(std::span(data, size));
  if (survive(storage, Bytes(bytes.begin(), bytes.end()), true, smallLimits()) == "differs") {
    std::fprintf(stderr, "the saved file means something else\n");
    std::abort();
  }
  return 0;
}

/// Every second time the unpacked content of a segment is changed.
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t maxSize, unsigned seed) {
  return seed % 2 == 0 ? LLVMFuzzerMutate(data, size, maxSize)
                       : mutateSegment(data, size, maxSize, seed / 2);
}
