// A whole file: opened, looked at from all sides, edited, saved and opened again. A scene that
// means something else after that is a finding too.

#include <cstdio>
#include <cstdlib>

#include "support/Repacked.h"
#include "support/Survival.h"

namespace {

jt::ReadLimits smallLimits() {
  jt::ReadLimits limits;
  limits.maxSegmentBytes = 4U << 20;
  limits.maxDocumentBytes = 16U << 20;
  return limits;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static MemoryStorage storage;
  const auto bytes = std::as_bytes(std::span(data, size));
  if (survive(storage, Bytes(bytes.begin(), bytes.end()), true, smallLimits()) == "differs") {
    std::fprintf(stderr, "the saved file means something else\n");
    std::abort();
  }
  return 0;
}

// libFuzzer's own; absent where seeds are only replayed.
extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize)
    __attribute__((weak));

/// Every second time the inflated scene graph is changed and put back, since a change of packed
/// bytes ends at their checksum.
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t maxSize, unsigned seed) {
  if (seed % 2 == 0) return LLVMFuzzerMutate(data, size, maxSize);
  try {
    const auto bytes = std::as_bytes(std::span(data, size));
    const Repacked file(Bytes(bytes.begin(), bytes.end()), smallLimits());
    const std::size_t used = file.payload.size();
    std::vector<std::uint8_t> payload(std::max(2 * used, std::size_t{4096}));
    std::memcpy(payload.data(), file.payload.data(), used);
    payload.resize(LLVMFuzzerMutate(payload.data(), used, payload.size()));
    const auto changed = std::as_bytes(std::span(payload));
    const Bytes out = file.with(Bytes(changed.begin(), changed.end()));
    if (out.size() <= maxSize) {
      std::memcpy(data, out.data(), out.size());
      return out.size();
    }
  } catch (const JtFormatError&) {
    // Not a file that can be taken apart.
  }
  return LLVMFuzzerMutate(data, size, maxSize);
}
