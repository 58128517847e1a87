#pragma once

#include <array>
#include <cstddef>
#include <map>
#include <optional>
#include <span>
#include <vector>

#include "JtString.h"
#include "JtkExport.h"

/// A font whose characters are drawn with lines. Lengths of glyphs are in parts of the height of a
/// capital letter; the baseline is y = 0.
///
/// A font file holds, little-endian: the 8 bytes "JTWFONT" and 1; U32 count of glyphs; and for each
/// glyph U32 character (a Unicode code point), F32 advance, U32 count of strokes, and for each
/// stroke U32 count of points with F32 x and F32 y each.
class JTK_API JtkStrokeFont {
 public:
  using Point = std::array<float, 2>;
  using Stroke = std::vector<Point>;
  /// What one character is drawn with.
  struct Glyph {
    float advance = 1;  ///< to the origin of the next character
    std::vector<Stroke> strokes;
  };

  /// The font of the library: ISO 8859-1, all characters of one width.
  static const JtkStrokeFont& builtIn();
  /// The font in the bytes of a font file; nothing when they are no such file.
  static std::optional<JtkStrokeFont> fromBytes(std::span<const std::byte> bytes);
  std::vector<std::byte> toBytes() const;

  /// Sets what a character is drawn with; all characters that the font has.
  void setGlyph(char32_t character, Glyph glyph) { glyphs_[character] = std::move(glyph); }
  const std::map<char32_t, Glyph>& glyphs() const noexcept { return glyphs_; }

  /// The strokes of a line of text that starts at the origin. A character that the font does not
  /// have is drawn as that of the built-in font, or as a box.
  /// @param height of a capital letter
  std::vector<Stroke> layOut(const JtString& line, float height) const;
  /// The width of a line.
  float width(const JtString& line, float height) const;

 private:
  const Glyph& glyph(char32_t character) const;

  std::map<char32_t, Glyph> glyphs_;
};

namespace jtk {

/// Distance of the baselines of two lines of text, in heights of a capital letter.
inline constexpr float kLinePitch = 1.5F;

}  // namespace jtk
