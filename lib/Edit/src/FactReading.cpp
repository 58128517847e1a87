#include "FactReading.h"

#include <algorithm>
#include <unordered_set>
#include <utility>

#include "JtPartition.h"
#include "JtwCollection.h"
#include "JtwPMI.h"
#include "JtwRoot.h"
#include "PatchValues.h"

namespace jtw {
namespace {

/// So many nodes without key in a row are looked at: their places are as long as the way to them.
constexpr int kMostSteps = 200;

class FactReader {
 public:
  FactReader(const Objects& objects, std::vector<PatchTarget>* targets)
      : root_(objects.root()), targets_(targets) {}

  std::vector<PatchObject> read() {
    if (!root_.jtNode()) return {};
    enter(*root_.jtNode(), kRoot, 0);
    while (!levels_.empty()) {
      Level& level = levels_.back();
      if (level.next == jt::numOwnChildren(*level.node)) {
        leave();
        continue;
      }
      JtNode* child = jt::ownChild(*level.node, level.next++);
      const long key = child ? keyOf(*child) : 0;
      if (key != 0) {
        level.order.push_back(static_cast<double>(key));
        if (met_.insert(child).second) enterObject(*child, key);
      } else if (const std::size_t step = level.unkeyed++;
                 child && level.steps < kMostSteps && met_.insert(child).second) {
        std::string at = all_[level.index].at;
        at.append("/").append(std::to_string(step));
        enter(*child, std::move(at), level.steps + 1);
      }
    }
    return std::move(all_);
  }

 private:
  static constexpr const char* kRoot = "root";
  struct Level {
    JtNode* node;
    std::size_t index;            // of the object
    int steps;                    // from the next object with a key
    std::vector<double> order{};  // keys of its children
    std::size_t unkeyed = 0;      // children without key so far
    int next = 0;
  };

  /// The key of the object that a node is; 0 for none.
  long keyOf(JtNode& node) const {
    JtwNode* wrapper = root_.nodeByJtNode(&node);
    if (!wrapper || wrapper == &root_) return 0;
    const ApiProtoKey key = wrapper->key();
    JtwNode* first = nullptr;
    const bool isFirst = !key.isNull() && root_.getNodeByKey(key, first) && first == wrapper;
    return isFirst ? key.getAsLong() : 0;
  }

  const std::string& ownerOf(const Level& level) const {
    return all_[levels_[static_cast<std::size_t>(&level - levels_.data()) -
                        static_cast<std::size_t>(level.steps)]
                    .index]
        .at;
  }

  PatchObject& add(std::string at, PatchTarget target) {
    all_.push_back({std::move(at), {}});
    if (targets_) targets_->push_back(target);
    return all_.back();
  }

  void enterObject(JtNode& node, long key) {
    const std::string parent = ownerOf(levels_.back());
    PatchObject& object = enter(node, std::to_string(key), 0);
    object.facts.insert(object.facts.begin(),
                        {{PatchWhat::object, {}, std::string(kindName(*root_.nodeByJtNode(&node)))},
                         {PatchWhat::parent, {}, parent}});
    addPMIs(*root_.nodeByJtNode(&node), levels_.back().index);
  }

  PatchObject& enter(JtNode& node, std::string at, int steps) {
    const bool isRoot = all_.empty();
    PatchObject& object = add(std::move(at), {.node = &node});
    const std::size_t index = all_.size() - 1;
    levels_.push_back({.node = &node, .index = index, .steps = steps});
    if (isRoot && !root_.key().isNull())
      object.facts.push_back({PatchWhat::value, "key", std::int64_t{root_.key().getAsLong()}});
    JtwNode* wrapper = isRoot ? &root_ : root_.nodeByJtNode(&node);
    readValues(node, wrapper && hasFrames(*wrapper), object.facts);
    if (isRoot) addPMIs(root_, index);
    return all_[index];
  }

  void addPMIs(JtwNode& wrapper, std::size_t index) {
    if (!wrapper.isCollection()) return;
    std::vector<double> order;
    for (JtwPMI* pmi : static_cast<JtwCollection&>(wrapper).PMIs()) {
      const ApiProtoKey key = pmi->key();
      JtwNode* first = nullptr;
      if (key.isNull() || !root_.getNodeByKey(key, first) || first != pmi) continue;
      order.push_back(static_cast<double>(key.getAsLong()));
      PatchObject& object = add(std::to_string(key.getAsLong()), {.pmi = pmi});
      object.facts = {{PatchWhat::object, {}, std::string(kindName(*pmi))},
                      {PatchWhat::parent, {}, all_[index].at}};
      readValues(*pmi, object.facts);
    }
    addOrder(index, "annotations", std::move(order));
  }

  void leave() {
    Level level = std::move(levels_.back());
    levels_.pop_back();
    addOrder(level.index, "objects", std::move(level.order));
  }

  void addOrder(std::size_t index, const char* name, std::vector<double> keys) {
    if (keys.empty()) return;
    auto& facts = all_[index].facts;
    auto place = facts.begin();
    while (place != facts.end() && (place->what < PatchWhat::order ||
                                    (place->what == PatchWhat::order && place->name < name)))
      ++place;
    facts.insert(place, {PatchWhat::order, name, std::move(keys)});
  }

  JtwRoot& root_;
  std::vector<PatchTarget>* targets_;
  std::vector<PatchObject> all_;
  std::vector<Level> levels_;
  std::unordered_set<const JtNode*> met_;
};

}  // namespace

bool hasFrames(JtwNode& node) {
  return node.isCollection() &&
         std::ranges::any_of(static_cast<JtwCollection&>(node).PMIs(), [](JtwPMI* pmi) {
           return pmi->type() == JtwNode::JT_FRAME_NODE && !pmi->key().isNull();
         });
}

std::vector<PatchObject> readFacts(const Objects& objects, std::vector<PatchTarget>* targets) {
  objects.entries();  // makes wrappers anew where they are gone
  return FactReader(objects, targets).read();
}

}  // namespace jtw
