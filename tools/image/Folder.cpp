#include "Folder.h"

#include <algorithm>
#include <fstream>

#include "ImageDecoder.h"
#include "JtFormatError.h"

namespace tool {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void fail(const std::string& message) { throw JtFormatError("bad_image", message); }

std::vector<std::byte> bytesOf(const fs::path& file) {
  std::error_code error;
  const auto size = fs::file_size(file, error);
  if (error) fail("the file cannot be read");
  if (size > kMostPixelBytes) fail("the file is larger than 512 MiB");
  std::vector<std::byte> bytes(static_cast<std::size_t>(size));
  std::ifstream stream(file, std::ios::binary);
  if (!stream.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(size)))
    fail("the file cannot be read");
  return bytes;
}

}  // namespace

Folder::Folder(const fs::path& path) : path_(fs::weakly_canonical(fs::absolute(path / "."))) {}

bool Folder::contains(const fs::path& file) const {
  std::error_code error;
  const fs::path path = fs::weakly_canonical(fs::absolute(file, error), error);
  if (error) return false;
  const fs::path relative = path.lexically_relative(path_);
  return !relative.empty() && *relative.begin() != "..";
}

jt::TexturePixels Folder::decodeImage(const std::string& name, std::size_t mostBytes) const {
  std::string path = name;
  std::replace(path.begin(), path.end(), '\\', '/');
  // What was written elsewhere may name a folder of that place; then the image often lies here.
  for (const fs::path& file : {path_ / path, path_ / fs::path(path).filename()}) {
    std::error_code error;
    // Opening a pipe would wait for its writer.
    if (fs::is_regular_file(file, error) && contains(file))
      return tool::decodeImage(bytesOf(file), mostBytes);
  }
  fail("there is no such file in the folder of the model or below");
}

}  // namespace tool
