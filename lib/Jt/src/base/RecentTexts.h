#pragma once

#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

#include "JtHash.h"

namespace jt::file {

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
    std::size_t i = 0;
    for (std::uint64_t word = 0; i + 4 <= text.size(); i += 4) {
      std::memcpy(&word, text.data() + i, sizeof word);
      hash = mixHash(hash, word);
    }
    for (; i < text.size(); ++i) hash = mixHash(hash, text[i]);
    // The upper half of a product is where every bit of the factors has been at work.
    return static_cast<std::uint32_t>((hash * kHashFactor) >> 32);
  }

  std::vector<Slot> slots_;
};

}  // namespace jt::file
