#pragma once

// What a viewer shows of a scene graph: its shapes where they occur, with the appearance that holds
// there.

#include <cstdint>
#include <functional>
#include <memory>
#include <span>

#include "JtExport.h"
#include "JtMaterial.h"
#include "JtPathAttributes.h"
#include "JtShape.h"
#include "JtXform.h"
#include "VisPartNode.h"

namespace jt {

/// A shape on one path from the root. Nothing is owned; pointers hold during the visit.
struct DrawnShape {
  JtShape* shape = nullptr;
  JtNode* part = nullptr;                      ///< nearest part node or instance above, or null
  const JtMaterial* material = nullptr;        ///< what the path hands down; null: none
  const Matrix4* toRoot = nullptr;             ///< row vectors: p(root) = p(shape) * toRoot
  const PathAttributes* attributes = nullptr;  ///< all that the path hands down
  std::span<JtNode* const> path;               ///< from the root down to the shape
};

/// The wires of a part on one path from the root. Nothing is owned; pointers hold during the call.
struct DrawnWires {
  VisPartNode* part = nullptr;
  const JtMaterial* material = nullptr;        ///< what the path hands down; null: none
  const Matrix4* toRoot = nullptr;             ///< row vectors: p(root) = p(part) * toRoot
  const PathAttributes* attributes = nullptr;  ///< all that the path hands down
  std::span<JtNode* const> path;               ///< from the root down to the part
};

/// True for a part whose wires are shown: one that has some in a form that is known, and no
/// polyline sets, which would show them already. Nothing is loaded.
JT_API bool showsWires(const VisPartNode& part);
/// The wires of a part as polylines within the usual tolerance of WireTolerance, in the
/// coordinates of the part: one for each curve that a wire has. Empty when there are none, or when
/// they cannot be read; the reason is in lastError().
JT_API std::shared_ptr<const Mesh> wireMesh(VisPartNode& part);

/// What of a scene is drawn.
struct DrawingOptions {
  /// Child of each level-of-detail node that is followed, 0 the finest; of nodes with fewer
  /// children the last.
  std::uint32_t levelOfDetail = 0;
  /// Paths after which the walk gives up: shared nodes can be reached by more paths than a machine
  /// could ever draw.
  std::uint64_t maxPaths = 50'000'000;
  /// Called for each node that is shown, before what is below it, with the nodes from the root down
  /// to it and the matrix that takes it to the root; may be empty.
  std::function<void(std::span<JtNode* const> path, const Matrix4& toRoot)> onNode{};
  /// Called for each part whose wires are shown, before what is below it; may be empty.
  std::function<void(const DrawnWires&)> onWires{};
  /// True for a node that is not shown, nor what is below it; may be empty. Nodes with the flag
  /// "ignore" are never shown.
  std::function<bool(const JtNode&)> isHidden{};
};

/// Visits the shapes that a viewer shows, in the order of the graph: of level-of-detail nodes one
/// child, of switches the selected one, nothing below a node that is hidden. Attributes add up as
/// PathAttributes has it. Depth of the graph does not matter.
/// @return false when `visit` returned false or `maxPaths` was reached
JT_API bool visitDrawnShapes(JtNode& root, const DrawingOptions& options,
                             const std::function<bool(const DrawnShape&)>& visit);

}  // namespace jt
