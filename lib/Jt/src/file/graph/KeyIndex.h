#pragma once

// Which properties a scene graph has, without making them.

#include <cstdint>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "JtString.h"

namespace jt::file {

class SceneSource;

/// The keys of all properties of a file: few texts as a rule, which many nodes share.
class KeyIndex {
 public:
  /// Reads the property table once, and each atom that is a key there.
  explicit KeyIndex(SceneSource& source);

  /// False when no property has that key.
  bool has(const JtString& key) const { return !idsOf(key).empty(); }
  /// False when a row of the property table has no property with that key.
  /// @param pairs where the pairs of the row begin
  bool has(const SceneSource& source, std::uint32_t pairs, const JtString& key) const;

 private:
  std::span<const std::int32_t> idsOf(const JtString& key) const;

  std::unordered_map<std::u16string, std::vector<std::int32_t>> ids_;  // object ids of a text
};

}  // namespace jt::file
