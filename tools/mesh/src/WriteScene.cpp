#include <filesystem>

#include "ApiSysFilePath.h"
#include "JtFormatError.h"
#include "JtSaveFiles.h"
#include "JtStorageManager.h"
#include "MeshFiles.h"
#include "Orientation.h"
#include "Writers.h"

namespace mesh {
namespace {

void save(const std::string& path, const std::string& content) {
  const JtFSStorageLocation location(path);
  const jt::FilePiece piece{std::as_bytes(std::span(content)), nullptr, 0};
  JtStorageManager::current()->save(location, {&piece, 1}, {});
}

/// The OBJ file and the list of materials that it names belong together.
void saveObj(const Scene& scene, const std::string& path) {
  const std::vector<std::string> files = filesOf(scene, path);
  if (files.size() == 1) return save(path, objOf(scene, {}));
  const std::string library = mtlOf(scene);
  const std::string content = objOf(scene, std::filesystem::path(files[1]).filename().string());
  const jt::NewFile both[] = {{files[1], std::as_bytes(std::span(library))},
                              {path, std::as_bytes(std::span(content))}};
  jt::saveFilesTogether(both);
}

}  // namespace

Format formatOf(const std::string& path) {
  const std::string extension = ApiSysFilePath(path).extension();
  if (extension == "glb") return Format::glb;
  if (extension == "obj") return Format::obj;
  if (extension == "stl") return Format::stl;
  if (extension == "ply") return Format::ply;
  throw JtFormatError(
      "unknown_format",
      "the extension '" + extension +
          "' is none that can be written: .glb (glTF in one file), .obj, .stl, .ply",
      {.file = path});
}

std::vector<std::string> filesOf(const Scene& scene, const std::string& path) {
  if (formatOf(path) != Format::obj || scene.materials.empty()) return {path};
  return {path, std::filesystem::path(path).replace_extension(".mtl").string()};
}

std::vector<std::string> writeScene(const Scene& scene, const std::string& path, UpAxis up) {
  constexpr double kMetre = 1000;
  const Format format = formatOf(path);
  checkNumbers(scene);
  Scene converted = scene;
  convertUnit(converted, format == Format::glb ? kMetre : 1);
  turn(converted, Turn::toZ(format == Format::glb ? UpAxis::y : up).inverse());
  switch (format) {
    case Format::glb:
      save(path, glbOf(converted));
      break;
    case Format::obj:
      saveObj(converted, path);
      break;
    case Format::stl:
      save(path, stlOf(converted));
      break;
    case Format::ply:
      save(path, plyOf(converted));
      break;
  }
  return filesOf(scene, path);
}

}  // namespace mesh
