#include "JtTk/JtkwColorText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <cstdio>

#include "JtkPMIDrawing.h"

namespace jtw {

std::string multiCadColorText(const ApiGraColor& diffuse) {
  float red = 0;
  float green = 0;
  float blue = 0;
  diffuse.getRGB(red, green, blue);
  const float numbers[] = {
      0.2F,  0.2F,  0.2F, 1.0F,                // ambient
      red,   green, blue, diffuse.getAlpha(),  // diffuse
      0.0F,  0.0F,  0.0F, 1.0F,                // specular
      0.0F,  0.0F,  0.0F, 1.0F,                // emission
      15.0F,                                   // shininess
  };
  std::string text;
  for (const float number : numbers) {
    char digits[64];  // the greatest float has 39 digits before the point
    char* const end =
        std::to_chars(digits, digits + sizeof digits, number, std::chars_format::fixed, 6).ptr;
    if (!text.empty()) text += ',';
    text.append(digits, end);
  }
  return text;
}

std::optional<ApiGraColor> colorOfMultiCadText(std::string_view text) {
  constexpr std::size_t kFirst = 4;
  std::array<float, 4> diffuse{};
  for (std::size_t field = 0; field < kFirst + diffuse.size(); ++field) {
    const std::size_t comma = text.find(',');
    std::string_view number = text.substr(0, comma);
    text = comma == std::string_view::npos ? std::string_view() : text.substr(comma + 1);
    if (field < kFirst) continue;
    number.remove_prefix(std::min(number.find_first_not_of(" \t"), number.size()));
    const auto [stop, error] =
        std::from_chars(number.data(), number.data() + number.size(), diffuse[field - kFirst]);
    const std::string_view rest(stop, static_cast<std::size_t>(number.end() - stop));
    if (error != std::errc() || rest.find_first_not_of(" \t") != std::string_view::npos)
      return std::nullopt;
  }
  return ApiGraColor::fromUnit(diffuse[0], diffuse[1], diffuse[2], diffuse[3]);
}

std::string pmiColorText(const ApiGraColor& color) {
  char text[11];  // black has no prefix but as many characters
  const unsigned number = color.red() + color.green() * 256U + color.blue() * 65536U;
  std::snprintf(text, sizeof text, "%#010x", number);
  return text;
}

std::optional<ApiGraColor> colorOfPmiText(std::string_view text) {
  const auto number = jtk::colorNumber(text);
  if (!number) return std::nullopt;
  const auto byte = [number](int shift) { return static_cast<std::uint8_t>(*number >> shift); };
  return ApiGraColor(byte(0), byte(8), byte(16));
}

}  // namespace jtw
