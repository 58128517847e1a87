#pragma once

#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

namespace jtw {

/// The objects on the way up from one whose parents lead in a circle; nothing where they lead to a
/// sound one or end. What is on a way that ends is sound from then on, so that many walks are
/// linear.
/// @param parentOf the parent of an object; empty for none
template <class ParentOf>
std::vector<std::string> wayIntoCircle(std::string at, std::unordered_set<std::string>& sound,
                                       const ParentOf& parentOf) {
  std::vector<std::string> way;
  std::unordered_set<std::string> met;
  while (!at.empty() && !sound.contains(at) && met.insert(at).second) {
    way.push_back(at);
    at = parentOf(at);
  }
  if (!at.empty() && !sound.contains(at)) return way;
  sound.insert(way.begin(), way.end());
  return {};
}

}  // namespace jtw
