#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "JtDrawing.h"
#include "JtInstance.h"
#include "JtLOD.h"
#include "JtSwitch.h"
#include "VisPartNode.h"

namespace jt {
namespace {

bool isFinite(const Matrix4& matrix) {
  return std::all_of(matrix.begin(), matrix.end(), [](double v) { return std::isfinite(v); });
}

/// A node on the path, with what holds below it.
struct Level {
  JtNode* node = nullptr;
  int next = 0;           ///< of the children that are still to be shown
  bool isChoice = false;  ///< only `chosen` is
  JtNode* chosen = nullptr;
  JtNode* part = nullptr;
  JtMaterial* material = nullptr;
  Matrix4 toRoot = kIdentity;
};

void inherit(Level& level, JtMaterial* material) {
  if (material->hasState(JtAttributeState::ignore)) return;
  const bool kept = level.material && level.material->hasState(JtAttributeState::final) &&
                    !material->hasState(JtAttributeState::force);
  if (!kept) level.material = material;
}

void addAttributes(Level& level) {
  for (int i = 0; i < level.node->numAttributes(); ++i) {
    JtAttribute* attribute = level.node->attribute(i);
    if (const auto* xform = as<JtXform>(attribute)) {
      if (!xform->hasState(JtAttributeState::ignore) && isFinite(xform->matrix()))
        level.toRoot = multiply(xform->matrix(), level.toRoot);
    } else if (auto* material = as<JtMaterial>(attribute)) {
      inherit(level, material);
    }
  }
}

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
    if (node->isIgnored()) return true;
    if (++paths_ > options_.maxPaths) return false;
    Level level{
        .node = node, .part = above.part, .material = above.material, .toRoot = above.toRoot};
    if (as<VisPartNode>(node) || as<JtInstance>(node)) level.part = node;
    addAttributes(level);
    if (options_.onNode) options_.onNode(*node, level.toRoot);
    if (auto* shape = as<JtShape>(node))
      return visit_({shape, level.part, level.material, &level.toRoot});
    chooseChildren(level, options_.levelOfDetail);
    stack_.push_back(level);
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
