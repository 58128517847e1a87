#include "Png.h"

#include <png.h>

#include <string>

#include "JtFormatError.h"

namespace tool {

std::vector<std::byte> encodePng(const PngPixels& pixels) {
  png_image header{};
  header.version = PNG_IMAGE_VERSION;
  header.width = static_cast<png_uint_32>(pixels.width);
  header.height = static_cast<png_uint_32>(pixels.height);
  header.format = pixels.components == 4 ? PNG_FORMAT_RGBA : PNG_FORMAT_RGB;
  const auto row = static_cast<png_int_32>(pixels.width * pixels.components);
  std::vector<std::byte> bytes(PNG_IMAGE_PNG_SIZE_MAX(header));
  png_alloc_size_t size = bytes.size();
  // A negative distance of rows: from the bottom up.
  if (png_image_write_to_memory(&header, bytes.data(), &size, 0, pixels.bytes.data(),
                                pixels.fromBelow ? -row : row, nullptr) == 0)
    throw JtFormatError("too_large",
                        std::string("the picture cannot be encoded: ") + header.message);
  bytes.resize(size);
  return bytes;
}

}  // namespace tool
