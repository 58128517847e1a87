#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <functional>
#include <vector>

#include "JtHash.h"

namespace jt {

/// A hash map in one block of memory: a lookup costs one place in memory where a map of separate
/// entries costs three. Open addressing, at most half full. `Key{}` marks free places and is no
/// key. The table mixes the hash: `Hash` only has to differ for different keys.
template <class Key, class Value, class Hash = std::hash<Key>>
class FlatMap {
 public:
  /// @param expected how many entries fit without growing
  explicit FlatMap(std::size_t expected = 0)
      : slots_(std::max(kLeast, std::bit_ceil(2 * expected))) {}

  /// How many entries there are.
  std::size_t size() const noexcept { return size_; }
  /// The value of a key; null when there is none. Valid until the map changes.
  const Value* find(const Key& key) const noexcept {
    const Slot& slot = slots_[placeOf(key)];
    return slot.key == Key{} ? nullptr : &slot.value;
  }
  /// Begins to load the place of a key, for a look-up that follows soon.
  void prefetch(const Key& key) const noexcept { __builtin_prefetch(&slots_[homeOf(key)]); }
  /// The value of a key, a new one for a new key. Valid until the map changes.
  Value& operator[](const Key& key) {
    if (2 * (size_ + 1) > slots_.size()) grow();
    Slot& slot = slots_[placeOf(key)];
    if (slot.key == Key{}) {
      slot.key = key;
      ++size_;
    }
    return slot.value;
  }
  /// False, changing nothing, when the key is there.
  bool insert(const Key& key, const Value& value) {
    const std::size_t before = size_;
    Value& place = (*this)[key];
    if (size_ == before) return false;
    place = value;
    return true;
  }
  /// False when there is no such key. Takes no memory.
  bool erase(const Key& key) noexcept {
    std::size_t gap = placeOf(key);
    if (slots_[gap].key == Key{}) return false;
    --size_;
    // What was pushed beyond the gap moves up, so that no search stops short of it.
    for (std::size_t at = next(gap); !(slots_[at].key == Key{}); at = next(at)) {
      const std::size_t mask = slots_.size() - 1;
      if (((at - homeOf(slots_[at].key)) & mask) < ((at - gap) & mask)) continue;
      slots_[gap] = slots_[at];
      gap = at;
    }
    slots_[gap] = {};
    return true;
  }
  /// Erases the entries for which `isMeant(key, value)` holds. Takes no memory.
  template <class IsMeant>
  void eraseIf(IsMeant isMeant) {
    // What an erasure moves comes to the place that is looked at, or was looked at before.
    for (std::size_t at = 0; at < slots_.size();) {
      const Slot& slot = slots_[at];
      if (!(slot.key == Key{}) && isMeant(slot.key, slot.value))
        erase(Key(slot.key));
      else
        ++at;
    }
  }
  /// Erases everything. Takes no memory.
  void clear() noexcept {
    slots_.resize(kLeast);
    std::ranges::fill(slots_, Slot{});
    size_ = 0;
  }
  /// Calls `act(key, value)` for every entry, in no particular order.
  template <class Act>
  void forEach(Act act) const {
    for (const Slot& slot : slots_)
      if (!(slot.key == Key{})) act(slot.key, slot.value);
  }

 private:
  struct Slot {
    Key key{};
    Value value{};
  };
  static constexpr std::size_t kLeast = 64;

  std::size_t next(std::size_t place) const noexcept { return (place + 1) & (slots_.size() - 1); }
  std::size_t homeOf(const Key& key) const noexcept {
    const int bits = std::countr_zero(slots_.size());
    return static_cast<std::size_t>((std::uint64_t{Hash{}(key)} * kHashFactor) >> (64 - bits));
  }
  /// Where the key is, or the free place where it would be.
  std::size_t placeOf(const Key& key) const noexcept {
    std::size_t place = homeOf(key);
    while (!(slots_[place].key == Key{}) && !(slots_[place].key == key)) place = next(place);
    return place;
  }
  void grow() {
    std::vector<Slot> larger(2 * slots_.size());
    larger.swap(slots_);
    for (Slot& slot : larger)
      if (!(slot.key == Key{})) slots_[placeOf(slot.key)] = std::move(slot);
  }

  std::vector<Slot> slots_;  // a power of two
  std::size_t size_ = 0;
};

}  // namespace jt
