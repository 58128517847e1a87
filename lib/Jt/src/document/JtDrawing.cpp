#include "JtDrawing.h"

#include <unordered_set>
#include <utility>
#include <vector>

#include "JtInstance.h"
#include "JtLOD.h"
#include "JtMesh.h"
#include "JtSwitch.h"
#include "file/save/SceneWriter.h"

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
    path_.resize(stack_.size());
    path_.push_back(node);
    if (options_.onNode) options_.onNode(path_, level.attributes.toRoot());
    if (options_.onWires)
      if (auto* part = as<VisPartNode>(node); part && showsWires(*part)) {
        const Ref<const JtMaterial> material = level.attributes.material().material();
        options_.onWires(
            {part, material.get(), &level.attributes.toRoot(), &level.attributes, path_});
      }
    if (auto* shape = as<JtShape>(node)) {
      const Ref<const JtMaterial> material = level.attributes.material().material();
      return visit_({shape, level.part, material.get(), &level.attributes.toRoot(),
                     &level.attributes, path_});
    }
    chooseChildren(level, options_.levelOfDetail);
    stack_.push_back(std::move(level));
    return true;
  }

  const DrawingOptions& options_;
  const std::function<bool(const DrawnShape&)>& visit_;
  std::vector<Level> stack_;
  std::vector<JtNode*> path_;  // of the stack, and the node that is entered
  std::uint64_t paths_ = 0;
};

}  // namespace

bool showsWires(const VisPartNode& part) {
  const auto* late = as<JtLateLoadedPropAtom>(part.property(JtString(file::kWireframeKey)));
  const file::SceneSource* source = late ? file::SceneSource::sourceOf(*late) : nullptr;
  const bool hasKnownForm =
      !source || source->container().format().has(file::Feature::readableWireframes);
  if (!late || !hasKnownForm) return false;
  std::vector<const JtNode*> pending{&part};
  std::unordered_set<const JtNode*> seen;
  while (!pending.empty()) {
    const JtNode* node = pending.back();
    pending.pop_back();
    if (as<JtPolylineSet>(node)) return false;
    for (int i = 0; i < node->numChildren(); ++i)
      if (seen.insert(node->child(i)).second) pending.push_back(node->child(i));
  }
  return true;
}

std::shared_ptr<const Mesh> wireMesh(VisPartNode& part) {
  const JtWireframeRep* wires = part.wfRep();
  if (!wires) return {};
  // A small file can ask for any number of points: beyond this one, control points have to do.
  constexpr std::size_t kMostPoints = 20'000'000;
  auto mesh = std::make_shared<Mesh>();
  mesh->kind = Mesh::Kind::polylines;
  mesh->starts = {0};
  std::vector<bool> isShown(wires->curves().size());
  for (const WireEdge& edge : wires->edges()) {
    const auto curve = static_cast<std::size_t>(edge.curve);
    if (isShown[curve]) continue;
    isShown[curve] = true;
    const WireCurve& shown = wires->curves()[curve];
    const auto points = mesh->positions.size() < kMostPoints ? polylineOf(shown) : shown.points;
    if (points.empty()) continue;
    for (const auto& point : points) {
      mesh->corners.push_back(static_cast<std::uint32_t>(mesh->positions.size()));
      mesh->positions.push_back({static_cast<float>(point[0]), static_cast<float>(point[1]),
                                 static_cast<float>(point[2])});
    }
    mesh->starts.push_back(static_cast<std::uint32_t>(mesh->corners.size()));
  }
  return mesh;
}

bool visitDrawnShapes(JtNode& root, const DrawingOptions& options,
                      const std::function<bool(const DrawnShape&)>& visit) {
  return Walk(options, visit).run(root);
}

}  // namespace jt
