#pragma once

#include <functional>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "Camera.h"
#include "Captions.h"
#include "Image.h"
#include "Scene.h"
#include "Section.h"

namespace tool {

/// A picture to be made.
struct View {
  std::size_t width = 1024;
  std::size_t height = 768;
  Viewpoint viewpoint;  ///< places in the root's unit of length
  Color background{1, 1, 1, 1};
  std::optional<Section> section;  ///< likewise
  std::vector<Caption> captions;   ///< at the lower edge, below what is shown
  unsigned jobs = 1;               ///< threads
};

/// Scenes that are drawn together, in the coordinates of the first one. Their meshes are decoded.
using Scenes = std::span<const Scene* const>;
/// Receives the share that is done, 0..1.
using ProgressOf = std::function<void(double)>;

/// A camera at the viewpoint of a view that has room for all that the scenes show.
Camera aimed(Scenes scenes, const View& view);
/// The same for all viewpoints that turned() makes of one: a film does not jump.
Camera aimedAround(Scenes scenes, const Viewpoint& viewpoint, const Vector& about);
/// The middle of what the scenes show; nothing when that is nothing.
std::optional<Vector> middleOf(Scenes scenes);

/// A picture through a camera, which is fitted to it.
/// @param scale pixels for a unit of length; 0: as large as there is room for
Image drawView(Scenes scenes, const View& view, Camera camera, double scale,
               const ProgressOf& progress);

/// Pictures with these names side by side, all in the same scale unless there is perspective. The
/// size of `view` is that of the whole sheet.
Image drawSheet(Scenes scenes, const View& view,
                std::span<const std::pair<std::string, Viewpoint>> viewpoints,
                const ProgressOf& progress);

/// The viewpoint after a part of a turn about an axis, counter-clockwise seen from its tip.
Viewpoint turned(const Viewpoint& viewpoint, const Vector& about, double share);

}  // namespace tool
