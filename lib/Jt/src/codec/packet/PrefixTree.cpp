#include "codec/packet/PrefixTree.h"

#include "JtFormatError.h"

namespace jt::codec {

namespace {

/// Choices that the format leaves open.
struct Reading {
  bool strict = true;     ///< a child moves up only when it is lighter, not when equally light
  bool oneIsLeft = true;  ///< a bit of 1 goes to the node that was taken first
};

/// Min-heap by weight. Hand-written because the order of ties shapes the tree.
class Heap {
 public:
  struct Item {
    std::uint64_t weight = 0;
    std::uint32_t node = 0;
  };
  explicit Heap(bool strict) : strict_(strict), items_(1) {}  // 1-based
  std::size_t size() const noexcept { return items_.size() - 1; }

  void push(Item item) {
    items_.push_back(item);
    std::size_t i = size();
    for (; i > 1 && items_[i / 2].weight > item.weight; i /= 2) items_[i] = items_[i / 2];
    items_[i] = item;
  }
  Item pop() {
    const Item top = items_[1];
    const Item last = items_.back();
    items_.pop_back();
    std::size_t i = 1;
    for (std::size_t child = 2; child <= size(); child *= 2) {
      if (child < size() && items_[child].weight > items_[child + 1].weight) ++child;
      if (strict_ ? last.weight < items_[child].weight : last.weight <= items_[child].weight) break;
      items_[i] = items_[child];
      i = child;
    }
    if (size() > 0) items_[i] = last;
    return top;
  }

 private:
  bool strict_;
  std::vector<Item> items_;
};

/// Nodes below `leaves` are the entries of the table, those from it on have two children.
struct Tree {
  std::uint32_t leaves = 0;
  std::uint32_t root = 0;
  std::vector<std::array<std::uint32_t, 2>> children;

  Tree(const ContextTable& table, const Reading& reading)
      : leaves(static_cast<std::uint32_t>(table.entries.size())) {
    Heap heap(reading.strict);
    for (std::uint32_t i = 0; i < leaves; ++i) heap.push({table.entries[i].occurrences, i});
    while (heap.size() > 1) {
      const Heap::Item left = heap.pop();
      const Heap::Item right = heap.pop();
      const auto node = leaves + static_cast<std::uint32_t>(children.size());
      children.push_back({right.node, left.node});  // by the bit that leads there
      if (!reading.oneIsLeft) std::swap(children.back()[0], children.back()[1]);
      heap.push({left.weight + right.weight, node});
    }
    root = heap.pop().node;
  }
};

struct Attempt {
  bool complete = false;  ///< all input used, each symbol as often as its table states
};

Attempt run(WordBits bits, std::span<const ContextTable> tables, const Reading& reading,
            std::size_t symbolCount, OutOfBand outOfBand, std::span<std::int32_t> out) {
  std::vector<Tree> trees;
  std::vector<std::vector<std::uint32_t>> seen;
  for (const ContextTable& table : tables) {
    trees.emplace_back(table, reading);
    seen.emplace_back(table.entries.size());
  }
  std::size_t current = 0;
  std::size_t produced = 0;
  for (std::size_t i = 0; i < symbolCount; ++i) {
    const Tree& tree = trees[current];
    std::uint32_t node = tree.root;
    while (node >= tree.leaves) node = tree.children[node - tree.leaves][bits.take(1)];
    const ContextEntry& entry = tables[current].entries[node];
    ++seen[current][node];
    if (!entry.escape || current == 0) {
      if (produced == out.size()) fail("bad_packet", "more symbols than values", bits.offset());
      out[produced++] = entry.escape ? outOfBand.next(bits.offset()) : entry.value;
    }
    current = entry.next;
  }
  if (produced != out.size()) fail("bad_packet", "fewer symbols than values", bits.offset());
  Attempt attempt{bits.left() == 0 && outOfBand.allTaken()};
  for (std::size_t t = 0; t < tables.size(); ++t)
    for (std::size_t e = 0; e < seen[t].size(); ++e)
      attempt.complete = attempt.complete && seen[t][e] == tables[t].entries[e].occurrences;
  return attempt;
}

}  // namespace

void decodePrefixTree(WordBits bits, std::span<const ContextTable> tables, std::size_t symbolCount,
                      const std::vector<std::int32_t>& outOfBand, std::span<std::int32_t> out) {
  for (const Reading reading :
       {Reading{true, true}, Reading{false, true}, Reading{true, false}, Reading{false, false}}) {
    try {
      if (run(bits, tables, reading, symbolCount, OutOfBand(outOfBand), out).complete) return;
    } catch (const JtFormatError&) {
      // The next reading may fit.
    }
  }
  // Scaled occurrences never match: use the default reading and its errors.
  run(bits, tables, {}, symbolCount, OutOfBand(outOfBand), out);
}

}  // namespace jt::codec
