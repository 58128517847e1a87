#pragma once

#include <cstddef>
#include <utility>
#include <vector>

#include "JtRefCounted.h"

namespace jt {

/// What follows the last field of an element that this library knows: nearly always nothing, and a
/// pointer then. Copies share the bytes, which do not change.
class TrailingBytes {
 public:
  TrailingBytes() = default;
  /// Holds the bytes, even when there are none.
  explicit TrailingBytes(std::vector<std::byte> bytes) : held_(new Held(std::move(bytes))) {}

  /// True when it holds bytes.
  explicit operator bool() const noexcept { return static_cast<bool>(held_); }
  /// The bytes. @pre there are some
  const std::vector<std::byte>& operator*() const noexcept { return held_->bytes; }
  /// Compares the bytes.
  friend bool operator==(const TrailingBytes& a, const TrailingBytes& b) noexcept {
    return a.held_ && b.held_ ? a.held_->bytes == b.held_->bytes : !a.held_ && !b.held_;
  }

 private:
  struct Held final : JtRefCounted {
    explicit Held(std::vector<std::byte> from) : bytes(std::move(from)) {}
    const std::vector<std::byte> bytes;
  };
  Ref<const Held> held_;
};

}  // namespace jt
