#include "JtkStrokeFont.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "StrokeGlyphs.h"

static_assert(std::endian::native == std::endian::little, "font files are little-endian");

namespace {

constexpr std::array<char, 8> kMagic{'J', 'T', 'W', 'F', 'O', 'N', 'T', 1};

template <class T>
void append(std::vector<std::byte>& out, const T& value) {
  // Byte by byte: g++ 12 sees an overflow in vector::insert() here that is not there.
  for (const std::byte byte : std::as_bytes(std::span(&value, 1))) out.push_back(byte);
}

/// Reads values one after the other; the first that is not there makes it bad for good.
class Source {
 public:
  explicit Source(std::span<const std::byte> bytes) : rest_(bytes) {}

  template <class T>
  T take() {
    T value{};
    good_ = good_ && rest_.size() >= sizeof(T);
    if (!good_) return value;
    std::memcpy(&value, rest_.data(), sizeof(T));
    rest_ = rest_.subspan(sizeof(T));
    return value;
  }
  float number() {
    const auto value = take<float>();
    good_ = good_ && std::isfinite(value);
    return value;
  }
  /// A count of things of at least that many bytes each; 0 when the bytes do not suffice.
  std::uint32_t count(std::size_t bytesEach) {
    const auto value = take<std::uint32_t>();
    good_ = good_ && value <= rest_.size() / bytesEach;
    return good_ ? value : 0;
  }
  bool isDone() const { return good_ && rest_.empty(); }

 private:
  std::span<const std::byte> rest_;
  bool good_ = true;
};

/// The code points of a text; a lone surrogate is one of its own.
std::u32string codePoints(const JtString& text) {
  const std::u16string_view units = text.units();
  std::u32string points;
  for (std::size_t i = 0; i < units.size(); ++i) {
    const char32_t unit = units[i];
    const char32_t next = i + 1 < units.size() ? units[i + 1] : 0;
    const bool isPair = (unit & 0xfc00U) == 0xd800U && (next & 0xfc00U) == 0xdc00U;
    points.push_back(isPair ? 0x10000U + ((unit & 0x3ffU) << 10U) + (next & 0x3ffU) : unit);
    if (isPair) ++i;
  }
  return points;
}

}  // namespace

const JtkStrokeFont& JtkStrokeFont::builtIn() {
  static const JtkStrokeFont font = jtk::makeBuiltInFont();
  return font;
}

std::optional<JtkStrokeFont> JtkStrokeFont::fromBytes(std::span<const std::byte> bytes) {
  Source in(bytes);
  if (in.take<std::array<char, 8>>() != kMagic) return std::nullopt;
  JtkStrokeFont font;
  for (std::uint32_t glyphs = in.count(12); glyphs > 0; --glyphs) {
    const auto character = static_cast<char32_t>(in.take<std::uint32_t>());
    Glyph glyph{in.number(), {}};
    for (std::uint32_t strokes = in.count(4); strokes > 0; --strokes) {
      Stroke& stroke = glyph.strokes.emplace_back();
      for (std::uint32_t points = in.count(8); points > 0; --points) {
        const float x = in.number();
        stroke.push_back({x, in.number()});
      }
    }
    font.setGlyph(character, std::move(glyph));
  }
  return in.isDone() ? std::optional(std::move(font)) : std::nullopt;
}

std::vector<std::byte> JtkStrokeFont::toBytes() const {
  std::vector<std::byte> out;
  append(out, kMagic);
  append(out, static_cast<std::uint32_t>(glyphs_.size()));
  for (const auto& [character, glyph] : glyphs_) {
    append(out, static_cast<std::uint32_t>(character));
    append(out, glyph.advance);
    append(out, static_cast<std::uint32_t>(glyph.strokes.size()));
    for (const Stroke& stroke : glyph.strokes) {
      append(out, static_cast<std::uint32_t>(stroke.size()));
      for (const Point& point : stroke) append(out, point);
    }
  }
  return out;
}

const JtkStrokeFont::Glyph& JtkStrokeFont::glyph(char32_t character) const {
  if (const auto own = glyphs_.find(character); own != glyphs_.end()) return own->second;
  const auto& common = builtIn().glyphs_;
  const auto found = common.find(character);
  return found == common.end() ? jtk::unknownGlyph() : found->second;
}

std::vector<JtkStrokeFont::Stroke> JtkStrokeFont::layOut(const JtString& line, float height) const {
  std::vector<Stroke> strokes;
  float x = 0;
  for (const char32_t character : codePoints(line)) {
    const Glyph& drawn = glyph(character);
    for (const Stroke& stroke : drawn.strokes) {
      Stroke& placed = strokes.emplace_back(stroke);
      for (Point& point : placed) point = {(x + point[0]) * height, point[1] * height};
    }
    x += drawn.advance;
  }
  return strokes;
}

float JtkStrokeFont::width(const JtString& line, float height) const {
  float width = 0;
  for (const char32_t character : codePoints(line)) width += glyph(character).advance;
  return width * height;
}
