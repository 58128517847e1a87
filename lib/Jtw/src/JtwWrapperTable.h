#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

class JtNode;
class JtwNode;

namespace jtw {

/// JT nodes with their wrappers, in one block of memory: a walk over a component looks each node
/// up, and a table of separate entries would cost three places in memory each time.
class WrapperTable {
 public:
  struct Entry {
    JtNode* jtNode = nullptr;  // null: an empty place
    JtwNode* wrapper = nullptr;
  };

  WrapperTable() : entries_(kLeast) {}

  JtwNode* find(const JtNode* jtNode) const { return entries_[placeOf(jtNode)].wrapper; }

  /// False, changing nothing, when the JT node has a wrapper.
  bool insert(JtNode* jtNode, JtwNode* wrapper) {
    if (2 * (size_ + 1) > entries_.size()) grow();
    Entry& entry = entries_[placeOf(jtNode)];
    if (entry.jtNode) return false;
    entry = {jtNode, wrapper};
    ++size_;
    return true;
  }

  void erase(const JtNode* jtNode) {
    std::size_t gap = placeOf(jtNode);
    if (!entries_[gap].jtNode) return;
    --size_;
    // What was pushed beyond the gap moves up, so that no search stops short of it.
    for (std::size_t at = next(gap); entries_[at].jtNode; at = next(at)) {
      const std::size_t home = homeOf(entries_[at].jtNode);
      const std::size_t mask = entries_.size() - 1;
      if (((at - home) & mask) < ((at - gap) & mask)) continue;
      entries_[gap] = entries_[at];
      gap = at;
    }
    entries_[gap] = {};
  }

  /// Takes a wrapper from every JT node that it is entered for.
  void eraseAll(const JtwNode* wrapper) {
    // What an erasure moves comes to the place that is looked at, or was looked at before.
    for (std::size_t at = 0; at < entries_.size();)
      if (entries_[at].jtNode && entries_[at].wrapper == wrapper)
        erase(entries_[at].jtNode);
      else
        ++at;
  }

  /// Takes no memory.
  void clear() noexcept {
    entries_.resize(kLeast);
    std::ranges::fill(entries_, Entry{});
    size_ = 0;
  }

  template <class Act>
  void forEach(Act act) const {
    for (const Entry& entry : entries_)
      if (entry.jtNode) act(entry.jtNode, entry.wrapper);
  }

 private:
  static constexpr std::size_t kLeast = 64;

  std::size_t next(std::size_t place) const { return (place + 1) & (entries_.size() - 1); }
  std::size_t homeOf(const JtNode* jtNode) const {
    // Fibonacci hashing: nodes lie at regular distances in memory.
    const std::uint64_t mixed = std::bit_cast<std::uintptr_t>(jtNode) * 0x9e3779b97f4a7c15ULL;
    return static_cast<std::size_t>(mixed >> 20) & (entries_.size() - 1);
  }
  /// Where the JT node is, or the empty place where it would be.
  std::size_t placeOf(const JtNode* jtNode) const {
    std::size_t place = homeOf(jtNode);
    while (entries_[place].jtNode && entries_[place].jtNode != jtNode) place = next(place);
    return place;
  }
  void grow() {
    std::vector<Entry> larger(2 * entries_.size());
    larger.swap(entries_);
    for (const Entry& entry : larger)
      if (entry.jtNode) entries_[placeOf(entry.jtNode)] = entry;
  }

  std::vector<Entry> entries_;  // a power of two of them, at most half in use
  std::size_t size_ = 0;
};

}  // namespace jtw
