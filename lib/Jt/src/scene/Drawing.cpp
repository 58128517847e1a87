#include <algorithm>
#include <cmath>
#include <optional>
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
  int next = 0;
  int end = 0;  ///< children from `next` to before `end` are shown
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
  const int count = level.node->numChildren();
  level.end = count;
  if (as<JtLOD>(level.node)) {
    if (count == 0) return;
    level.next = static_cast<int>(std::min<std::int64_t>(detail, count - 1));
    level.end = level.next + 1;
  } else if (const auto* choice = as<JtSwitch>(level.node)) {
    const int selected = choice->selectedChild();
    const bool shows = selected >= 0 && selected < count;
    level.next = shows ? selected : 0;
    level.end = shows ? selected + 1 : 0;
  }
}

class Walk {
 public:
  Walk(const DrawingOptions& options, const std::function<bool(const DrawnShape&)>& visit)
      : options_(options), visit_(visit) {}

  bool run(JtNode& root) {
    if (!enter(&root, Level{})) return false;
    while (!stack_.empty()) {
      Level& level = stack_.back();
      if (level.next >= level.end) {
        stack_.pop_back();
        continue;
      }
      JtNode* child = level.node->child(level.next++);
      const Level above = level;
      if (child && !enter(child, above)) return false;
    }
    return true;
  }

 private:
  bool enter(JtNode* node, const Level& above) {
    if (node->isIgnored()) return true;
    if (++paths_ > options_.maxPaths) return false;
    Level level{node, 0, 0, above.part, above.material, above.toRoot};
    if (as<VisPartNode>(node) || as<JtInstance>(node)) level.part = node;
    addAttributes(level);
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
