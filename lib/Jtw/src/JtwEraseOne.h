#pragma once

#include <algorithm>
#include <iterator>

namespace jtw {

/// Takes the first entry that is `item` out of a list; false when there is none. What is listed
/// once is looked for at the back first, so that a long list is emptied from either end quickly.
template <class List, class Item>
bool eraseOne(List& list, const Item& item, bool isListedOnce) {
  if (list.empty()) return false;
  const auto last = std::prev(list.end());
  const auto found =
      isListedOnce && *last == item ? last : std::find(list.begin(), list.end(), item);
  if (found == list.end()) return false;
  list.erase(found);
  return true;
}

}  // namespace jtw
