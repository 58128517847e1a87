#include <algorithm>
#include <iterator>
#include <unordered_map>
#include <unordered_set>

#include "JtInstance.h"
#include "JtPartition.h"
#include "JtStackNodeIter.h"
#include "JtwPMI.h"
#include "JtwRoot.h"
#include "JtwTransforms.h"
#include "JtwTree.h"
#include "JtwUnits.h"

namespace jtw {

namespace {

/// A node on the current path.
struct Step {
  JtNode* node = nullptr;
  JtwNode* wrapper = nullptr;
  bool isCut = false;               ///< what is below is not listed
  std::vector<std::int32_t> ids{};  ///< that lead to what is below; see TreePlace
  RTTran3D location{};              ///< relative to the nearest wrapper above
  float ratio = 1.0F;               ///< millimetres in the unit of length
};

class Places {
 public:
  Places(JtwRoot& root, std::size_t most) : root_(root), most_(most) {}

  std::vector<TreePlace> run() {
    const auto iterator = jt::make<JtStackNodeIter>();
    iterator->setPreVisit([this](JtNode* node) { return enter(node); });
    iterator->setPostVisit([this](JtNode* /*node*/) { return leave(); });
    iterator->run(root_.jtNode());
    return std::move(places_);
  }

 private:
  JtStackNodeIter::Next enter(JtNode* node) {
    const bool isMetAgain = node->numParents() > 1 && !met_.insert(node).second;
    path_.push_back(stepTo(node, isMetAgain));
    Step& step = path_.back();
    if (step.wrapper) add(step);
    step.isCut = isMetAgain && places_.size() >= most_;
    return step.isCut ? JtStackNodeIter::Next::skipChildren : JtStackNodeIter::Next::descend;
  }

  Step stepTo(JtNode* node, bool isMetAgain) {
    Step step{.node = node};
    step.wrapper = node == root_.jtNode() ? &root_ : root_.nodeByJtNode(node);
    if (!path_.empty()) {
      const Step& above = path_.back();
      step.ids = above.ids;
      const auto* holder = jt::as<JtPartition>(above.node);
      const bool isOtherFile = holder && holder->externalPartition() == node;
      if (isOtherFile || isMetAgain) step.ids.push_back(above.node->objectId());
      step.ratio = above.ratio;
      if (!above.wrapper)
        step.location = above.location;
      else if (above.wrapper == &root_)
        step.location = root_.internalRelLoc();
    }
    step.ratio = ownUnitRatio(node).value_or(step.ratio);
    step.location = step.location * localTransform(node, static_cast<double>(step.ratio));
    return step;
  }

  void add(const Step& step) {
    JtwNode& node = *step.wrapper;
    TreePlace place{.node = &node, .depth = depth_++};
    const auto [first, isFirst] = first_.emplace(&node, places_.size());
    place.first = first->second;
    place.ids = step.ids;
    place.ids.push_back(step.node->objectId());
    place.nodes = nodesBelowWrapper();
    if (!isFirst) {
      place.relLoc = step.location;
      const JtNode* above = path_.size() < 2 ? nullptr : path_[path_.size() - 2].node;
      if (jt::as<JtInstance>(above) && JtwNode::name(step.node).empty())
        place.name = JtwNode::name(const_cast<JtNode*>(above));
    }
    if (std::ranges::find(place.ids, 0) != place.ids.end()) place.ids.clear();
    places_.push_back(std::move(place));
  }

  /// The nodes of the current path from below the last object above its end.
  std::vector<JtNode*> nodesBelowWrapper() const {
    if (path_.size() < 2) return {};
    const auto above = std::find_if(path_.rbegin() + 1, path_.rend(),
                                    [](const Step& step) { return step.wrapper != nullptr; });
    std::vector<JtNode*> nodes;
    std::transform(above.base(), path_.end(), std::back_inserter(nodes),
                   [](const Step& step) { return step.node; });
    return nodes;
  }

  bool leave() {
    const Step step = std::move(path_.back());
    path_.pop_back();
    if (!step.wrapper) return true;
    if (step.wrapper->isCollection() && !step.isCut)
      for (JtwPMI* pmi : static_cast<JtwCollection*>(step.wrapper)->PMIs()) add(*pmi, step);
    --depth_;
    return true;
  }

  void add(JtwPMI& pmi, const Step& holder) {
    TreePlace place{.node = &pmi, .depth = depth_};
    const auto [first, isFirst] = first_.emplace(&pmi, places_.size());
    place.first = first->second;
    place.ids = holder.ids;
    place.ids.push_back(holder.node->objectId());
    if (!isFirst) place.relLoc = pmi.relLoc();
    places_.push_back(std::move(place));
  }

  JtwRoot& root_;
  const std::size_t most_;
  int depth_ = 0;
  std::vector<Step> path_;
  std::unordered_set<const JtNode*> met_;  // only nodes that several paths reach
  std::unordered_map<const JtwNode*, std::size_t> first_;
  std::vector<TreePlace> places_;
};

}  // namespace

std::vector<TreePlace> treePlaces(JtwRoot& root, std::size_t most) {
  return Places(root, most).run();
}

}  // namespace jtw
