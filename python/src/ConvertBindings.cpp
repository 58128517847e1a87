// Mesh files in and out.

#include <pybind11/stl.h>

#include "Bindings.h"
#include "Component.h"
#include "Failure.h"
#include "InputFile.h"
#include "JtwEditError.h"
#include "JtwManager.h"
#include "JtwValueText.h"
#include "Library.h"
#include "MeshComponent.h"
#include "MeshFiles.h"
#include "NewDocument.h"
#include "OpenFile.h"
#include "Options.h"
#include "PartCopies.h"
#include "Values.h"

namespace binding {
namespace {

/// What a conversion wrote.
struct Conversion {
  std::vector<std::string> files;
  std::vector<std::string> notes;
  std::optional<jt::SaveReport> saved;  ///< of a JT file
  std::size_t triangles = 0;
};

struct Request {
  jt::SaveOptions saving;
  std::uint32_t level = 0;
  std::size_t levels = 1;
  double millimetres = 0;  ///< 0: what the file says
};

bool isJt(const std::string& path) { return tool::DocumentName(path).isJt; }

std::size_t trianglesOf(const mesh::Scene& scene) {
  std::size_t count = 0;
  for (const auto& each : scene.meshes)
    if (each->kind == jt::Mesh::Kind::triangles) count += each->primitiveCount();
  return count;
}

/// GLB has lines in colors of their own, OBJ lines; the others have triangles.
mesh::SceneLines linesFor(mesh::Format format) {
  return {.ofAnnotations = format == mesh::Format::glb,
          .ofWires = format == mesh::Format::glb || format == mesh::Format::obj};
}

Conversion writeMesh(const mesh::Scene& scene, const std::string& target) {
  if (scene.models.empty())
    throw JtFormatError("no_geometry", "there is no geometry in it", {.file = target});
  return {.files = mesh::writeScene(scene, target),
          .notes = scene.notes,
          .saved = {},
          .triangles = trianglesOf(scene)};
}

Conversion writeComponent(mesh::Scene scene, const std::string& target, const Request& request) {
  Conversion conversion{
      .files = {}, .notes = scene.notes, .saved = {}, .triangles = trianglesOf(scene)};
  const tool::DocumentName name(target);
  const ApiDocumentRef document = tool::openHostDocument(name);
  document->setIdentity(name.path + "#conversion");
  struct RootOf {
    const ApiDocumentRef& document;
    ~RootOf() {
      JtwManager::the().releaseRoot(document);
      JtwManager::the().releaseDocument(document);
    }
  } const held{document};
  tool::NewDocument made(name, document, true);
  mesh::buildComponent(std::move(scene), made.root(), {.levels = request.levels});
  conversion.saved = made.save(request.saving);
  conversion.files = {conversion.saved->file};
  return conversion;
}

Conversion copyJt(const std::string& source, const std::string& target, const Request& request) {
  const OpenFile file(tool::jtFileOf(source));
  JtPartition& top = file.top();
  Conversion conversion;
  conversion.saved = tool::saveCopy(
      top, top, jt::partFilesOf(top),
      {.input = file.path, .output = target, .changesParts = request.saving.version.has_value()},
      request.saving);
  conversion.files = {conversion.saved->file};
  return conversion;
}

Conversion convert(const std::string& source, const std::string& target, const Request& request) {
  if (isJt(source) && isJt(target)) return copyJt(source, target, request);
  if (isJt(source)) {
    const mesh::Format format = mesh::formatOf(target);
    const OpenFile file(tool::jtFileOf(source));
    return writeMesh(mesh::sceneOf(file.top(), request.level, linesFor(format)), target);
  }
  if (!isJt(target)) mesh::formatOf(target);  // before anything is read
  mesh::Scene scene = mesh::loadScene(source, request.millimetres);
  return isJt(target) ? writeComponent(std::move(scene), target, request)
                      : writeMesh(scene, target);
}

}  // namespace

void bindConvert(py::module_& module) {
  py::class_<Conversion>(module, "Conversion", "What a conversion wrote.")
      .def_property_readonly(
          "files",
          [](const Conversion& self) {
            py::list files;
            for (const std::string& file : self.files) files.append(fileText(file));
            return files;
          },
          "Paths of the files.")
      .def_readonly("notes", &Conversion::notes, "What could not be taken over.")
      .def_readonly("saved", &Conversion::saved, "The report of the save of a JT file, or None.")
      .def_readonly("triangles", &Conversion::triangles,
                    "Triangles of a mesh file, each mesh once; 0 from JT to JT.");
  module.def(
      "convert",
      [](const py::object& source, const py::object& target,
         const std::optional<std::string>& version, const std::optional<std::string>& unit,
         std::uint32_t level, std::size_t levels) {
        const std::string from = pathOf(source);
        const std::string to = pathOf(target);
        Request request{.saving = saveOptions(version, false), .level = level, .levels = levels};
        if (unit) request.millimetres = jtw::parseLengthUnit("unit", *unit).millimetres;
        const Released released;
        return convert(from, to, request);
      },
      py::arg("source"), py::arg("target"), py::kw_only(), py::arg("version") = py::none(),
      py::arg("unit") = py::none(), py::arg("level") = 0, py::arg("levels") = 1,
      R"(Converts between mesh files and JT files, by their extensions; replaces the target.

Reads glTF, OBJ, STL, PLY, FBX and others, writes GLB, OBJ, STL and PLY. What a mesh file becomes is
a component: a component folder (.kpak) or a JT file.

version  JT version that is written
unit     unit of length of a mesh file, whatever it says
level    of detail that a mesh file gets, 0 the finest
levels   of detail that a JT file gets)");
  py::class_<OpenComponent, ComponentPtr>(module.attr("Component"))
      .def(
          "export",
          [](const ComponentPtr& self, const py::object& path, std::uint32_t level) {
            const std::string target = pathOf(path);
            const Released released;
            self->settle();
            if (isJt(target))
              jtw::failRefused(self->path(), "not_supported", "save() writes JT files");
            const mesh::Format format = mesh::formatOf(target);
            return writeMesh(mesh::sceneOf(self->partition(), level, linesFor(format)), target);
          },
          py::arg("path"), py::kw_only(), py::arg("level") = 0,
          "Writes the component, as it is now, to a mesh file: GLB, OBJ, STL or PLY.");
}

}  // namespace binding
