#include "PageFile.h"

#include <libdeflate.h>
#include <unistd.h>

#include <memory>
#include <new>
#include <vector>

#include "Failure.h"
#include "InputFile.h"
#include "Installed.h"

namespace tool {
namespace {

constexpr const char* kName = "jtw-view.html";
constexpr std::string_view kDataMark = "<!--jtw-page-data-->";

/// In the form of zlib.
std::vector<std::byte> compressed(std::span<const std::byte> data) {
  constexpr int kLevel = 6;
  const std::unique_ptr<libdeflate_compressor, decltype(&libdeflate_free_compressor)> compressor(
      libdeflate_alloc_compressor(kLevel), &libdeflate_free_compressor);
  if (!compressor) throw std::bad_alloc();
  std::vector<std::byte> result(libdeflate_zlib_compress_bound(compressor.get(), data.size()));
  result.resize(libdeflate_zlib_compress(compressor.get(), data.data(), data.size(), result.data(),
                                         result.size()));
  return result;
}

std::string base64(std::span<const std::byte> data) {
  static constexpr std::string_view kLetters =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  text.reserve((data.size() + 2) / 3 * 4);
  for (std::size_t i = 0; i < data.size(); i += 3) {
    std::uint32_t group = 0;
    for (std::size_t k = 0; k < 3; ++k)
      group = group << 8 | (i + k < data.size() ? static_cast<std::uint32_t>(data[i + k]) : 0);
    for (std::size_t k = 0; k < 4; ++k)
      text += i + k <= data.size() ? kLetters[group >> (18 - 6 * k) & 63] : '=';
  }
  return text;
}

}  // namespace

std::string emptyPage() {
  const auto file = findInstalled(kName, "share/jtw", R_OK);
  if (!file)
    throw Failure(ExitCode::input, "not_installed",
                  std::string("the page ") + kName + " is not installed with jtw");
  const std::vector<std::byte> bytes = readBytes(*file);
  std::string page(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  if (page.find(kDataMark) == std::string::npos)
    throw Failure(ExitCode::input, "not_installed", *file + " is no page of this program");
  return page;
}

std::string filledPage(std::string page, std::span<const std::byte> data) {
  constexpr std::size_t kLongestText = 500'000'000;  // browsers hold texts of up to 512 MiB
  const std::string text = base64(compressed(data));
  if (text.size() > kLongestText)
    throw Failure(
        ExitCode::input, "too_large",
        "the page would have more than 500 MB, which browsers do not open; option: --lod");
  return page.replace(page.find(kDataMark), kDataMark.size(), text);
}

}  // namespace tool
