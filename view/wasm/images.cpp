// Images of their own files do not come with a model that is dropped on a page.

#include "ImageDecoder.h"
#include "ImageEncoder.h"
#include "JtFormatError.h"

namespace tool {

jt::TexturePixels decodeImage(std::span<const std::byte> /*file*/, std::size_t /*mostBytes*/) {
  throw JtFormatError("bad_image", "this page reads no image files");
}
std::vector<std::byte> encodePng(const PixelRows& /*pixels*/) {
  throw JtFormatError("too_large", "this page writes no pictures");
}
std::vector<std::byte> encodeJpeg(const PixelRows& pixels) { return encodePng(pixels); }

}  // namespace tool
