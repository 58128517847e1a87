#pragma once

#include <atomic>
#include <cstdint>

#include "IStream.h"

/// A stream that counts its references itself and is destroyed with the last one. The count may be
/// changed from any thread.
// NOLINTNEXTLINE(cppcoreguidelines-virtual-class-destructor): only Release() destroys it.
class HOST_API CountedStream : public IStream {
 public:
  std::uint32_t AddRef() final { return references_.fetch_add(1, std::memory_order_relaxed) + 1; }
  std::uint32_t Release() final {
    const std::uint32_t left = references_.fetch_sub(1, std::memory_order_acq_rel) - 1;
    if (left == 0) delete this;
    return left;
  }

 protected:
  CountedStream() = default;
  ~CountedStream() override = default;

 private:
  std::atomic<std::uint32_t> references_{0};
};
