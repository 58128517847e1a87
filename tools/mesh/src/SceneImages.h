#pragma once

#include <functional>
#include <map>

#include "MeshScene.h"

namespace mesh {

/// Takes images into a scene, each once, as long as there is room for them. What cannot be taken is
/// left out, with a note that names it.
class SceneImages {
 public:
  explicit SceneImages(Scene& scene);

  /// Decodes an image of at most so many bytes, or throws JtFormatError.
  using Decode = std::function<jt::TexturePixels(std::size_t mostBytes)>;
  /// Index in the scene; none when the image cannot be taken.
  /// @param key  what one image is known by, the same in every call for it
  /// @param name for readers
  std::optional<std::size_t> take(const std::string& key, const std::string& name,
                                  const Decode& decode);
  /// The same for pixels that are there already: equal ones are one image.
  std::size_t take(jt::TexturePixels pixels);

 private:
  Scene& scene_;
  std::map<std::string, std::optional<std::size_t>> taken_;  // none: cannot be
  std::size_t bytesLeft_;
};

}  // namespace mesh
