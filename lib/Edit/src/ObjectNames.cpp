#include "ObjectNames.h"

#include <algorithm>
#include <functional>

#include "JtHash.h"
#include "JtNodePath.h"
#include "JtwObjects.h"

namespace jtw {

std::size_t ObjectNames::PlaceHash::operator()(const Place& place) const noexcept {
  return static_cast<std::size_t>(
      jt::mixHash(place.parent, std::hash<std::string_view>()(place.name)));
}

ObjectNames::ObjectNames(std::span<const TreeEntry> entries, std::span<const std::size_t> parents)
    : parents_(parents), numbers_(entries.size()) {
  names_.reserve(entries.size());
  for (const TreeEntry& entry : entries) names_.push_back(nameOf(*entry.node));
  for (std::size_t i = 0; i < names_.size(); ++i) {
    byName_[names_[i]].push_back(i);
    if (i == 0) continue;
    std::vector<std::size_t>& siblings = byPlace_[{parents_[i], names_[i]}];
    numbers_[i] = siblings.size();
    siblings.push_back(i);
  }
}

std::span<const std::size_t> ObjectNames::withName(std::string_view name) const {
  const auto found = byName_.find(name);
  return found == byName_.end() ? std::span<const std::size_t>() : found->second;
}

std::span<const std::size_t> ObjectNames::below(std::size_t parent, std::string_view name) const {
  const auto found = byPlace_.find({parent, name});
  return found == byPlace_.end() ? std::span<const std::size_t>() : found->second;
}

std::string ObjectNames::step(std::size_t index) const {
  std::string text = "/" + jt::escapedStep(names_[index]);
  const bool isOneOfSeveral =
      index > 0 && byPlace_.find({parents_[index], names_[index]})->second.size() > 1;
  if (isOneOfSeveral || names_[index].empty())
    text += "[" + std::to_string(numbers_[index] + 1) + "]";
  return text;
}

std::string ObjectNames::path(std::size_t index) const {
  std::vector<std::size_t> way{index};
  while (way.back() != 0) way.push_back(parents_[way.back()]);
  std::string text;
  for (auto at = way.rbegin(); at != way.rend(); ++at) text += step(*at);
  return text;
}

}  // namespace jtw
