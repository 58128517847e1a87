#include "SceneImages.h"

#include <algorithm>

#include "ImageDecoder.h"
#include "JtFormatError.h"

namespace mesh {

SceneImages::SceneImages(Scene& scene) : scene_(scene), bytesLeft_(tool::kMostPixelBytes) {}

std::optional<std::size_t> SceneImages::take(const std::string& key, const std::string& name,
                                             const Decode& decode) {
  const auto [found, isNew] = taken_.try_emplace(key);
  if (!isNew) return found->second;
  try {
    jt::TexturePixels image = decode(bytesLeft_);
    bytesLeft_ -= image.bytes.size();
    found->second = take(std::move(image));
  } catch (const JtFormatError& error) {
    scene_.notes.push_back("the image '" + name + "' is left out: " + error.message());
  }
  return found->second;
}

std::size_t SceneImages::take(jt::TexturePixels pixels) {
  const auto same = std::find_if(scene_.images.begin(), scene_.images.end(),
                                 [&pixels](const auto& image) { return *image == pixels; });
  const auto index = static_cast<std::size_t>(same - scene_.images.begin());
  if (same == scene_.images.end())
    scene_.images.push_back(std::make_shared<const jt::TexturePixels>(std::move(pixels)));
  return index;
}

}  // namespace mesh
