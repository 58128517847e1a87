#include "Jt.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

#include "JtInstance.h"
#include "JtPartition.h"
#include "JtResidencyRequestManager.h"
#include "JtStackNodeIter.h"

const char* const Jt::jtPropName = "JT_PROP_NAME";
const char* const Jt::jtPropMeasurementUnits = "JT_PROP_MEASUREMENT_UNITS";

JtString Jt::name(const JtNode* node) {
  const auto* text =
      node ? jt::as<JtStringPropAtom>(node->property(JtString(jtPropName))) : nullptr;
  return text ? text->value() : JtString();
}

jt::Ref<JtNode> Jt::clone(const JtNode* node) {
  if (!node) return {};
  // Copies first, links second: depth does not matter, and a shared node stays shared.
  std::unordered_map<const JtNode*, jt::Ref<JtNode>> copies;
  std::vector<const JtNode*> order{node};
  for (std::size_t i = 0; i < order.size(); ++i) {
    if (copies.contains(order[i])) continue;
    const jt::Ref<JtBase> copy = order[i]->clone();
    copies.emplace(order[i], jt::Ref<JtNode>(static_cast<JtNode*>(copy.get())));
    for (int index = 0; index < jt::numOwnChildren(*order[i]); ++index) {
      const JtNode* child = jt::ownChild(*order[i], index);
      if (!copies.contains(child)) order.push_back(child);
    }
  }
  std::unordered_set<const JtNode*> linked;
  for (const JtNode* original : order) {
    if (!linked.insert(original).second) continue;
    JtNode* above = copies.at(original).get();
    for (int index = 0; index < jt::numOwnChildren(*original); ++index) {
      JtNode& below = *copies.at(jt::ownChild(*original, index));
      if (auto* group = jt::as<JtGroup>(above)) group->link(index, below);
      if (auto* instance = jt::as<JtInstance>(above)) instance->link(&below);
    }
  }
  return copies.at(node);
}

void JtLib::init() {}

void JtLib::fini() { JtResidencyRequestManager::instance().stop(); }

// --- JtStackNodeIter

namespace {

JtNode* childAt(const JtNode& node, int index) {
  return index < node.numChildren() ? node.child(index) : nullptr;
}

}  // namespace

bool JtStackNodeIter::run(JtNode* start) {
  stack_.clear();
  if (!start) return true;
  const auto enter = [&](JtNode* node) {
    stack_.push_back({jt::Ref<JtNode>(node)});
    const Next next = pre_ ? pre_(node) : Next::descend;
    stack_.back().skip = next == Next::skipChildren;
    return next != Next::stop;
  };
  if (!enter(start)) return false;
  while (!stack_.empty()) {
    Level& level = stack_.back();
    findPlace(level);
    if (!level.skip && level.nextChild < level.node->numChildren()) {
      JtNode* const child = level.node->child(level.nextChild++);
      level.visited = child;
      level.following = childAt(*level.node, level.nextChild);
      if (!enter(child)) return false;
      continue;
    }
    if (post_ && !post_(level.node.get())) return false;
    stack_.pop_back();
  }
  return true;
}

/// Sets `nextChild` again when children were added or removed while one was visited.
void JtStackNodeIter::findPlace(Level& level) {
  if (level.nextChild == 0 || childAt(*level.node, level.nextChild) == level.following) return;
  const int count = level.node->numChildren();
  const auto find = [&](const JtNode* child) {
    int index = 0;
    while (index < count && level.node->child(index) != child) ++index;
    return index;
  };
  const int visited = find(level.visited);
  if (visited < count) {
    level.nextChild = visited + 1;
    return;
  }
  const int following = level.following ? find(level.following) : count;
  level.nextChild = following < count ? following : std::min(level.nextChild - 1, count);
}

JtNode* JtStackNodeIter::pathParent() const {
  return stack_.size() < 2 ? nullptr : stack_[stack_.size() - 2].node.get();
}
