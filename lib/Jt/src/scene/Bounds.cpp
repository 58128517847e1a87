// Extent of a scene from the boxes that its shapes store.

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <unordered_map>
#include <vector>

#include "JtBounds.h"
#include "JtPartition.h"
#include "JtPathAttributes.h"

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
  for (const std::array<double, 3>& p : jt::corners(box)) {
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

/// True for transforms that take boxes along the axes to such boxes.
bool keepsAxes(const jt::Matrix4& m) {
  for (std::size_t row = 0; row < 3; ++row) {
    int used = 0;
    for (std::size_t column = 0; column < 3; ++column) used += m[4 * row + column] != 0 ? 1 : 0;
    if (used > 1) return false;
  }
  return true;
}

/// Represents another file, whose content it knows by its extent alone.
bool representsFile(const JtNode& node) {
  const auto* partition = jt::as<JtPartition>(&node);
  return partition && !partition->fileName().isEmpty();
}

/// The extent with the transforms of each way down multiplied first: boxes around turned boxes are
/// larger than what is in them. Nothing when there are very many ways.
std::optional<Box> boundsByWays(const JtNode& root) {
  constexpr std::size_t kMostWays = 1'000'000;
  struct Level {
    const JtNode* node;
    bool isFinal;
    jt::Matrix4 toRoot;
    int next = 0;
  };
  std::vector<Level> stack;
  std::size_t ways = 0;
  Box whole;
  const auto enter = [&](const JtNode& node, bool isFinal, const jt::Matrix4& above) {
    const jt::Matrix4 own = jt::localTransform(node, isFinal);
    const jt::Matrix4 toRoot = stack.empty() ? above : jt::multiply(own, above);
    if (!stack.empty() || !jt::as<JtPartition>(&node))
      include(whole, transformed(ownBox(node), toRoot));
    stack.push_back({&node, isFinal, toRoot});
  };
  enter(root, false, jt::kIdentity);
  while (!stack.empty()) {
    Level& level = stack.back();
    const bool isLeaf = stack.size() > 1 && representsFile(*level.node);
    if (isLeaf || level.next == level.node->numChildren()) {
      stack.pop_back();
      continue;
    }
    if (++ways > kMostWays) return {};
    const Level above = level;
    ++level.next;
    enter(*above.node->child(above.next), above.isFinal, above.toRoot);
  }
  return whole;
}

}  // namespace

std::array<std::array<double, 3>, 8> jt::corners(const Box& box) {
  std::array<std::array<double, 3>, 8> points{};
  for (unsigned corner = 0; corner < points.size(); ++corner)
    for (std::size_t axis = 0; axis < 3; ++axis)
      points[corner][axis] =
          static_cast<double>((corner >> axis) & 1U ? box.max[axis] : box.min[axis]);
  return points;
}

jt::Box jt::unite(const Box& a, const Box& b) {
  if (!a.isValid()) return b;
  Box box = a;
  include(box, b);
  return box;
}

std::optional<jt::Box> JtPartition::computeBounds() const { return jt::contentBounds(*this); }

std::optional<jt::Box> jt::contentBounds(const JtNode& root) {
  // Each node once, children first, with a stack of its own: depth and shared nodes do not matter.
  // Below a final transform others do not count, so a node may have two boxes.
  std::array<std::unordered_map<const JtNode*, Box>, 2> boxes;  // of nodes in several places
  struct Level {
    Level(const JtNode& own, bool isFinalAbove)
        : node(&own),
          isFinal(isFinalAbove),
          toParent(jt::localTransform(own, isFinal)),
          known(isFinalAbove ? 1 : 0),
          box(ownBox(own)) {}
    const JtNode* node;
    bool isFinal;
    jt::Matrix4 toParent;
    std::size_t known;  ///< of `boxes`
    int next = 0;
    Box box;
  };
  std::vector<Level> stack;
  bool areTurned = false;
  stack.emplace_back(root, false);
  if (jt::as<JtPartition>(&root)) stack.back().box = {};
  for (;;) {
    Level& level = stack.back();
    const bool isLeaf = stack.size() > 1 && representsFile(*level.node);
    if (!isLeaf && level.next < level.node->numChildren()) {
      const JtNode* child = level.node->child(level.next++);
      const auto& known = boxes[level.isFinal ? 1 : 0];
      const auto found = child->numParents() > 1 ? known.find(child) : known.end();
      if (found != known.end()) {
        include(level.box, found->second);
      } else {
        stack.emplace_back(*child, level.isFinal);
      }
      continue;
    }
    if (stack.size() == 1) break;
    areTurned = areTurned || !keepsAxes(level.toParent);
    const Box box = transformed(level.box, level.toParent);
    if (level.node->numParents() > 1) boxes[level.known].emplace(level.node, box);
    stack.pop_back();
    include(stack.back().box, box);
  }
  Box whole = stack.back().box;
  if (areTurned) whole = boundsByWays(root).value_or(whole);
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
