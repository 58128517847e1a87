#include "JtwValueText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <optional>
#include <vector>

#include "HostUtf8.h"
#include "JtwEditError.h"
#include "JtwNearestName.h"
#include "JtwTree.h"

namespace jtw {
namespace {

[[noreturn]] void failValue(const std::string& name, const std::string& text,
                            const char* expected) {
  failUsage(name + " is '" + text + "', not " + expected);
}

ApiGraColor colorOf(std::uint32_t rgba) {
  const auto byte = [rgba](unsigned shift) { return static_cast<std::uint8_t>(rgba >> shift); };
  return ApiGraColor(byte(24), byte(16), byte(8), static_cast<float>(byte(0)) / 255.0F);
}

std::optional<ApiGraColor> parseHexColor(std::string_view digits) {
  if (digits.size() != 6 && digits.size() != 8) return std::nullopt;
  std::uint32_t value = 0;
  const auto [end, error] =
      std::from_chars(digits.data(), digits.data() + digits.size(), value, 16);
  if (error != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
  if (digits.size() == 6) value = (value << 8) | 0xffU;
  return colorOf(value);
}

struct NamedColor {
  const char* name;
  std::uint32_t rgb;
};
constexpr std::array kColors{
    NamedColor{"aqua", 0x00ffff},    NamedColor{"black", 0x000000},  NamedColor{"blue", 0x0000ff},
    NamedColor{"fuchsia", 0xff00ff}, NamedColor{"gray", 0x808080},   NamedColor{"green", 0x008000},
    NamedColor{"lime", 0x00ff00},    NamedColor{"maroon", 0x800000}, NamedColor{"navy", 0x000080},
    NamedColor{"olive", 0x808000},   NamedColor{"orange", 0xffa500}, NamedColor{"purple", 0x800080},
    NamedColor{"red", 0xff0000},     NamedColor{"silver", 0xc0c0c0}, NamedColor{"teal", 0x008080},
    NamedColor{"white", 0xffffff},   NamedColor{"yellow", 0xffff00}};

/// Units by the names that files have and by those that people write.
struct NamedUnit {
  const char* name;
  const char* symbol;
  double millimetres;
};
constexpr std::array kUnits{
    NamedUnit{"Micrometers", "um", 0.001}, NamedUnit{"Millimeters", "mm", 1},
    NamedUnit{"Centimeters", "cm", 10},    NamedUnit{"Decimeters", "dm", 100},
    NamedUnit{"Meters", "m", 1000},        NamedUnit{"Kilometers", "km", 1'000'000},
    NamedUnit{"Inches", "in", 25.4},       NamedUnit{"Feet", "ft", 304.8},
    NamedUnit{"Yards", "yd", 914.4},       NamedUnit{"Miles", "mi", 1'609'344}};

bool equalsIgnoringCase(std::string_view a, std::string_view b) {
  const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
  return std::ranges::equal(a, b, {}, lower, lower);
}

bool isAffineMatrix(const std::vector<double>& numbers) {
  return numbers[12] == 0 && numbers[13] == 0 && numbers[14] == 0 && numbers[15] == 1;
}

}  // namespace

std::optional<std::vector<double>> parseNumbers(std::string_view text) {
  std::vector<double> numbers;
  const char* at = text.data();
  const char* const last = text.data() + text.size();
  while (true) {
    double number = 0;
    if (at != last && *at == '+') ++at;
    const auto [next, error] = std::from_chars(at, last, number);
    if (error != std::errc() || !std::isfinite(number)) return std::nullopt;
    numbers.push_back(number);
    if (next == last) return numbers;
    if (*next != ',') return std::nullopt;
    at = next + 1;
  }
}

bool parseTruth(const std::string& name, const std::string& text) {
  if (text != "true" && text != "false") failValue(name, text, "true or false");
  return text == "true";
}

ApiGraColor parseColor(const std::string& name, const std::string& text) {
  constexpr const char* kExpected =
      "a color: #rrggbb, #rrggbbaa, r,g,b[,a] with numbers from 0 to 1, or a name such as red";
  for (const NamedColor& color : kColors)
    if (equalsIgnoringCase(text, color.name)) return colorOf(color.rgb << 8 | 0xffU);
  if (text.starts_with('#')) {
    const auto color = parseHexColor(std::string_view(text).substr(1));
    if (!color) failValue(name, text, kExpected);
    return *color;
  }
  auto parts = parseNumbers(text);
  if (!parts || parts->size() < 3 || parts->size() > 4 ||
      std::any_of(parts->begin(), parts->end(), [](double part) { return part < 0 || part > 1; }))
    failValue(name, text, kExpected);
  if (parts->size() == 3) parts->push_back(1.0);
  const auto part = [&parts](std::size_t index) { return static_cast<float>((*parts)[index]); };
  return ApiGraColor::fromUnit(part(0), part(1), part(2), part(3));
}

bool isStorable(const RTTran3D& location) {
  const auto& values = location.values();
  return std::all_of(values.begin(), values.end(),
                     [](double value) { return std::abs(value) <= kGreatestCoordinate; });
}

RTTran3D parseLocation(const std::string& name, const std::string& text) {
  const auto numbers = parseNumbers(text);
  if (numbers && std::any_of(numbers->begin(), numbers->end(),
                             [](double number) { return std::abs(number) > kGreatestCoordinate; }))
    failValue(name, text, "a place with numbers up to 1e30, which is what JT files can keep");
  if (numbers && numbers->size() == 3)
    return RTTran3D::fromTranslation({(*numbers)[0], (*numbers)[1], (*numbers)[2]});
  if (numbers && numbers->size() == 6)
    return RTTran3D::fromPlacement((*numbers)[0], (*numbers)[1], (*numbers)[2], (*numbers)[3],
                                   (*numbers)[4], (*numbers)[5]);
  if (numbers && numbers->size() == 16 && isAffineMatrix(*numbers)) {
    const RTTran3D matrix(std::span<const double, 16>(numbers->data(), 16));
    if (matrix.tryInverse()) return matrix;
  }
  failValue(name, text,
            "a place: x,y,z, or x,y,z,rx,ry,rz, or 16 numbers row by row, the last row 0,0,0,1, "
            "that can be inverted");
}

float parseUnit(const std::string& name, const std::string& text) {
  return unitRatio(parseLengthUnit(name, text).name);
}

NamedLength parseLengthUnit(const std::string& name, const std::string& text) {
  std::string all;
  std::vector<const char*> names;
  for (const NamedUnit& unit : kUnits) {
    if (equalsIgnoringCase(text, unit.name) || equalsIgnoringCase(text, unit.symbol))
      return {unit.name, unit.millimetres};
    names.push_back(unit.name);
    all += (all.empty() ? "" : ", ") + std::string(unit.name) + " (" + unit.symbol + ")";
  }
  failUsage(name + " is '" + text + "'" + suggestion(text, names) + "; the units are " + all);
}

const std::string& parseText(const std::string& name, const std::string& text) {
  std::string_view rest = text;
  while (!rest.empty()) {
    char32_t character = 0;
    const std::size_t length = host::decodeUtf8(rest, character);
    if (length == 0 || host::isHighSurrogate(character) || host::isLowSurrogate(character))
      failUsage(name + " is not UTF-8");
    rest.remove_prefix(length);
  }
  return text;
}

}  // namespace jtw
