#pragma once

#include <functional>
#include <optional>
#include <span>
#include <vector>

#include "Camera.h"
#include "Rasterizer.h"
#include "Scene.h"
#include "Section.h"

namespace tool {

/// Draws the items of scenes on a canvas: makes triangles, lines and points of them, in the
/// coordinates of the canvas, on several threads.
class Painter {
 public:
  /// @param section what is drawn, in view coordinates: bodies are cut open there, and the inner
  ///   sides of surfaces show the matter that comes to light
  Painter(Rasterizer& canvas, const Camera& camera, const std::optional<HalfSpace>& section,
          unsigned jobs);

  /// Draws the items of a scene that belong to a pass. @param progress receives 0..1
  void paint(const Scene& scene, Rasterizer::Pass pass,
             const std::function<void(double)>& progress);
  /// Draws what is ready.
  void paint(const DrawList& list);

 private:
  /// A part of an item's primitives, or of its edges.
  struct Piece {
    const Item* item;
    const jt::Mesh* mesh;
    std::span<const Edge> edges;
    std::size_t first;
    std::size_t end;
  };
  struct Work {
    std::vector<Piece> pieces;
    std::size_t size = 0;
  };
  /// What is drawn together; lines, points and edges come after the opaque surfaces.
  enum class Kind { opaque, lines, translucent };
  std::vector<Work> divide(const Scene& scene, Kind kind) const;
  void paint(const Scene& scene, Kind kind, const std::function<void(double)>& progress);
  void liftMatter();
  void paint(std::span<const DrawList> lists);

  Rasterizer& canvas_;
  const Camera& camera_;
  std::optional<HalfSpace> section_;
  std::vector<HalfSpace> spaces_;
  unsigned jobs_;
};

}  // namespace tool
