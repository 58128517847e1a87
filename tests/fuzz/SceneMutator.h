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

/// Changes the inflated scene graph of a JT file and puts it back, since a change of packed bytes
/// ends at their checksum; the bytes themselves where that is no file. Returns the new size.
inline std::size_t mutateScene(std::uint8_t* data, std::size_t size, std::size_t maxSize) {
  try {
    const auto bytes = std::as_bytes(std::span(data, size));
    const Repacked file(Bytes(bytes.begin(), bytes.end()), smallLimits());
    const std::size_t used = file.payload.size();
    std::vector<std::uint8_t> payload(std::max(2 * used, std::size_t{4096}));
    std::ranges::copy(std::as_bytes(std::span(file.payload)),
                      std::as_writable_bytes(std::span(payload)).begin());
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
