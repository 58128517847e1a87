#pragma once

#include <algorithm>
#include <cstring>

#include "support/Repacked.h"

// libFuzzer's own; absent where seeds are only replayed.
extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize)
    __attribute__((weak));

/// What a fuzz target may ask for.
inline jt::ReadLimits smallLimits() {
  jt::ReadLimits limits;
  limits.maxSegmentBytes = 4U << 20;
  limits.maxDocumentBytes = 16U << 20;
  return limits;
}

/// Changes the unpacked content of one segment of a JT file and puts it back, since a change of
/// compressed bytes ends at their checksum; the bytes themselves where that is no file. Returns the
/// new size.
/// @param seed chooses the segment: every second time the scene graph
inline std::size_t mutateSegment(std::uint8_t* data, std::size_t size, std::size_t maxSize,
                                 unsigned seed) {
  try {
    const auto bytes = std::as_bytes(std::span(data, size));
    const Repacked file(Bytes(bytes.begin(), bytes.end()), smallLimits());
    const std::size_t row = seed % 2 == 0 ? file.sceneRow() : seed / 2 % file.count();
    const Bytes content = file.content(row);
    std::vector<std::uint8_t> changed(std::max(2 * content.size(), std::size_t{4096}));
    std::ranges::copy(std::as_bytes(std::span(content)),
                      std::as_writable_bytes(std::span(changed)).begin());
    changed.resize(LLVMFuzzerMutate(changed.data(), content.size(), changed.size()));
    const Bytes out = file.with(row, std::as_bytes(std::span(changed)));
    if (out.size() <= maxSize) {
      std::memcpy(data, out.data(), out.size());
      return out.size();
    }
  } catch (const JtFormatError&) {
    // Not a file that can be taken apart.
  }
  return LLVMFuzzerMutate(data, size, maxSize);
}
