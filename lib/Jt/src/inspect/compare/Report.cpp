#include "inspect/compare/Report.h"

#include "JtInspect.h"
#include "JtPartition.h"
#include "inspect/compare/Values.h"

namespace jt::compare_detail {

namespace {

constexpr std::size_t kShownAbove = 8;  // steps of a path that is too deep to be shown whole
constexpr std::size_t kShownBelow = 56;

}  // namespace

void Report::take(Entry entry) {
  if (queue_.empty()) return pass(entry);
  ++held_;
  queue_.push_back(std::move(entry));
}

void Report::pass(const Entry& entry) {
  ++result_.byKind[indexOf(*entry.kind)];
  if (++result_.differences <= most_ && entry.difference) sink_.difference(*entry.difference);
}

std::string Report::keyOf(const JtNode& node, const GraphFacts& facts) {
  const JtPropAtom* key = facts.of(&node).key;
  return key ? atomText(*key) : std::string();
}

std::string Report::step(const JtNode& parent, int index, const GraphFacts& facts) {
  const JtNode& node = *ownChild(parent, index);
  return paths_.step(parent, node, facts.of(&node).key);
}

std::string Report::path(PairId pair) {
  std::vector<PairId> steps;
  for (PairId at = pair; at != 0; at = pairs_[at].parent) steps.push_back(at);
  if (steps.empty()) return "/";
  std::string text;
  for (std::size_t i = 0; i < steps.size(); ++i) {
    if (steps.size() > kShownAbove + kShownBelow && i == kShownAbove) {
      const std::size_t hidden = steps.size() - kShownAbove - kShownBelow;
      text += "/...(" + std::to_string(hidden) + " levels)...";
      i += hidden;
    }
    const NodePair& at = pairs_[steps[steps.size() - 1 - i]];
    text += "/" + step(*pairs_[at.parent].a, at.indexA, graphs_.factsA);
  }
  return text;
}

void Report::tellChild(PairId parent, int index, bool inA) {
  add(parent, DifferenceKind::node, {}, [&](Difference& difference) {
    const JtNode& holder = inA ? *pairs_[parent].a : *pairs_[parent].b;
    if (difference.path == "/") difference.path.clear();
    const GraphFacts& facts = inA ? graphs_.factsA : graphs_.factsB;
    difference.path += "/" + step(holder, index, facts);
    difference.key = keyOf(*ownChild(holder, index), facts);
    (inA ? difference.a : difference.b) = elementName(ownChild(holder, index));
  });
}

}  // namespace jt::compare_detail
