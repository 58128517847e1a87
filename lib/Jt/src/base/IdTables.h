#pragma once

// Flat hash tables of the scene writer: they are asked once or more for every object of a save.

#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

namespace jt::file {

/// Open addressing over slots with a hash, grown at half load.
template <class Key, class Hash>
class IdTable {
 public:
  explicit IdTable(std::size_t expected = 0) {
    std::size_t size = 64;
    while (size < 2 * expected) size *= 2;
    slots_.resize(size);
  }

  /// The id of a key; a reference to 0 when the key is new. Valid until the next call.
  std::int32_t& operator[](const Key& key) {
    if (2 * (count_ + 1) > slots_.size()) grow();
    Slot& slot = slots_[find(slots_, key)];
    if (!slot.used) {
      slot = {key, 0, true};
      ++count_;
    }
    return slot.id;
  }
  /// The id of a key, 0 when it is not there.
  std::int32_t at(const Key& key) const {
    const Slot& slot = slots_[find(slots_, key)];
    return slot.used ? slot.id : 0;
  }

 private:
  struct Slot {
    Key key{};
    std::int32_t id = 0;
    bool used = false;
  };

  static std::size_t find(const std::vector<Slot>& slots, const Key& key) {
    std::size_t at = Hash{}(key) & (slots.size() - 1);
    while (slots[at].used && !(slots[at].key == key)) at = (at + 1) & (slots.size() - 1);
    return at;
  }
  void grow() {
    std::vector<Slot> larger(2 * slots_.size());
    for (Slot& slot : slots_)
      if (slot.used) larger[find(larger, slot.key)] = slot;
    slots_.swap(larger);
  }

  std::vector<Slot> slots_;
  std::size_t count_ = 0;
};

struct PointerHash {
  std::size_t operator()(const void* pointer) const noexcept {
    auto bits = reinterpret_cast<std::uintptr_t>(pointer) >> 4;
    bits *= 0x9e3779b97f4a7c15ULL;
    return static_cast<std::size_t>(bits >> 20);
  }
};

template <class Object>
using PointerIds = IdTable<const Object*, PointerHash>;
/// The texts that were met lately, by what they say. A new text takes the place of an older one
/// with the same slot: the table stays as small as the processor's cache, and texts that many
/// objects share are found nearly always. A text that is forgotten costs one more atom, nothing
/// else.
class RecentTexts {
 public:
  RecentTexts() : slots_(kSlots) {}

  /// The id of a text; a reference to 0 when it is not known, to be filled at once.
  /// @param textOf gives the text that an id was filled for
  template <class TextOf>
  std::int32_t& find(std::u16string_view text, TextOf textOf) {
    const std::uint32_t hash = hashOf(text);
    Slot& slot = slots_[hash % kSlots];
    if (slot.id == 0 || slot.hash != hash || textOf(slot.id) != text) slot = {hash, 0};
    return slot.id;
  }

 private:
  static constexpr std::size_t kSlots = 1U << 16;
  struct Slot {
    std::uint32_t hash = 0;
    std::int32_t id = 0;
  };

  static std::uint32_t hashOf(std::u16string_view text) noexcept {
    std::uint64_t hash = text.size();
    const auto mix = [&](std::uint64_t word) {
      hash = (hash ^ word) * 0x9e3779b97f4a7c15ULL;
      hash ^= hash >> 32;
    };
    std::size_t i = 0;
    for (std::uint64_t word = 0; i + 4 <= text.size(); i += 4) {
      std::memcpy(&word, text.data() + i, sizeof word);
      mix(word);
    }
    for (; i < text.size(); ++i) mix(text[i]);
    // The upper half of a product is where every bit of the factors has been at work.
    return static_cast<std::uint32_t>((hash * 0xbf58476d1ce4e5b9ULL) >> 32);
  }

  std::vector<Slot> slots_;
};

}  // namespace jt::file
