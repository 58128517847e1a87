#pragma once

#include <cstddef>
#include <vector>

#include "CountedStream.h"

/// A stream over bytes in memory.
// NOLINTNEXTLINE(cppcoreguidelines-virtual-class-destructor): only Release() destroys it.
class HOST_API MemoryStream final : public CountedStream {
 public:
  /// Makes a stream that starts with the given bytes, at position 0.
  static CComPtr<MemoryStream> create(std::vector<std::byte> bytes = {});

  IStreamResult Read(void* buffer, std::size_t size, std::size_t& done) override;
  IStreamResult Write(const void* buffer, std::size_t size, std::size_t& done) override;
  IStreamResult Seek(std::int64_t move, IStreamOrigin origin,
                     std::uint64_t* newPosition = nullptr) override;
  IStreamResult Stat(IStreamStat& stat) const override;
  IStreamResult SetSize(std::uint64_t size) override;
  IStreamResult Commit() override;

  /// The content; valid until the next Write or SetSize.
  const std::vector<std::byte>& bytes() const { return bytes_; }

 private:
  explicit MemoryStream(std::vector<std::byte> bytes);
  ~MemoryStream() override = default;

  std::vector<std::byte> bytes_;
  std::uint64_t position_ = 0;
};
