#include "ImageDecoder.h"

#include <png.h>
#include <turbojpeg.h>

#include <memory>
#include <string>

#include "JtFormatError.h"

namespace tool {
namespace {

[[noreturn]] void fail(const std::string& message) { throw JtFormatError("bad_image", message); }

/// An image of that size whose pixels are to be filled in.
jt::TexturePixels sized(std::int64_t width, std::int64_t height, int components,
                        std::size_t mostBytes) {
  if (width < 1 || height < 1) fail("the image has no pixels");
  if (width > kMostImageSide || height > kMostImageSide)
    fail("the image has " + std::to_string(width) + " x " + std::to_string(height) +
         " pixels; up to " + std::to_string(kMostImageSide) + " a side are taken");
  const auto bytes = static_cast<std::size_t>(width * height * components);
  if (bytes > mostBytes)
    fail("the image has " + std::to_string(bytes) + " bytes of pixels; there is room for " +
         std::to_string(mostBytes));
  return {static_cast<int>(width), static_cast<int>(height), components,
          std::vector<std::byte>(bytes)};
}

int rowBytes(const jt::TexturePixels& image) { return image.width * image.components; }

using PngImage = std::unique_ptr<png_image, decltype([](png_image* i) { png_image_free(i); })>;

jt::TexturePixels decodePng(std::span<const std::byte> file, std::size_t mostBytes) {
  png_image header{};
  header.version = PNG_IMAGE_VERSION;
  const PngImage owner(&header);
  if (!png_image_begin_read_from_memory(&header, file.data(), file.size())) fail(header.message);
  const bool hasAlpha = (header.format & PNG_FORMAT_FLAG_ALPHA) != 0;
  jt::TexturePixels image = sized(header.width, header.height, hasAlpha ? 4 : 3, mostBytes);
  header.format = hasAlpha ? PNG_FORMAT_RGBA : PNG_FORMAT_RGB;
  // A negative distance of rows: from the bottom up.
  if (!png_image_finish_read(&header, nullptr, image.bytes.data(), -rowBytes(image), nullptr))
    fail(header.message);
  return image;
}

using Decompressor = std::unique_ptr<void, decltype([](tjhandle h) { tjDestroy(h); })>;

jt::TexturePixels decodeJpeg(std::span<const std::byte> file, std::size_t mostBytes) {
  const Decompressor decompressor(tjInitDecompress());
  if (!decompressor) throw std::bad_alloc();
  const auto* bytes = reinterpret_cast<const unsigned char*>(file.data());
  int width = 0;
  int height = 0;
  int subsampling = 0;
  int colors = 0;
  if (tjDecompressHeader3(decompressor.get(), bytes, file.size(), &width, &height, &subsampling,
                          &colors) != 0)
    fail(tjGetErrorStr2(decompressor.get()));
  jt::TexturePixels image = sized(width, height, 3, mostBytes);
  // Without a limit of scans, a small file can keep the decoder busy for minutes.
  constexpr int kFlags = TJFLAG_BOTTOMUP | TJFLAG_ACCURATEDCT | TJFLAG_LIMITSCANS;
  if (tjDecompress2(decompressor.get(), bytes, file.size(),
                    reinterpret_cast<unsigned char*>(image.bytes.data()), width, 0, height,
                    TJPF_RGB, kFlags) != 0)
    fail(tjGetErrorStr2(decompressor.get()));
  return image;
}

bool beginsWith(std::span<const std::byte> file, std::initializer_list<unsigned> bytes) {
  std::size_t at = 0;
  for (const unsigned byte : bytes)
    if (at >= file.size() || std::to_integer<unsigned>(file[at++]) != byte) return false;
  return true;
}

}  // namespace

jt::TexturePixels decodeImage(std::span<const std::byte> file, std::size_t mostBytes) {
  if (beginsWith(file, {0x89, 'P', 'N', 'G'})) return decodePng(file, mostBytes);
  if (beginsWith(file, {0xff, 0xd8, 0xff})) return decodeJpeg(file, mostBytes);
  fail("the image is neither PNG nor JPEG");
}

}  // namespace tool
