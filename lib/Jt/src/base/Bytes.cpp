#include "base/Bytes.h"

#include <algorithm>

#include "JtFormatError.h"

namespace jt::codec {

void fail(const char* code, const std::string& message, std::optional<std::size_t> offset) {
  throw JtFormatError(code, message, {.offset = offset});
}

Budget Budget::forInput(std::size_t size, std::uint64_t most, MemoryShare* memory) {
  constexpr std::uint64_t kFloor = 1 << 20;  // small shapes may be all zero-width packets
  constexpr std::uint64_t kRatio = 1032;
  return Budget(std::min(most, kFloor + kRatio * size), memory);
}

void Budget::spend(std::uint64_t bytes, std::optional<std::size_t> offset) {
  if (bytes > left_)
    fail("too_large",
         "decoded data would take " + std::to_string(bytes) + " bytes, the limit leaves " +
             std::to_string(left_),
         offset);
  if (memory_) memory_->take(bytes, offset);
  left_ -= bytes;
}

std::size_t ByteCursor::count(const char* what) {
  const std::size_t at = offset();
  const std::int32_t value = i32(what);
  if (value < 0)
    fail("bad_count", std::string(what) + " is " + std::to_string(value) + ", expected 0 or more",
         at);
  return static_cast<std::size_t>(value);
}

std::span<const std::byte> ByteCursor::take(std::size_t size, const char* what) {
  if (size > left())
    fail("truncated",
         "expected " + std::to_string(size) + " bytes for " + what + ", found " +
             std::to_string(left()),
         offset());
  const auto taken = bytes_.subspan(at_, size);
  at_ += size;
  return taken;
}

}  // namespace jt::codec
