#include <utility>
#include <vector>

#include "JtDrawing.h"
#include "JtInstance.h"
#include "JtLOD.h"
#include "JtPathAttributes.h"
#include "JtSwitch.h"
#include "VisPartNode.h"

namespace jt {
namespace {

/// A node on the path, with what holds below it.
struct Level {
  JtNode* node = nullptr;
  int next = 0;           ///< of the children that are still to be shown
  bool isChoice = false;  ///< only `chosen` is
  JtNode* chosen = nullptr;
  JtNode* part = nullptr;
  PathAttributes attributes;
};

void chooseChildren(Level& level, std::uint32_t detail) {
  if (const auto* alternatives = as<JtLOD>(level.node)) {
    level.isChoice = true;
    level.chosen = alternatives->childForLevel(detail);
  } else if (const auto* choice = as<JtSwitch>(level.node)) {
    level.isChoice = true;
    level.chosen = choice->child(choice->selectedChild());
  }
}

/// Null when all have been shown.
JtNode* takeChild(Level& level) {
  if (level.isChoice) return std::exchange(level.chosen, nullptr);
  return level.node->child(level.next++);
}

class Walk {
 public:
  Walk(const DrawingOptions& options, const std::function<bool(const DrawnShape&)>& visit)
      : options_(options), visit_(visit) {}

  bool run(JtNode& root) {
    if (!enter(&root, Level{})) return false;
    while (!stack_.empty()) {
      JtNode* child = takeChild(stack_.back());
      if (!child) {
        stack_.pop_back();
        continue;
      }
      const Level above = stack_.back();
      if (!enter(child, above)) return false;
    }
    return true;
  }

 private:
  bool enter(JtNode* node, const Level& above) {
    if (node->isIgnored() || (options_.isHidden && options_.isHidden(*node))) return true;
    if (++paths_ > options_.maxPaths) return false;
    Level level{.node = node, .part = above.part, .attributes = above.attributes};
    if (as<VisPartNode>(node) || as<JtInstance>(node)) level.part = node;
    level.attributes.enter(*node);
    if (options_.onNode) options_.onNode(*node, level.attributes.toRoot());
    if (auto* shape = as<JtShape>(node)) {
      const Ref<const JtMaterial> material = level.attributes.material().material();
      return visit_({shape, level.part, material.get(), &level.attributes.toRoot()});
    }
    chooseChildren(level, options_.levelOfDetail);
    stack_.push_back(std::move(level));
    return true;
  }

  const DrawingOptions& options_;
  const std::function<bool(const DrawnShape&)>& visit_;
  std::vector<Level> stack_;
  std::uint64_t paths_ = 0;
};

}  // namespace

bool visitDrawnShapes(JtNode& root, const DrawingOptions& options,
                      const std::function<bool(const DrawnShape&)>& visit) {
  return Walk(options, visit).run(root);
}

}  // namespace jt
