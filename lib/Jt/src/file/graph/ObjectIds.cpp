#include "file/graph/ObjectIds.h"

#include <algorithm>

namespace jt::file {

void ObjectIds::spell() {
  ids_.reserve(2 * std::size_t{count_} + 1);
  for (std::uint32_t element = 0; element < count_; ++element)
    ids_.push_back(static_cast<std::int32_t>(first_ + element));
}

void ObjectIds::keep(std::int32_t id) {
  if (ids_.empty()) spell();
  ids_.push_back(id);
}

/// False when nothing is left to do.
bool ObjectIds::prepare() {
  if (count_ == 0) return false;
  if (ids_.empty()) {
    if (first_ > 0) {
      max_ = (*this)[count_ - 1];
      return false;
    }
    spell();  // those that are not positive are noted one by one
  }
  max_ = std::max(0, *std::ranges::max_element(ids_));
  if (static_cast<std::size_t>(max_) <= 4 * ids_.size() + 1024) {
    dense_.assign(static_cast<std::size_t>(max_) + 1, kNone);
  } else {
    sparse_.reserve(ids_.size());
  }
  return true;
}

/// False for an id that leads to no element or to another one.
bool ObjectIds::enter(std::uint32_t element) {
  const std::int32_t id = ids_[element];
  if (id <= 0) return false;
  if (dense_.empty()) return sparse_.emplace(id, element).second;
  std::uint32_t& slot = dense_[static_cast<std::size_t>(id)];
  if (slot != kNone) return false;
  slot = element;
  return true;
}

std::uint32_t ObjectIds::findSparse(std::int32_t id) const noexcept {
  const auto found = sparse_.find(id);
  return found == sparse_.end() ? kNone : found->second;
}

}  // namespace jt::file
