#pragma once

#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

namespace jt {

/// A list of pointers that is nearly always empty or of one item: the first one lies in the list
/// itself. None of them is null.
template <class T>
class InlineList {
 public:
  InlineList() = default;
  /// Copies the items.
  InlineList(const InlineList& other)
      : first_(other.first_),
        rest_(other.rest_ ? std::make_unique<std::vector<T>>(*other.rest_) : nullptr) {}
  InlineList(InlineList&&) noexcept = default;
  InlineList& operator=(const InlineList&) = delete;
  InlineList& operator=(InlineList&&) noexcept = default;

  /// How many items there are.
  std::size_t size() const noexcept { return (first_ ? 1U : 0U) + (rest_ ? rest_->size() : 0U); }
  /// An item. @pre index < size()
  T& operator[](std::size_t index) noexcept { return index == 0 ? first_ : (*rest_)[index - 1]; }
  const T& operator[](std::size_t index) const noexcept {
    return index == 0 ? first_ : (*rest_)[index - 1];
  }
  /// Appends an item.
  void push_back(T item) {
    if (!first_) {
      first_ = std::move(item);
      return;
    }
    if (!rest_) rest_ = std::make_unique<std::vector<T>>();
    rest_->push_back(std::move(item));
  }
  /// Removes the item of that index; the others keep their order.
  void erase(std::size_t index) noexcept {
    if (index > 0) {
      rest_->erase(rest_->begin() + static_cast<std::ptrdiff_t>(index - 1));
    } else if (rest_ && !rest_->empty()) {
      first_ = std::move(rest_->front());
      rest_->erase(rest_->begin());
    } else {
      first_ = T();
    }
  }

 private:
  T first_{};
  std::unique_ptr<std::vector<T>> rest_;
};

}  // namespace jt
