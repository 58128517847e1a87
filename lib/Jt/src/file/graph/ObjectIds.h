#pragma once

#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <vector>

namespace jt::file {

/// The object ids of the elements of a segment, and the way back. Ids that count up from element to
/// element, as writers give them, take no memory.
class ObjectIds {
 public:
  static constexpr std::uint32_t kNone = 0xffffffffU;

  /// The id of the next element.
  void push_back(std::int32_t id) {
    if (ids_.empty() && (count_ == 0 || id == first_ + static_cast<std::int64_t>(count_))) {
      if (count_ == 0) first_ = id;
    } else {
      keep(id);
    }
    ++count_;
  }
  /// Makes find() and max() ready, once all ids are there.
  /// @param note called as note(element, isPositive) for each id that find() does not lead back
  ///   from: one that is not positive, or that an element before has
  template <class Note>
  void index(const Note& note);

  std::uint32_t size() const noexcept { return count_; }
  std::int32_t operator[](std::uint32_t element) const noexcept {
    return ids_.empty() ? static_cast<std::int32_t>(first_ + element) : ids_[element];
  }
  /// The greatest one, 0 at least.
  std::int32_t max() const noexcept { return max_; }
  /// The first element with that id, or kNone.
  std::uint32_t find(std::int32_t id) const noexcept {
    if (id <= 0 || id > max_) return kNone;
    if (ids_.empty()) return id < first_ ? kNone : static_cast<std::uint32_t>(id - first_);
    return dense_.empty() ? findSparse(id) : dense_[static_cast<std::size_t>(id)];
  }

 private:
  void spell();
  void keep(std::int32_t id);
  bool prepare();
  bool enter(std::uint32_t element);
  std::uint32_t findSparse(std::int32_t id) const noexcept;

  std::int64_t first_ = 0;  // of ids that count up
  std::uint32_t count_ = 0;
  std::int32_t max_ = 0;
  std::vector<std::int32_t> ids_;                           // where they do not count up
  std::vector<std::uint32_t> dense_;                        // id -> element, where ids are dense
  std::unordered_map<std::int32_t, std::uint32_t> sparse_;  // the same where they are not
};

template <class Note>
void ObjectIds::index(const Note& note) {
  if (!prepare()) return;
  for (std::uint32_t element = 0; element < count_; ++element)
    if (!enter(element)) note(element, ids_[element] > 0);
}

}  // namespace jt::file
