#include <gtest/gtest.h>

#include <string>

#include "ApiSysStringConvertors.h"

using Convert = ApiSysStringConvertors;

TEST(ApiSysStringConvertors, CharactersGoBothWays) {
  const struct {
    std::string narrow;
    std::wstring wide;
  } cases[] = {
      {"", L""},
      {"gear", L"gear"},
      {"\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF", L"\u007F\u0080\u07FF\u0800\uFFFF"},
      {"\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", L"\U00010000\U0010FFFF"},
      {std::string("a\0b", 3), std::wstring(L"a\0b", 3)},
      {"\xED\xA0\x80x", {wchar_t{0xD800}, L'x'}},  // a surrogate without its other half
      {"\xED\xBF\xBF", {wchar_t{0xDFFF}}},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Convert::RWCStringToUnicode(c.narrow), c.wide) << c.narrow;
    EXPECT_EQ(Convert::UnicodeToRWCString(c.wide), c.narrow) << c.narrow;
  }
}

TEST(ApiSysStringConvertors, PairsOfSurrogatesBecomeOneCharacter) {
  const std::wstring pair{wchar_t{0xD83D}, wchar_t{0xDE00}};
  EXPECT_EQ(Convert::UnicodeToRWCString(pair), "\xF0\x9F\x98\x80");
}

TEST(ApiSysStringConvertors, BytesThatAreNoCharacterAreReplacedOneByOne) {
  for (const std::string bad : {"\x80", "\xFF", "\xC2", "\xE2\x82", "\xC0\xAF", "\xE0\x80\xAF",
                                "\xF4\x90\x80\x80", "\xF8\x88\x80\x80\x80"}) {
    const std::wstring replaced(bad.size(), wchar_t{0xFFFD});
    EXPECT_EQ(Convert::RWCStringToUnicode("a" + bad + "z"), L"a" + replaced + L"z");
  }
  EXPECT_EQ(Convert::UnicodeToRWCString(std::wstring{wchar_t{0x110000}}), "\xEF\xBF\xBD");
}

TEST(ApiSysStringConvertors, Ascii) {
  EXPECT_TRUE(Convert::isAscii("\x01~\x7F"));
  EXPECT_FALSE(Convert::isAscii("\xC3\xA4"));
  EXPECT_FALSE(Convert::isAscii(std::string_view("\0", 1)));
  EXPECT_TRUE(Convert::isAscii(L"abc"));
  EXPECT_FALSE(Convert::isAscii(L"\u00E4"));
  EXPECT_EQ(Convert::toAscii(L"B\u00E4r"), "B?r");
}
