#include "inspect/compare/ChildMatch.h"

#include <algorithm>
#include <functional>

#include "JtHash.h"
#include "JtPartition.h"

namespace jt::compare_detail {

namespace {

constexpr int kNone = -1;

/// The children of one node and their partners.
struct Side {
  Side(const JtNode& node, const GraphFacts& graph) {
    const int count = numOwnChildren(node);
    for (int i = 0; i < count; ++i) {
      children.push_back(ownChild(node, i));
      facts.push_back(&graph.of(ownChild(node, i)));
    }
    partner.assign(children.size(), kNone);
  }
  std::size_t size() const noexcept { return children.size(); }
  bool isFree(std::size_t i) const { return partner[i] == kNone; }
  std::uint64_t typeHash(std::size_t i) const {
    return mixHash(0, PointerHash{}(children[i]->typeID()));
  }

  std::vector<const JtNode*> children;
  std::vector<const NodeFacts*> facts;
  std::vector<int> partner;
};

class Matcher {
 public:
  Matcher(Side& a, Side& b) : a_(a), b_(b) {}

  void run() {
    matchEnds();
    if (!hasFree()) return;
    matchBy([](const Side& side, std::size_t i) { return side.facts[i]->keyHash; });
    matchBy([](const Side& side, std::size_t i) { return side.facts[i]->subtree; });
    matchBy([](const Side& side, std::size_t i) { return side.facts[i]->content; });
    matchBy([](const Side& side, std::size_t i) {
      const std::uint64_t name = side.facts[i]->nameHash;
      return name == 0 ? 0 : name ^ side.typeHash(i);
    });
    matchBy([](const Side& side, std::size_t i) { return side.facts[i]->nameHash; });
    matchByPlace();
  }

 private:
  void pair(std::size_t a, std::size_t b) {
    a_.partner[a] = static_cast<int>(b);
    b_.partner[b] = static_cast<int>(a);
  }

  bool hasFree() const {
    const auto isFree = [](int partner) { return partner == kNone; };
    return std::any_of(a_.partner.begin(), a_.partner.end(), isFree) &&
           std::any_of(b_.partner.begin(), b_.partner.end(), isFree);
  }

  /// Children that are alike from the front and from the back: what is in between was edited.
  void matchEnds() {
    const std::size_t common = std::min(a_.size(), b_.size());
    std::size_t front = 0;
    while (front < common && a_.facts[front]->subtree == b_.facts[front]->subtree) {
      pair(front, front);
      ++front;
    }
    for (std::size_t back = 1; back <= common - front; ++back) {
      const std::size_t a = a_.size() - back;
      const std::size_t b = b_.size() - back;
      if (a_.facts[a]->subtree != b_.facts[b]->subtree) return;
      pair(a, b);
    }
  }

  /// Pairs free children of equal value, the first with the first; 0 is no value.
  template <class Value>
  void matchBy(Value value) {
    std::unordered_map<std::uint64_t, std::vector<std::size_t>> waiting;
    for (std::size_t i = b_.size(); i-- > 0;)
      if (b_.isFree(i))
        if (const std::uint64_t hash = value(b_, i)) waiting[hash].push_back(i);
    if (waiting.empty()) return;
    for (std::size_t i = 0; i < a_.size(); ++i) {
      if (!a_.isFree(i)) continue;
      const auto found = waiting.find(value(a_, i));
      if (found == waiting.end() || found->second.empty()) continue;
      pair(i, found->second.back());
      found->second.pop_back();
    }
  }

  /// Pairs free children of one type that follow the same matched child. The neighbours are those
  /// of before: what is paired here is no neighbour.
  void matchByPlace() {
    std::vector<std::uint64_t> placesA(a_.size());
    std::vector<std::uint64_t> placesB(b_.size());
    std::uint64_t place = 1;
    for (std::size_t i = 0; i < a_.size(); ++i) {
      if (!a_.isFree(i)) place = static_cast<std::uint64_t>(a_.partner[i]) + 2;
      placesA[i] = place;
    }
    place = 1;
    for (std::size_t i = 0; i < b_.size(); ++i) {
      if (!b_.isFree(i)) place = i + 2;
      placesB[i] = place;
    }
    matchBy([&](const Side& side, std::size_t i) {
      return (&side == &a_ ? placesA : placesB)[i] ^ side.typeHash(i);
    });
  }

  Side& a_;
  Side& b_;
};

/// Marks all pairs but those of a longest run whose places in b ascend.
void markMoved(std::vector<ChildMatch::Pair>& pairs) {
  const auto inOrder = [](const auto& x, const auto& y) { return x.b < y.b; };
  if (std::is_sorted(pairs.begin(), pairs.end(), inOrder)) return;
  std::vector<std::size_t> ends;                     // last pair of the best run of each length
  std::vector<std::size_t> before(pairs.size(), 0);  // in the run that ends with a pair
  for (std::size_t i = 0; i < pairs.size(); ++i) {
    const auto place = std::lower_bound(ends.begin(), ends.end(), pairs[i].b,
                                        [&](std::size_t end, int b) { return pairs[end].b < b; });
    if (place != ends.begin()) before[i] = *(place - 1);
    if (place == ends.end())
      ends.push_back(i);
    else
      *place = i;
  }
  for (ChildMatch::Pair& pair : pairs) pair.moved = true;
  std::size_t at = ends.back();
  for (std::size_t left = ends.size(); left > 0; --left) {
    pairs[at].moved = false;
    at = before[at];
  }
}

}  // namespace

ChildMatch matchChildren(const JtNode& a, const GraphFacts& factsA, const JtNode& b,
                         const GraphFacts& factsB) {
  Side sideA(a, factsA);
  Side sideB(b, factsB);
  Matcher(sideA, sideB).run();
  ChildMatch match;
  for (std::size_t i = 0; i < sideA.size(); ++i) {
    if (sideA.isFree(i))
      match.onlyA.push_back(static_cast<int>(i));
    else
      match.pairs.push_back({static_cast<int>(i), sideA.partner[i]});
  }
  for (std::size_t i = 0; i < sideB.size(); ++i)
    if (sideB.isFree(i)) match.onlyB.push_back(static_cast<int>(i));
  markMoved(match.pairs);
  return match;
}

}  // namespace jt::compare_detail
