#pragma once

#include <cstddef>
#include <new>
#include <type_traits>
#include <utility>

#include "base/PageMemory.h"

namespace jt::storage {

/// An array to work in, with nothing in it at first. A big one has pages of its own, so that it
/// comes in large ones and the memory of the process does not grow and shrink with each.
template <class T>
class WorkArray {
  static_assert(std::is_trivially_copyable_v<T> && std::is_trivially_destructible_v<T>);

 public:
  WorkArray() = default;
  explicit WorkArray(std::size_t size) : size_(size) {
    values_ = isMapped() ? reinterpret_cast<T*>(mapPages(bytes()))
                         : static_cast<T*>(::operator new(bytes()));
    if (!values_) throw std::bad_alloc();
  }
  WorkArray(WorkArray&& other) noexcept
      : values_(std::exchange(other.values_, nullptr)), size_(std::exchange(other.size_, 0)) {}
  WorkArray& operator=(WorkArray&& other) noexcept {
    std::swap(values_, other.values_);
    std::swap(size_, other.size_);
    return *this;
  }
  WorkArray(const WorkArray&) = delete;
  WorkArray& operator=(const WorkArray&) = delete;
  ~WorkArray() {
    if (isMapped()) {
      unmapPages(reinterpret_cast<std::byte*>(values_), bytes());
    } else {
      ::operator delete(values_);
    }
  }

  T* data() noexcept { return values_; }
  const T* data() const noexcept { return values_; }
  std::size_t size() const noexcept { return size_; }
  T& operator[](std::size_t i) noexcept { return values_[i]; }
  const T& operator[](std::size_t i) const noexcept { return values_[i]; }

 private:
  std::size_t bytes() const noexcept { return size_ * sizeof(T); }
  bool isMapped() const noexcept { return bytes() >= kOwnPages; }

  T* values_ = nullptr;
  std::size_t size_ = 0;
};

}  // namespace jt::storage
