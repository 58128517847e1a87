#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <unordered_map>
#include <utility>
#include <vector>

#include "JtInlineList.h"

class JtNode;

namespace jt {

/// The parents of a node: nearly always one. Where there are hundreds they are found by an index,
/// so that a part which occurs everywhere can be taken out of every place. Not owned.
class ParentList {
 public:
  static constexpr std::size_t kIndexFrom = 256;

  ParentList() = default;
  /// Copies the entries, in their order.
  ParentList(const ParentList& other)
      : items_(other.items_),
        index_(other.index_ ? std::make_unique<Index>(*other.index_) : nullptr) {}
  ParentList(ParentList&&) noexcept = default;
  ParentList& operator=(const ParentList&) = delete;
  ParentList& operator=(ParentList&&) noexcept = default;

  /// How many entries there are.
  std::size_t size() const noexcept { return items_.size(); }
  /// An entry. @pre index < size()
  JtNode* operator[](std::size_t index) const noexcept { return items_[index]; }
  /// A failure changes nothing.
  void push_back(JtNode* parent) {
    items_.push_back(parent);
    if (!index_ && items_.size() < kIndexFrom) return;
    try {
      enterLast();
    } catch (...) {
      items_.erase(items_.size() - 1);
      throw;
    }
  }
  /// Takes away one entry of a parent. The others keep their order where there are few; of hundreds
  /// the last one takes the place. Allocates nothing.
  void remove(const JtNode* parent) noexcept {
    if (index_) {
      removeIndexed(parent);
      return;
    }
    // A graph that is taken down lets go of its last links first.
    for (std::size_t i = items_.size(); i-- > 0;)
      if (items_[i] == parent) {
        items_.erase(i);
        return;
      }
  }

 private:
  struct Index {
    std::unordered_map<const JtNode*, std::vector<std::uint32_t>> places;
    std::vector<std::uint32_t> slots;  // of each item, in the list of its parent's places
  };

  void enterLast() {
    if (index_) return add(*index_, items_[items_.size() - 1]);
    auto made = std::make_unique<Index>();
    for (std::size_t i = 0; i < items_.size(); ++i) add(*made, items_[i]);
    index_ = std::move(made);
  }
  static void add(Index& index, const JtNode* parent) {
    std::vector<std::uint32_t>& places = index.places[parent];
    index.slots.push_back(static_cast<std::uint32_t>(places.size()));
    try {
      places.push_back(static_cast<std::uint32_t>(index.slots.size() - 1));
    } catch (...) {
      index.slots.pop_back();
      throw;
    }
  }
  void removeIndexed(const JtNode* parent) noexcept {
    const auto found = index_->places.find(parent);
    if (found == index_->places.end() || found->second.empty()) return;
    const std::size_t place = found->second.back();
    found->second.pop_back();
    const std::size_t last = items_.size() - 1;
    if (place != last) {
      JtNode* const moved = items_[last];
      items_[place] = moved;
      index_->places.find(moved)->second[index_->slots[last]] = static_cast<std::uint32_t>(place);
      index_->slots[place] = index_->slots[last];
    }
    items_.erase(last);
    index_->slots.pop_back();
  }

  InlineList<JtNode*> items_;
  std::unique_ptr<Index> index_;  // from kIndexFrom items on
};

}  // namespace jt
