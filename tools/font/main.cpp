// jtw-font OUT.bin [DESCRIPTION]: writes a font file with the built-in font, and the glyphs of a
// description in place of its own or beside them. docs/fonts.md has both formats.

#include <charconv>
#include <cstdint>
#include <fstream>
#include <iostream>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>

#include "JtkStrokeFont.h"

namespace {

bool parse(std::string_view text, float& number) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size();
}

/// "0041 1.1 0,0 0.3,1 0.6,0 / 0.1,0.4 0.5,0.4": character, advance, points, strokes apart by '/'.
bool readGlyph(const std::string& line, JtkStrokeFont& font) {
  std::istringstream words(line);
  std::string word;
  words >> word;
  std::uint32_t character = 0;
  const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), character, 16);
  if (error != std::errc() || end != word.data() + word.size() || character > 0x10ffff)
    return false;
  JtkStrokeFont::Glyph glyph;
  if (!(words >> word) || !parse(word, glyph.advance)) return false;
  bool isNew = true;
  while (words >> word) {
    if (word == "/") {
      isNew = true;
      continue;
    }
    const std::size_t comma = word.find(',');
    JtkStrokeFont::Point point{};
    if (comma == std::string::npos || !parse(std::string_view(word).substr(0, comma), point[0]) ||
        !parse(std::string_view(word).substr(comma + 1), point[1]))
      return false;
    if (isNew) glyph.strokes.emplace_back();
    isNew = false;
    glyph.strokes.back().push_back(point);
  }
  font.setGlyph(character, std::move(glyph));
  return true;
}

int fail(const std::string& message) {
  std::cerr << "jtw-font: " << message << '\n';
  return 1;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2 || argc > 3) return fail("usage: jtw-font OUT.bin [DESCRIPTION]");
  JtkStrokeFont font = JtkStrokeFont::builtIn();
  if (argc == 3) {
    std::ifstream in(argv[2]);
    if (!in) return fail(std::string(argv[2]) + " cannot be read");
    std::string line;
    for (int number = 1; std::getline(in, line); ++number)
      if (!line.empty() && line[0] != '#' && !readGlyph(line, font))
        return fail(std::string(argv[2]) + ":" + std::to_string(number) + ": no glyph");
  }
  const std::vector<std::byte> bytes = font.toBytes();
  std::ofstream out(argv[1], std::ios::binary);
  out.write(reinterpret_cast<const char*>(bytes.data()),
            static_cast<std::streamsize>(bytes.size()));
  out.close();
  return out ? 0 : fail(std::string(argv[1]) + " cannot be written");
}
