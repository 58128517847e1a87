#include "StrokeGlyphs.h"

#include <array>
#include <cstddef>
#include <string_view>

namespace jtk {
namespace {

// Glyphs are drawn on a grid: x from 0 to 4, y from 0 to 9, the baseline at 2, the top of small
// letters at 6 and of capital letters at 8. A glyph is a list of strokes with blanks between them,
// a stroke a list of points, a point the two digits of its x and y.
constexpr float kBaseline = 2;
constexpr float kCapHeight = 6;
constexpr float kAdvance = 6;

struct Drawing {
  char32_t character;
  std::string_view strokes;
};

constexpr Drawing kDrawings[] = {
    {0x20, ""},
    {0x21, "2824 2322"},
    {0x22, "1816 3836"},
    {0x23, "1812 3832 0646 0444"},
    {0x24, "473818070615354443321203 2921"},
    {0x25, "0248 0818170708 3343423233"},
    {0x26, "4216172837360403122244"},
    {0x27, "2826"},
    {0x28, "38272332"},
    {0x29, "18272312"},
    {0x2a, "2723 0644 0446"},
    {0x2b, "2723 0545"},
    {0x2c, "2211"},
    {0x2d, "1535"},
    {0x2e, "2223"},
    {0x2f, "0248"},
    {0x30, "183847433212030718"},
    {0x31, "172822 1232"},
    {0x32, "07183847460242"},
    {0x33, "0718384746354443321203 1535"},
    {0x34, "32380444"},
    {0x35, "480805354443321203"},
    {0x36, "473818070312324344351504"},
    {0x37, "084812"},
    {0x38, "15060718384746351504031232434435"},
    {0x39, "031232434738180706153546"},
    {0x3a, "2223 2526"},
    {0x3b, "2211 2526"},
    {0x3c, "370533"},
    {0x3d, "0646 0444"},
    {0x3e, "174513"},
    {0x3f, "07183847462524 2223"},
    {0x40, "34361614344447381807031242"},
    {0x41, "022842 1434"},
    {0x42, "02083847463505 3544433202"},
    {0x43, "4738180703123243"},
    {0x44, "02083847433202"},
    {0x45, "48080242 0535"},
    {0x46, "480802 0535"},
    {0x47, "47381807031232434525"},
    {0x48, "0802 4842 0545"},
    {0x49, "1838 1232 2822"},
    {0x4a, "4843321203"},
    {0x4b, "0802 4804 1542"},
    {0x4c, "080242"},
    {0x4d, "0208254842"},
    {0x4e, "02084248"},
    {0x4f, "183847433212030718"},
    {0x50, "02083847463505"},
    {0x51, "183847433212030718 2442"},
    {0x52, "02083847463505 2542"},
    {0x53, "473818070615354443321203"},
    {0x54, "0848 2822"},
    {0x55, "080312324348"},
    {0x56, "082248"},
    {0x57, "0812253248"},
    {0x58, "0842 4802"},
    {0x59, "082548 2522"},
    {0x5a, "08480242"},
    {0x5b, "38282232"},
    {0x5c, "0842"},
    {0x5d, "18282212"},
    {0x5e, "062846"},
    {0x5f, "0141"},
    {0x60, "1827"},
    {0x61, "4536160503123243 4642"},
    {0x62, "0802 0516364543321203"},
    {0x63, "4536160503123243"},
    {0x64, "4842 4536160503123243"},
    {0x65, "04444536160503123243"},
    {0x66, "38281712 0636"},
    {0x67, "4641301001 4536160503123243"},
    {0x68, "0802 0516364542"},
    {0x69, "2622 2827"},
    {0x6a, "26211000 2827"},
    {0x6b, "0802 4604 2542"},
    {0x6c, "2822"},
    {0x6d, "0602 05162522 25364542"},
    {0x6e, "0602 0516364542"},
    {0x6f, "163645433212030516"},
    {0x70, "0600 0516364543321203"},
    {0x71, "4640 4536160503123243"},
    {0x72, "0602 051636"},
    {0x73, "45361605143443321203"},
    {0x74, "18132232 0636"},
    {0x75, "0603123243 4642"},
    {0x76, "062246"},
    {0x77, "0612243246"},
    {0x78, "0642 4602"},
    {0x79, "0622 4610"},
    {0x7a, "06460242"},
    {0x7b, "38272615242332"},
    {0x7c, "2820"},
    {0x7d, "18272635242312"},
    {0x7e, "05163445"},
    {0xa0, ""},
    {0xa1, "2226 2728"},
    {0xa2, "4536160503123243 2721"},
    {0xa3, "47382817130242 0535"},
    {0xa4, "1636341416 0716 4736 0314 4334"},
    {0xa5, "082548 2522 0444"},
    {0xa6, "2826 2420"},
    {0xa7, "473818070644 0312324344 0625"},
    {0xa8, "1817 3837"},
    {0xa9, "183847433212030718 36161434"},
    {0xaa, "37171535 3735 1434"},
    {0xab, "260422 462442"},
    {0xac, "054543"},
    {0xad, "1535"},
    {0xae, "183847433212030718 1317373515 2533"},
    {0xaf, "0848"},
    {0xb0, "2837261728"},
    {0xb1, "2824 0646 0242"},
    {0xb2, "1728371535"},
    {0xb3, "183827362515"},
    {0xb4, "2738"},
    {0xb5, "0600 0603123243 4642"},
    {0xb6, "481807061525 2822 3832"},
    {0xb7, "2425"},
    {0xb8, "222110"},
    {0xb9, "172825"},
    {0xba, "1838361618 1434"},
    {0xbb, "062402 264422"},
    {0xbc, "0248 0805 343343 4442"},
    {0xbd, "0248 0805 3444433242"},
    {0xbe, "0248 08181505 343343 4442"},
    {0xbf, "43321203042526 2728"},
    {0xc6, "022848 282242 1545"},
    {0xd0, "02083847433202 0525"},
    {0xd7, "0743 4703"},
    {0xd8, "183847433212030718 0248"},
    {0xde, "0802 073746453404"},
    {0xdf, "0207183847362544433222"},
    {0xe6, "0616252312030444453625 233242"},
    {0xf0, "163645433212030516 4528 1837"},
    {0xf7, "0545 2726 2423"},
    {0xf8, "163645433212030516 0246"},
    {0xfe, "0800 0516364543321203"},
};

enum class Accent : unsigned char { grave, acute, circumflex, tilde, diaeresis, ring, cedilla };
constexpr std::array<std::string_view, 7> kAccents{"1827",      "2738",       "172837", "07183748",
                                                   "1817 3837", "2938271829", "222110"};

/// Letters with an accent.
struct Composition {
  char32_t character;
  char letter;
  Accent accent;
};

constexpr Composition kCompositions[] = {
    {0xc0, 'A', Accent::grave},      {0xc1, 'A', Accent::acute},
    {0xc2, 'A', Accent::circumflex}, {0xc3, 'A', Accent::tilde},
    {0xc4, 'A', Accent::diaeresis},  {0xc5, 'A', Accent::ring},
    {0xc7, 'C', Accent::cedilla},    {0xc8, 'E', Accent::grave},
    {0xc9, 'E', Accent::acute},      {0xca, 'E', Accent::circumflex},
    {0xcb, 'E', Accent::diaeresis},  {0xcc, 'I', Accent::grave},
    {0xcd, 'I', Accent::acute},      {0xce, 'I', Accent::circumflex},
    {0xcf, 'I', Accent::diaeresis},  {0xd1, 'N', Accent::tilde},
    {0xd2, 'O', Accent::grave},      {0xd3, 'O', Accent::acute},
    {0xd4, 'O', Accent::circumflex}, {0xd5, 'O', Accent::tilde},
    {0xd6, 'O', Accent::diaeresis},  {0xd9, 'U', Accent::grave},
    {0xda, 'U', Accent::acute},      {0xdb, 'U', Accent::circumflex},
    {0xdc, 'U', Accent::diaeresis},  {0xdd, 'Y', Accent::acute},
    {0xe0, 'a', Accent::grave},      {0xe1, 'a', Accent::acute},
    {0xe2, 'a', Accent::circumflex}, {0xe3, 'a', Accent::tilde},
    {0xe4, 'a', Accent::diaeresis},  {0xe5, 'a', Accent::ring},
    {0xe7, 'c', Accent::cedilla},    {0xe8, 'e', Accent::grave},
    {0xe9, 'e', Accent::acute},      {0xea, 'e', Accent::circumflex},
    {0xeb, 'e', Accent::diaeresis},  {0xec, 'i', Accent::grave},
    {0xed, 'i', Accent::acute},      {0xee, 'i', Accent::circumflex},
    {0xef, 'i', Accent::diaeresis},  {0xf1, 'n', Accent::tilde},
    {0xf2, 'o', Accent::grave},      {0xf3, 'o', Accent::acute},
    {0xf4, 'o', Accent::circumflex}, {0xf5, 'o', Accent::tilde},
    {0xf6, 'o', Accent::diaeresis},  {0xf9, 'u', Accent::grave},
    {0xfa, 'u', Accent::acute},      {0xfb, 'u', Accent::circumflex},
    {0xfc, 'u', Accent::diaeresis},  {0xfd, 'y', Accent::acute},
    {0xff, 'y', Accent::diaeresis},
};

void draw(std::string_view strokes, float lift, JtkStrokeFont::Glyph& glyph) {
  bool isNew = true;
  for (std::size_t i = 0; i < strokes.size(); i += 2) {
    if (strokes[i] == ' ') {
      isNew = true;
      ++i;
    }
    if (isNew) glyph.strokes.emplace_back();
    isNew = false;
    const auto unit = [&](std::size_t at) { return static_cast<float>(strokes[at] - '0'); };
    glyph.strokes.back().push_back(
        {unit(i) / kCapHeight, (unit(i + 1) - kBaseline + lift) / kCapHeight});
  }
}

JtkStrokeFont::Glyph drawn(std::string_view strokes) {
  JtkStrokeFont::Glyph glyph{kAdvance / kCapHeight, {}};
  draw(strokes, 0, glyph);
  return glyph;
}

}  // namespace

JtkStrokeFont makeBuiltInFont() {
  constexpr float kLiftAboveCapital = 1.5F;
  JtkStrokeFont font;
  for (const Drawing& drawing : kDrawings) font.setGlyph(drawing.character, drawn(drawing.strokes));
  for (const auto& [character, letter, accent] : kCompositions) {
    // A small i gives its dot up.
    JtkStrokeFont::Glyph glyph =
        letter == 'i' ? drawn("2622") : font.glyphs().at(static_cast<char32_t>(letter));
    const bool isRaised = letter >= 'A' && letter <= 'Z' && accent != Accent::cedilla;
    draw(kAccents[static_cast<std::size_t>(accent)], isRaised ? kLiftAboveCapital : 0, glyph);
    font.setGlyph(character, std::move(glyph));
  }
  return font;
}

const JtkStrokeFont::Glyph& unknownGlyph() {
  static const JtkStrokeFont::Glyph box = drawn("0242480802");
  return box;
}

}  // namespace jtk
