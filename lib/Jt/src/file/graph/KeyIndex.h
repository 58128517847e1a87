#pragma once

// Which properties a scene graph has, without making them.

#include <cstdint>
#include <unordered_map>
#include <vector>

#include "JtString.h"

namespace jt::file {

class SceneSource;

/// The keys of all properties of a file: few texts as a rule, each in one atom or in very many.
class KeyIndex {
 public:
  /// Reads the property table once, and each atom that is a key there.
  explicit KeyIndex(SceneSource& source);

  /// False when no property has that key.
  bool has(const JtString& key) const { return numbers_.contains(key); }
  /// False when a row of the property table has no property with that key.
  /// @param pairs where the pairs of the row begin
  bool has(const SceneSource& source, std::uint32_t pairs, const JtString& key) const;

 private:
  static constexpr std::uint32_t kUnknown = 0;  // an atom that is no key
  static constexpr std::uint32_t kNoText = 1;

  // Of the texts, from kNoText + 1 on.
  std::unordered_map<JtString, std::uint32_t, TextHash> numbers_;
  std::vector<std::uint32_t> numberOf_;  // of each atom, by element
};

}  // namespace jt::file
