#pragma once

// Pairs of nodes that were held against each other, and the differences between them.

#include <array>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "JtCompare.h"
#include "JtNodePath.h"
#include "inspect/compare/NodeFacts.h"

namespace jt::compare_detail {

/// Index of a pair of nodes.
using PairId = std::uint32_t;

/// Two nodes, and where they were met first.
struct NodePair {
  const JtNode* a = nullptr;
  const JtNode* b = nullptr;
  PairId parent = 0;  ///< of the root pair: 0, itself
  int indexA = 0;     ///< among the parent's children
  int indexB = 0;
  double millimetres = 1;  ///< in the unit of length of `a`, own or inherited
};

/// The sides of the comparison.
struct Graphs {
  const JtPartition& a;
  const JtPartition& b;
  GraphFacts factsA;
  GraphFacts factsB;
};

/// Counts differences and reports the first ones, with the path of their node.
class Report {
 public:
  Report(const Graphs& graphs, const CompareOptions& options, CompareSink& sink)
      : graphs_(graphs), most_(options.maxDifferences), sink_(sink) {
    for (const DifferenceKind kind : options.ignored) isIgnored_[indexOf(kind)] = true;
  }

  PairId add(const NodePair& pair) {
    pairs_.push_back(pair);
    return static_cast<PairId>(pairs_.size() - 1);
  }
  const NodePair& pair(PairId id) const { return pairs_[id]; }
  const std::vector<NodePair>& pairs() const noexcept { return pairs_; }

  /// A difference of a pair, or of the file when `pair` is kFile. `values` is called only for
  /// differences that are reported and fills in both sides.
  template <class Values>
  void add(PairId pair, DifferenceKind kind, std::string_view name, Values values) {
    if (isIgnored_[indexOf(kind)]) return;
    // Those that wait may or may not be differences: this one is needed if none of them is.
    std::unique_ptr<Difference> made;
    if (result_.differences + held_ < most_) {
      made = std::make_unique<Difference>();
      if (pair != kFile) made->path = path(pair);
      made->kind = kind;
      made->name = name;
      if (pair != kFile) made->key = keyOf(*pairs_[pair].a, graphs_.factsA);
      values(*made);
    }
    take({kind, std::move(made)});
  }
  /// Keeps a place for what is found out later. Differences that are added from now on are held
  /// back until finish() is called.
  void wait() { queue_.push_back({}); }
  /// Calls tell(0), tell(1) ... for the places in their order: each adds the differences of its
  /// place, and those that were added behind it follow.
  template <class Tell>
  void finish(Tell tell) {
    const std::vector<Entry> queue = std::exchange(queue_, {});
    held_ = 0;
    std::size_t place = 0;
    for (const Entry& entry : queue) {
      if (entry.kind)
        pass(entry);
      else
        tell(place++);
    }
  }
  /// A child of a pair's node that only one side has.
  void tellChild(PairId parent, int index, bool inA);
  void skip() noexcept { ++result_.skipped; }
  const CompareResult& result() const noexcept { return result_; }

  /// Names of the nodes down to a pair's node, each behind a '/'; "/" for the roots.
  std::string path(PairId pair);

  static constexpr PairId kFile = 0xffffffffU;

 private:
  /// A difference, counted and reported when it is its turn.
  struct Entry {
    std::optional<DifferenceKind> kind;      ///< none: a place that is kept
    std::unique_ptr<Difference> difference;  ///< null: there are more than are reported
  };
  void take(Entry entry);
  void pass(const Entry& entry);

  static std::size_t indexOf(DifferenceKind kind) noexcept {
    return static_cast<std::size_t>(kind);
  }
  /// The value of a node's identity key; empty for none.
  static std::string keyOf(const JtNode& node, const GraphFacts& facts);
  std::string step(const JtNode& parent, int index, const GraphFacts& facts);

  const Graphs& graphs_;
  std::size_t most_;
  std::array<bool, kDifferenceKinds> isIgnored_{};
  CompareSink& sink_;
  CompareResult result_;
  std::vector<NodePair> pairs_;
  std::vector<Entry> queue_;  ///< from the first place that is kept on
  std::uint64_t held_ = 0;    ///< differences in it
  NodePaths paths_;
};

}  // namespace jt::compare_detail
