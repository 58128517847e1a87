#pragma once

// Bytes for the codecs: a cursor that checks every read, a budget for what decoded data may take,
// and the bytes that encoders append to.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <string>
#include <type_traits>
#include <vector>

#include "base/ByteOrder.h"
#include "base/MemoryBudget.h"

namespace jt::codec {

using Bytes = std::vector<std::byte>;

/// Throws JtFormatError.
/// @param offset where in the stored bytes; nothing when several fields contradict each other
[[noreturn]] void fail(const char* code, const std::string& message,
                       std::optional<std::size_t> offset = {});

/// Memory that the decoded form of an input may take. A packet can name millions of values with a
/// few bytes, so counts alone justify nothing: every array is charged here before it is made, and
/// every loop that consumes no input runs over something that was charged.
class Budget {
 public:
  /// @param memory counts what is spent too; null, or outlives the budget and its copies
  explicit Budget(std::uint64_t bytes, MemoryShare* memory = nullptr)
      : left_(bytes), memory_(memory) {}
  /// What an input of that size may grow to: as much as a zlib stream could, within `most`.
  static Budget forInput(std::size_t size, std::uint64_t most = std::uint64_t{1} << 30,
                         MemoryShare* memory = nullptr);
  /// Throws JtFormatError "too_large" when more than what is left would be taken.
  void spend(std::uint64_t bytes, std::optional<std::size_t> offset = {});
  /// False, and nothing is taken, when that is more than what is left.
  bool trySpend(std::uint64_t bytes) noexcept {
    if (bytes > left_ || (memory_ && !memory_->tryTake(bytes))) return false;
    left_ -= bytes;
    return true;
  }
  /// Takes back what was spent since `before` was copied from this budget: the attempt is over.
  void returnTo(const Budget& before) noexcept {
    if (memory_) memory_->give(before.left_ - left_);
    left_ = before.left_;
  }

 private:
  std::uint64_t left_;
  MemoryShare* memory_;
};

/// Reads scalars one after the other. Throws JtFormatError "truncated" where they do not fit.
class ByteCursor {
 public:
  /// @param base offset of bytes[0], for messages
  ByteCursor(std::span<const std::byte> bytes, bool bigEndian, std::size_t base = 0)
      : bytes_(bytes), bigEndian_(bigEndian), base_(base) {}

  bool bigEndian() const noexcept { return bigEndian_; }
  std::size_t left() const noexcept { return bytes_.size() - at_; }
  std::size_t consumed() const noexcept { return at_; }
  std::size_t offset() const noexcept { return base_ + at_; }
  std::span<const std::byte> rest() const noexcept { return bytes_.subspan(at_); }

  std::uint8_t u8(const char* what) { return std::to_integer<std::uint8_t>(take(1, what)[0]); }
  std::uint32_t u32(const char* what) {
    return loadScalar<std::uint32_t>(take(sizeof(std::uint32_t), what).data(), bigEndian_);
  }
  std::int32_t i32(const char* what) { return static_cast<std::int32_t>(u32(what)); }
  /// An I32 that may not be negative.
  std::size_t count(const char* what);
  std::span<const std::byte> take(std::size_t size, const char* what);

 private:
  std::span<const std::byte> bytes_;
  bool bigEndian_;
  std::size_t base_;
  std::size_t at_ = 0;
};

/// Appends a scalar in file order.
template <class T>
void append(Bytes& out, T value, bool bigEndian) {
  using U = std::make_unsigned_t<T>;
  const U stored = inFileOrder(static_cast<U>(value), bigEndian);
  const std::size_t at = out.size();
  out.resize(at + sizeof stored);
  std::memcpy(out.data() + at, &stored, sizeof stored);
}

}  // namespace jt::codec
