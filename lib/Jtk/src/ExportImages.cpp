#include "ExportImages.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <string_view>
#include <utility>
#include <vector>

#include "JtByteText.h"
#include "JtFormatError.h"
#include "JtPartFolder.h"
#include "JtSourceFile.h"
#include "JtStorageManager.h"
#include "JtTexture.h"

namespace jtk {
namespace {

namespace fs = std::filesystem;

jt::Ref<JtFSStorageLocation> fileBeside(const JtStorageLocation& place, const JtString& name) {
  const auto found = JtStorageManager::current()->resolve(place, name);
  return jt::Ref<JtFSStorageLocation>(jt::as<JtFSStorageLocation>(found.get()));
}

bool isFile(const std::string& path) {
  std::error_code ignored;
  return fs::is_regular_file(path, ignored);
}

/// A file must not have others carried off than images.
bool isImageName(const fs::path& path) {
  constexpr std::array<std::string_view, 19> kExtensions{
      ".bmp", ".dds", ".exr", ".gif", ".hdr",  ".jpeg", ".jpg", ".ktx", ".pcx", ".pgm",
      ".png", ".ppm", ".psd", ".rgb", ".rgba", ".sgi",  ".tga", ".tif", ".tiff"};
  std::string extension = path.extension().string();
  std::ranges::transform(extension, extension.begin(), [](char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  });
  return std::ranges::find(kExtensions, extension) != kExtensions.end();
}

}  // namespace

std::string ExportImages::bring(const JtAttribute& attribute, const JtStorageLocation& place) {
  const auto* texture = jt::as<JtTextureImage>(&attribute);
  const JtString name = texture ? texture->fileName() : JtString();
  if (name.isEmpty()) return {};
  const auto to = fileBeside(place, name);
  if (!to) return "its path leads out of the folder of the file";
  const jt::FileImage* source = jt::fileOf(attribute);
  const auto from = source ? fileBeside(JtFSStorageLocation(source->name()), name)
                           : jt::Ref<JtFSStorageLocation>();
  if (!from || !isFile(from->fullFilePath()))
    return isFile(to->fullFilePath()) ? "" : "there is no such file";
  if (!jt::isBeside(from->fullFilePath(), source->name()) ||
      !jt::isBeside(to->fullFilePath(), jt::bytesOfText(place.displayName())))
    return "its path leads out of the folder of the file";
  const auto [entry, isNew] =
      done_.try_emplace({from->fullFilePath(), to->fullFilePath()}, std::string());
  if (isNew) entry->second = copy(*from, *to);
  return entry->second;
}

std::string ExportImages::copy(const JtFSStorageLocation& from, const JtFSStorageLocation& to) {
  const std::string source = from.fullFilePath();
  const std::string target = to.fullFilePath();
  if (!isImageName(source) || !isImageName(target)) return "its name is none of an image";
  std::error_code ignored;
  if (fs::equivalent(source, target, ignored)) return {};
  const auto manager = JtStorageManager::current();
  jt::Ref<jt::FileImage> image;
  try {
    image = manager->open(from);
    if (isFile(target)) {
      const auto there = manager->open(to);
      return std::ranges::equal(image->bytes(), there->bytes()) ? "" : "another file has its place";
    }
  } catch (const JtFormatError& error) {
    return error.what();
  }
  if (dryRun_) return {};
  makeFolders(target);
  jt::StorageSaveOptions options;
  options.createOnly = true;
  const jt::FilePiece whole{image->bytes(), image.get(), 0};
  std::string path = target;
  jt::TemporaryPath& made = made_.emplace_front();
  manager->save(to, {&whole, 1}, options);
  made.set(std::move(path));
  return {};
}

void ExportImages::makeFolders(const std::string& file) {
  std::vector<fs::path> missing;
  std::error_code ignored;
  for (fs::path folder = fs::path(file).parent_path();
       !folder.empty() && !fs::exists(folder, ignored); folder = folder.parent_path())
    missing.push_back(folder);
  for (std::size_t i = missing.size(); i-- > 0;) {
    std::string path = missing[i].string();
    jt::TemporaryPath& made = made_.emplace_front();
    jt::makeFolder(path);
    made.set(std::move(path), jt::TemporaryPath::Kind::folder);
  }
}

}  // namespace jtk
