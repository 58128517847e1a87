#include "ImageEncoder.h"

#include <png.h>
#include <turbojpeg.h>

#include <memory>
#include <string>

#include "JtFormatError.h"

namespace tool {
namespace {

[[noreturn]] void fail(const char* reason) {
  throw JtFormatError("too_large", std::string("the picture cannot be encoded: ") + reason);
}

using Compressor = std::unique_ptr<void, decltype([](tjhandle h) { tjDestroy(h); })>;
using JpegBytes = std::unique_ptr<unsigned char, decltype([](unsigned char* b) { tjFree(b); })>;

}  // namespace

std::vector<std::byte> encodePng(const PixelRows& pixels) {
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
    fail(header.message);
  bytes.resize(size);
  return bytes;
}

std::vector<std::byte> encodeJpeg(const PixelRows& pixels) {
  constexpr int kQuality = 92;
  const Compressor compressor(tjInitCompress());
  if (!compressor) throw std::bad_alloc();
  unsigned char* made = nullptr;
  unsigned long size = 0;
  const int failure =
      tjCompress2(compressor.get(), reinterpret_cast<const unsigned char*>(pixels.bytes.data()),
                  static_cast<int>(pixels.width), 0, static_cast<int>(pixels.height),
                  pixels.components == 4 ? TJPF_RGBA : TJPF_RGB, &made, &size, TJSAMP_444, kQuality,
                  TJFLAG_ACCURATEDCT | (pixels.fromBelow ? TJFLAG_BOTTOMUP : 0));
  const JpegBytes owner(made);
  if (failure != 0) fail(tjGetErrorStr2(compressor.get()));
  const auto* bytes = reinterpret_cast<const std::byte*>(made);
  return {bytes, bytes + size};
}

}  // namespace tool
