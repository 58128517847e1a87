#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "JtwTree.h"

namespace jtw {

/// The names of listed objects, and which objects have them.
class ObjectNames {
 public:
  /// @param parents index of each entry's parent; of the first entry its own
  ObjectNames(std::span<const TreeEntry> entries, std::span<const std::size_t> parents);

  /// The name of an entry in UTF-8.
  const std::string& name(std::size_t index) const { return names_[index]; }
  /// The entries with a name, in order.
  std::span<const std::size_t> withName(std::string_view name) const;
  /// The entries with a name that are listed right below a parent, in order.
  std::span<const std::size_t> below(std::size_t parent, std::string_view name) const;
  /// The names from the component down, as an address.
  std::string path(std::size_t index) const;

 private:
  std::string step(std::size_t index) const;

  std::span<const std::size_t> parents_;
  std::vector<std::string> names_;
  std::vector<std::size_t> numbers_;  // of an entry, among siblings of its name, from 0 on
  std::unordered_map<std::string_view, std::vector<std::size_t>> byName_;
  struct Place {
    std::size_t parent;
    std::string_view name;
    friend bool operator==(const Place&, const Place&) = default;
  };
  struct PlaceHash {
    std::size_t operator()(const Place& place) const noexcept;
  };
  std::unordered_map<Place, std::vector<std::size_t>, PlaceHash> byPlace_;
};

}  // namespace jtw
