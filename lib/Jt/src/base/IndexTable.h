#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "JtHash.h"

namespace jt {

/// Finds entries of the caller's array by their hash: open addressing over their indices.
class IndexTable {
 public:
  static constexpr std::uint32_t kFree = 0xffffffffU;

  /// @param most how many indices will be entered
  explicit IndexTable(std::size_t most = 0)
      : slots_(std::max<std::size_t>(16, std::bit_ceil(2 * most)), kFree) {}

  /// The index with that hash for which `isEqual(index)` holds; kFree when there is none: to be
  /// set at once then.
  template <class IsEqual>
  std::uint32_t& find(std::uint64_t hash, IsEqual isEqual) noexcept {
    return slots_[placeOf(hash, isEqual)];
  }
  template <class IsEqual>
  std::uint32_t find(std::uint64_t hash, IsEqual isEqual) const noexcept {
    return slots_[placeOf(hash, isEqual)];
  }

 private:
  template <class IsEqual>
  std::size_t placeOf(std::uint64_t hash, IsEqual& isEqual) const noexcept {
    const int bits = std::countr_zero(slots_.size());
    auto at = static_cast<std::size_t>((hash * kHashFactor) >> (64 - bits));
    while (slots_[at] != kFree && !isEqual(slots_[at])) at = (at + 1) & (slots_.size() - 1);
    return at;
  }

  std::vector<std::uint32_t> slots_;
};

}  // namespace jt
