// Extent of a scene from the boxes that its shapes store.

#include <algorithm>
#include <cmath>
#include <limits>
#include <unordered_map>

#include "JtPartition.h"
#include "JtXform.h"

namespace {

using jt::Box;

void include(Box& box, const std::array<double, 3>& point) {
  for (std::size_t axis = 0; axis < 3; ++axis) {
    const auto value = static_cast<float>(point[axis]);
    box.min[axis] = std::min(box.min[axis], value);
    box.max[axis] = std::max(box.max[axis], value);
  }
}

void include(Box& box, const Box& other) {
  if (!other.isValid()) return;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    box.min[axis] = std::min(box.min[axis], other.min[axis]);
    box.max[axis] = std::max(box.max[axis], other.max[axis]);
  }
}

/// The box around a transformed box: its eight corners, as row vectors.
Box transformed(const Box& box, const jt::Matrix4& m) {
  if (!box.isValid()) return box;
  Box result;
  for (unsigned corner = 0; corner < 8; ++corner) {
    std::array<double, 3> p{};
    for (std::size_t axis = 0; axis < 3; ++axis)
      p[axis] = static_cast<double>((corner >> axis) & 1U ? box.max[axis] : box.min[axis]);
    std::array<double, 3> q{};
    for (std::size_t axis = 0; axis < 3; ++axis)
      q[axis] = p[0] * m[axis] + p[1] * m[4 + axis] + p[2] * m[8 + axis] + m[12 + axis];
    if (!std::isfinite(q[0] + q[1] + q[2])) return box;  // such a transform counts for nothing
    include(result, q);
  }
  return result;
}

/// What a node holds itself, in its own coordinates.
Box ownBox(const JtNode& node) {
  if (const auto* shape = jt::as<JtShape>(&node)) return shape->statistics().box;
  const auto* partition = jt::as<JtPartition>(&node);
  const bool standsForFile = partition && !partition->fileName().isEmpty();
  return standsForFile ? partition->bounds().value_or(Box{}) : Box{};
}

Box withOwnTransforms(Box box, const JtNode& node) {
  for (int i = 0; i < node.numAttributes(); ++i)
    if (const auto* xform = jt::as<JtXform>(node.attribute(i)))
      box = transformed(box, xform->matrix());
  return box;
}

}  // namespace

std::optional<jt::Box> JtPartition::computeBounds() const {
  // Each node once, children first, with a stack of its own: depth and shared nodes do not matter.
  std::unordered_map<const JtNode*, Box> boxes;
  struct Level {
    const JtNode* node;
    int next;
    Box box;
  };
  std::vector<Level> stack{{this, 0, {}}};
  for (;;) {
    Level& level = stack.back();
    const auto* partition = jt::as<JtPartition>(level.node);
    const bool isLeaf = partition && !partition->fileName().isEmpty();
    if (!isLeaf && level.next < level.node->numChildren()) {
      const JtNode* child = level.node->child(level.next++);
      if (const auto known = boxes.find(child); known != boxes.end()) {
        include(level.box, known->second);
      } else {
        stack.push_back({child, 0, ownBox(*child)});
      }
      continue;
    }
    if (stack.size() == 1) break;
    const Box box = withOwnTransforms(level.box, *level.node);
    boxes.emplace(level.node, box);
    stack.pop_back();
    include(stack.back().box, box);
  }
  const Box& whole = stack.back().box;
  return whole.isValid() ? std::optional<Box>(whole) : std::nullopt;
}

std::optional<jt::Box> JtPartition::grownBounds() const {
  const auto computed = computeBounds();
  if (!computed) return {};
  const auto stored = bounds();
  Box grown = stored.value_or(*computed);
  include(grown, *computed);
  return stored == grown ? std::nullopt : std::optional<Box>(grown);
}
