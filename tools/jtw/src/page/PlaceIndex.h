#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <span>
#include <unordered_map>
#include <utility>
#include <vector>

#include "JtwObjects.h"

class JtNode;

namespace tool {

/// Finds the place of an object in a list of all places by a path in the scene graph.
class PlaceIndex {
 public:
  /// @param places as jtw::Objects::allPlaces() has them
  explicit PlaceIndex(std::span<const jtw::ListedObject> places);

  /// Index of the last place on the way from the root of the graph down to the end of the path.
  std::size_t of(std::span<JtNode* const> path) const;
  /// Index of an annotation's place. @param carrier node with its PMI @param entity index in them
  /// @param place that the path to the carrier leads to; returned where nothing is listed
  std::size_t ofAnnotation(const JtNode* carrier, std::size_t entity, std::size_t place) const;

 private:
  /// A node of the scene graph on a path that leads to a place.
  struct Step {
    std::optional<std::size_t> place;
    std::unordered_map<const JtNode*, std::size_t> below;  // indices of steps
  };

  std::vector<Step> steps_;
  const JtNode* root_;
  std::vector<std::size_t> parents_;  // of each place
  std::map<std::pair<const JtNode*, std::size_t>, std::vector<std::size_t>> annotations_;
};

}  // namespace tool
