#pragma once

// The folder of a model: a file must not bring in others from anywhere.

#include <filesystem>
#include <string>

#include "JtTexture.h"

namespace tool {

class Folder {
 public:
  explicit Folder(const std::filesystem::path& path);

  /// True for a file in the folder or below it, whatever links lead there; it need not exist.
  bool contains(const std::filesystem::path& file) const;
  /// Decodes the image that a model names: by a path from the folder on, with separators of any
  /// system, else by its bare name in the folder. Throws JtFormatError "bad_image" as decodeImage
  /// does, and when there is no such file.
  jt::TexturePixels decodeImage(const std::string& name, std::size_t mostBytes) const;

 private:
  std::filesystem::path path_;
};

}  // namespace tool
