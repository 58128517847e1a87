#include <png.h>

#include <string>

#include "Failure.h"
#include "Image.h"

namespace tool {

std::vector<std::byte> encodePng(const Image& image) {
  png_image header{};
  header.version = PNG_IMAGE_VERSION;
  header.width = static_cast<png_uint_32>(image.width);
  header.height = static_cast<png_uint_32>(image.height);
  header.format = PNG_FORMAT_RGBA;
  const auto fail = [&header] {
    throw Failure(ExitCode::output, "no_memory",
                  std::string("the picture cannot be encoded: ") + header.message);
  };
  std::vector<std::byte> bytes(PNG_IMAGE_PNG_SIZE_MAX(header));
  png_alloc_size_t size = bytes.size();
  if (png_image_write_to_memory(&header, bytes.data(), &size, 0, image.rgba.data(), 0, nullptr) ==
      0)
    fail();
  bytes.resize(size);
  return bytes;
}

}  // namespace tool
