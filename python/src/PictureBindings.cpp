// Pictures of what a viewer shows.

#include <pybind11/numpy.h>
#include <pybind11/stl.h>

#include <algorithm>
#include <array>
#include <memory>
#include <span>
#include <string_view>

#include "Bindings.h"
#include "Failure.h"
#include "ImageEncoder.h"
#include "InputFile.h"
#include "JtFormatError.h"
#include "JtParallel.h"
#include "JtwEditError.h"
#include "JtwValueText.h"
#include "Library.h"
#include "Sources.h"
#include "Values.h"
#include "picture/PictureOptions.h"
#include "picture/Scene.h"

namespace binding {
namespace {

using Numbers3 = std::array<double, 3>;

/// A picture in memory.
struct Picture {
  tool::Image image;
  std::size_t shapes = 0;
  std::size_t triangles = 0;
  std::vector<std::string> damaged;

  tool::PixelRows rows() const {
    return {.width = image.width,
            .height = image.height,
            .bytes = std::as_bytes(std::span(image.rgba))};
  }
};

using PicturePtr = std::shared_ptr<const Picture>;

py::bytes bytesOf(const std::vector<std::byte>& bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

void save(const Picture& picture, const py::object& path) {
  const std::string file = pathOf(path);
  tool::checkPictureName(file, {1, 1, 1, 1});
  const bool isPng = file.ends_with(".png") || file.ends_with(".PNG");
  const Released released;
  tool::writeBytes(file,
                   isPng ? tool::encodePng(picture.rows()) : tool::encodeJpeg(picture.rows()));
}

tool::Viewpoint viewpointOf(const py::object& view, double perspective) {
  tool::Viewpoint viewpoint;
  if (py::isinstance<py::str>(view)) {
    const auto name = view.cast<std::string>();
    const auto named = tool::namedView(name);
    if (!named) {
      std::string known;
      for (const std::string_view each : tool::viewNames())
        known += (known.empty() ? "" : ", ") + std::string(each);
      tool::failUsage("view is '" + name + "'; there are " + known +
                      ", or three numbers: the direction to look along");
    }
    viewpoint = *named;
  } else {
    const auto along = view.cast<Numbers3>();
    viewpoint.toEye = tool::minus({}, along);
    if (viewpoint.toEye == tool::Vector{})
      tool::failUsage("view is no direction: all three numbers are 0");
  }
  viewpoint.perspective = perspective;
  return viewpoint;
}

tool::Color backgroundOf(const std::string& text) {
  if (text == "none") return {0, 0, 0, 0};
  const ApiGraColor color = jtw::parseColor("background", text);
  tool::Color background{0, 0, 0, color.getAlpha()};
  color.getRGB(background[0], background[1], background[2]);
  return background;
}

struct Request {
  tool::View view;
  tool::SceneRequest scene;
  std::optional<double> edges;
  double explode = 0;
};

void checkNumbers(const std::array<std::size_t, 2>& size, double perspective, double explode) {
  constexpr std::size_t kLargest = 4096;
  for (const std::size_t pixels : size)
    if (pixels < 1 || pixels > kLargest)
      tool::failUsage("size is no width and height from 1 to 4096 pixels");
  constexpr double kWidest = 150;
  if (!(perspective >= 0 && perspective <= kWidest))
    tool::failUsage("perspective is no angle from 0 to 150 degrees");
  constexpr double kFarthest = 100;
  if (!(explode >= 0 && explode <= kFarthest))
    tool::failUsage("explode is no number from 0 to 100");
}

PicturePtr draw(Source& source, Request& request) {
  source.open();
  if (const auto& node = source.node()) {
    const JtNode* const chosen = node->jtNode();
    if (!chosen)
      jtw::failRefused(source.path(), "no_node", "frames and annotations have no node to be drawn");
    request.scene.isShown = [chosen](std::span<JtNode* const> path) {
      return std::ranges::find(path, chosen) != path.end();
    };
  }
  tool::Scene scene(source.partition(), request.scene);
  scene.decode(request.view.jobs, [](double) {});
  if (request.edges) scene.findEdges(*request.edges, request.view.jobs);
  if (request.explode > 0) scene.explode(request.explode);
  const tool::Scene* const one = &scene;
  const tool::Scenes scenes(&one, 1);
  tool::fitToScenes(request.view, scenes);
  auto picture = std::make_shared<Picture>();
  picture->image =
      tool::drawView(scenes, request.view, tool::aimed(scenes, request.view), 0, [](double) {});
  picture->damaged = scene.damaged();
  for (const tool::Item& item : scene.items()) {
    const jt::Mesh* const mesh = scene.mesh(item);
    if (!mesh || item.isWires) continue;
    ++picture->shapes;
    if (mesh->kind == jt::Mesh::Kind::triangles) picture->triangles += mesh->primitiveCount();
  }
  return picture;
}

PicturePtr snapshot(const py::object& what, const py::object& view,
                    const std::array<std::size_t, 2>& size, const std::string& background,
                    const std::optional<std::pair<Numbers3, Numbers3>>& section,
                    const std::optional<double>& edges, double perspective, double explode,
                    bool pmi, bool wires, bool textures, std::uint32_t level) {
  checkNumbers(size, perspective, explode);
  Source source(what);
  Request request;
  request.view.width = size[0];
  request.view.height = size[1];
  request.view.viewpoint = viewpointOf(view, perspective);
  request.view.background = backgroundOf(background);
  request.view.jobs = static_cast<unsigned>(jt::coreCount());
  if (section)
    request.view.section = tool::Section{.point = section->first, .normal = section->second};
  request.edges = edges;
  request.explode = explode;
  request.scene.levelOfDetail = level;
  request.scene.withAnnotations = pmi && explode == 0;  // they say where something is
  request.scene.withWires = wires;
  request.scene.withTextures = textures;
  request.scene.withParts = explode > 0;
  const Released released;
  return draw(source, request);
}

}  // namespace

void bindPicture(py::module_& module) {
  py::class_<Picture, std::shared_ptr<Picture>>(module, "Picture",
                                                "A picture; notebooks show it as it is.")
      .def_property_readonly(
          "width", [](const Picture& self) { return self.image.width; }, "In pixels.")
      .def_property_readonly(
          "height", [](const Picture& self) { return self.image.height; }, "In pixels.")
      .def_property_readonly(
          "pixels",
          [](const std::shared_ptr<Picture>& self) {
            py::array_t<std::uint8_t> pixels(
                {self->image.height, self->image.width, std::size_t{4}}, self->image.rgba.data(),
                py::cast(self));
            pixels.attr("flags").attr("writeable") = false;
            return pixels;
          },
          "Red, green, blue, alpha of each pixel: height x width x 4 bytes, rows from the top.")
      .def_readonly("shapes", &Picture::shapes, "How many shapes it shows.")
      .def_readonly("triangles", &Picture::triangles, "How many triangles it shows.")
      .def_readonly("damaged", &Picture::damaged, "Shapes that could not be read: the reasons.")
      .def("save", &save, py::arg("path"), "Writes it as PNG or JPEG, by the extension.")
      .def(
          "_repr_png_", [](const Picture& self) { return bytesOf(tool::encodePng(self.rows())); },
          "The picture as the bytes of a PNG file.")
      .def("__repr__", [](const Picture& self) {
        return "<jtw.Picture, " + std::to_string(self.image.width) + "x" +
               std::to_string(self.image.height) + ", " + std::to_string(self.triangles) +
               " triangles>";
      });
  module.def(
      "snapshot",
      [](const py::object& source, const py::object& view, const std::array<std::size_t, 2>& size,
         const std::string& background, const std::optional<std::pair<Numbers3, Numbers3>>& section,
         const std::optional<double>& edges, double perspective, double explode, bool pmi,
         bool wires, bool textures, std::uint32_t level) {
        return std::const_pointer_cast<Picture>(snapshot(source, view, size, background, section,
                                                         edges, perspective, explode, pmi, wires,
                                                         textures, level));
      },
      py::arg("source"), py::kw_only(), py::arg("view") = "iso",
      py::arg("size") = std::array<std::size_t, 2>{800, 600}, py::arg("background") = "white",
      py::arg("section") = py::none(), py::arg("edges") = py::none(), py::arg("perspective") = 0.0,
      py::arg("explode") = 0.0, py::arg("pmi") = true, py::arg("wires") = true,
      py::arg("textures") = true, py::arg("level") = 0,
      R"(Draws a file, a component or one object of it, as it is now.

source       a path, a File, a Component or a Node
view         "iso", "front", "top", ..., or the direction to look along
size         width and height in pixels
background   a color; "none" for transparent
section      a point and a direction in millimetres: what that points to is cut away
edges        draws edges that are sharper than this angle, in degrees
perspective  the angle that the height covers, in degrees; 0 for none
explode      moves parts apart, by so many times their distance from the middle
pmi, wires, textures  whether they are drawn
level        of detail, 0 the finest

>>> picture = jtw.snapshot(component, view="front", size=(200, 100))
>>> picture.pixels.shape
(100, 200, 4))");
}

}  // namespace binding
