#include "Drawing.h"

#include <algorithm>
#include <cmath>

#include "Painter.h"

namespace tool {
namespace {

CaptionRows captionsOf(const View& view) {
  return CaptionRows(view.captions, view.width, view.height);
}

/// What a section leaves, in view coordinates.
std::optional<HalfSpace> spaceOf(const std::optional<Section>& section, const Camera& camera) {
  if (!section) return std::nullopt;
  constexpr double kAlong = 1e-6;
  Vector normal = unit(camera.inView(section->normal));
  if (section->isTowardsEye && normal[2] < -kAlong) normal = minus({}, normal);
  return HalfSpace{normal, dot(normal, camera.inView(section->point))};
}

/// Copies a picture into a larger one.
void copyInto(Image& target, const Image& image, std::size_t x, std::size_t y) {
  for (std::size_t row = 0; row < image.height; ++row)
    std::copy_n(
        image.rgba.begin() + static_cast<std::ptrdiff_t>(row * image.width * 4), image.width * 4,
        target.rgba.begin() + static_cast<std::ptrdiff_t>(((y + row) * target.width + x) * 4));
}

/// The vector turned about an axis of length 1.
Vector turnedAbout(const Vector& v, const Vector& axis, double angle) {
  const Vector along = plus({}, axis, dot(axis, v));
  const Vector across = minus(v, along);
  return plus(plus(along, across, std::cos(angle)), cross(axis, across), std::sin(angle));
}

}  // namespace

Camera aimed(Scenes scenes, const View& view) {
  Camera camera(view.viewpoint);
  for (const Scene* scene : scenes) {
    scene->forEachPosition([&camera](const Vector& p) { camera.include(camera.inView(p)); });
    scene->annotations().include(camera);
  }
  if (view.viewpoint.perspective == 0 || view.viewpoint.eye) return camera;
  const double height = static_cast<double>(view.height) - captionsOf(view).space();
  const double aspect = static_cast<double>(view.width) / std::max(1.0, height);
  for (const Scene* scene : scenes)
    scene->forEachPosition([&](const Vector& p) { camera.reach(camera.inView(p), aspect); });
  return camera;
}

std::optional<Vector> middleOf(Scenes scenes) {
  Vector low{HUGE_VAL, HUGE_VAL, HUGE_VAL};
  Vector high{-HUGE_VAL, -HUGE_VAL, -HUGE_VAL};
  for (const Scene* scene : scenes)
    scene->forEachPosition([&](const Vector& p) {
      if (!isFinite(p)) return;
      for (std::size_t i = 0; i < 3; ++i) {
        low[i] = std::min(low[i], p[i]);
        high[i] = std::max(high[i], p[i]);
      }
    });
  if (low[0] > high[0]) return std::nullopt;
  return plus(plus({}, low, 0.5), high, 0.5);
}

Camera aimedAround(Scenes scenes, const Viewpoint& viewpoint, const Vector& about) {
  // Fits a cylinder about the axis.
  const Vector axis = unit(about);
  constexpr double kSlanted = 0.9;
  const Vector other = std::abs(axis[2]) < kSlanted ? Vector{0, 0, 1} : Vector{1, 0, 0};
  const Camera upright({.toEye = cross(axis, other), .up = axis});
  Vector low{HUGE_VAL, HUGE_VAL, HUGE_VAL};
  Vector high{-HUGE_VAL, -HUGE_VAL, -HUGE_VAL};
  const auto forEach = [&](const auto& take) {
    for (const Scene* scene : scenes)
      scene->forEachPosition([&](const Vector& p) {
        if (isFinite(p)) take(upright.inView(p));
      });
  };
  forEach([&](const Vector& p) {
    for (std::size_t i = 0; i < 3; ++i) {
      low[i] = std::min(low[i], p[i]);
      high[i] = std::max(high[i], p[i]);
    }
  });
  Camera camera(viewpoint);
  if (low[0] > high[0]) return camera;
  const Vector middle = plus(plus({}, low, 0.5), high, 0.5);
  double radius = 0;
  forEach([&](const Vector& p) {
    radius = std::max(radius, std::hypot(p[0] - middle[0], p[2] - middle[2]));
  });
  const double half = (high[1] - low[1]) / 2;
  // Back to the root's coordinates: the columns of the upright camera.
  const Vector x = upright.inView({1, 0, 0});
  const Vector y = upright.inView({0, 1, 0});
  const Vector z = upright.inView({0, 0, 1});
  const Vector centre = camera.inView({dot(x, middle), dot(y, middle), dot(z, middle)});
  const Vector seenAxis = camera.inView(axis);
  const auto reach = [&](double share) {
    return radius * std::sqrt(std::max(0.0, 1 - share * share)) + half * std::abs(share);
  };
  const Vector size{reach(seenAxis[0]), reach(seenAxis[1]), reach(seenAxis[2])};
  camera.include(plus(centre, size));
  camera.include(minus(centre, size));
  return camera;
}

Image drawView(Scenes scenes, const View& view, Camera camera, double scale,
               const ProgressOf& progress) {
  Rasterizer canvas(view.width, view.height, view.background, view.viewpoint.perspective > 0,
                    view.section.has_value());
  const CaptionRows captions = captionsOf(view);
  camera.fit(canvas.width(), canvas.height(), captions.space() * canvas.samples());
  if (scale > 0) camera.setScale(scale * canvas.samples());
  Painter painter(canvas, camera, spaceOf(view.section, camera), view.jobs);
  const Rasterizer::Pass passes[] = {Rasterizer::Pass::opaque, Rasterizer::Pass::nearest,
                                     Rasterizer::Pass::mix};
  DrawList lines;
  captions.draw(lines, view.background, canvas.samples());
  for (const Scene* scene : scenes) scene->annotations().draw(lines, camera);
  painter.paint(lines);
  const double steps = static_cast<double>(std::size(passes) * scenes.size());
  double done = 0;
  for (const Rasterizer::Pass pass : passes)
    for (const Scene* scene : scenes) {
      painter.paint(*scene, pass, [&](double share) { progress((done + share) / steps); });
      ++done;
    }
  return canvas.image();
}

Image drawSheet(Scenes scenes, const View& view,
                std::span<const std::pair<std::string, Viewpoint>> viewpoints,
                const ProgressOf& progress) {
  const auto columns =
      static_cast<std::size_t>(std::ceil(std::sqrt(static_cast<double>(viewpoints.size()))));
  const std::size_t rows = (viewpoints.size() + columns - 1) / columns;
  constexpr std::size_t kLine = 1;  // pixels between pictures
  View cell = view;
  cell.width = std::max<std::size_t>(
      1, (view.width - std::min(view.width, (columns - 1) * kLine)) / columns);
  cell.height =
      std::max<std::size_t>(1, (view.height - std::min(view.height, (rows - 1) * kLine)) / rows);
  cell.captions = {{"", std::nullopt}};
  std::vector<Camera> cameras;
  cameras.reserve(viewpoints.size());
  double scale = 0;
  for (const auto& [name, viewpoint] : viewpoints) {
    cell.viewpoint = viewpoint;
    Camera fitted = cameras.emplace_back(aimed(scenes, cell));
    fitted.fit(static_cast<double>(cell.width), static_cast<double>(cell.height),
               captionsOf(cell).space());
    if (!fitted.hasPerspective() && !fitted.seesNothing())
      scale = scale > 0 ? std::min(scale, fitted.scale()) : fitted.scale();
  }
  Image sheet{view.width, view.height, {}};
  const std::array<std::uint8_t, 4> gray{150, 150, 155, 255};
  sheet.rgba.reserve(sheet.width * sheet.height * 4);
  for (std::size_t i = 0; i < sheet.width * sheet.height; ++i)
    sheet.rgba.insert(sheet.rgba.end(), gray.begin(), gray.end());
  for (std::size_t i = 0; i < columns * rows; ++i) {
    // The last ones in a row and a column take what division left over.
    const std::size_t x = i % columns * (cell.width + kLine);
    const std::size_t y = i / columns * (cell.height + kLine);
    if (x >= sheet.width || y >= sheet.height) continue;
    View one = cell;
    one.width = i % columns + 1 == columns ? sheet.width - x : cell.width;
    one.height = i / columns + 1 == rows ? sheet.height - y : cell.height;
    const bool isEmpty = i >= viewpoints.size();
    one.captions = {{isEmpty ? "" : viewpoints[i].first, std::nullopt}};
    if (!isEmpty) one.viewpoint = viewpoints[i].second;
    const Image image =
        drawView(isEmpty ? Scenes() : scenes, one, isEmpty ? Camera(Viewpoint()) : cameras[i],
                 scale, [&](double share) {
                   progress((static_cast<double>(i) + share) / static_cast<double>(columns * rows));
                 });
    copyInto(sheet, image, x, y);
  }
  return sheet;
}

Viewpoint turned(const Viewpoint& viewpoint, const Vector& about, double share) {
  Viewpoint result = viewpoint;
  result.toEye = turnedAbout(viewpoint.toEye, unit(about), 2 * M_PI * share);
  result.up = turnedAbout(viewpoint.up, unit(about), 2 * M_PI * share);
  return result;
}

}  // namespace tool
