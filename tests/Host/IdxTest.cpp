#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "IdxIFile.h"
#include "IdxOFile.h"

namespace {

/// An object with one field of every type.
struct Sample : IdxObject {
  bool flag = false;
  int number = 0;
  double real = 0;
  ApiProtoKey key;
  RWClassicCString text;
  RWClassicWString wide;
  RTTran3D location;
  ApiGraColor color;

  void save(IdxOFile& out) const override {
    out << flag << number << real << key << text << wide << location << color;
  }
  void restore(IdxIFile& in) override {
    in >> flag >> number >> real >> key >> text >> wide >> location >> color;
  }
};

Sample fullSample() {
  Sample sample;
  sample.flag = true;
  sample.number = std::numeric_limits<int>::min();
  sample.real = 0.1;
  sample.key = ApiProtoKey(std::numeric_limits<long>::max());
  sample.text = std::string("9:x \\x41\0\n\xFF\xC3\xA4", 13);
  sample.wide = L"\u00E4\U0001F600";
  sample.wide.push_back(wchar_t{0xD800});
  sample.location = RTTran3D::fromPlacement(1e-300, 1.0 / 3, -1e300, 10, 20, 30);
  sample.color = ApiGraColor(1, 128, 255, 0.1F);
  return sample;
}

std::string saved(const IdxObject& object) {
  std::string text;
  IdxOFile(text) << object;
  return text;
}

}  // namespace

TEST(Idx, AllTypesComeBackExactly) {
  const Sample sample = fullSample();
  const std::string text = saved(sample);
  IdxIFile in(text);
  Sample back;
  in >> back;
  EXPECT_TRUE(in.good());
  EXPECT_EQ(in.remaining(), 0);
  EXPECT_EQ(back.flag, sample.flag);
  EXPECT_EQ(back.number, sample.number);
  EXPECT_EQ(back.real, sample.real);
  EXPECT_EQ(back.key, sample.key);
  EXPECT_EQ(back.text, sample.text);
  EXPECT_EQ(back.wide, sample.wide);
  EXPECT_EQ(back.location, sample.location);
  EXPECT_EQ(back.color, sample.color);
  for (const char c : text) EXPECT_TRUE(c == '\n' || (c >= ' ' && c < 0x7F));
}

TEST(Idx, DoublesAtTheEndsOfTheRange) {
  using Limits = std::numeric_limits<double>;
  for (const double value : {0.0, -0.0, Limits::max(), Limits::lowest(), Limits::min(),
                             Limits::denorm_min(), Limits::epsilon(), Limits::infinity()}) {
    std::string text;
    IdxOFile(text) << value;
    IdxIFile in(text);
    double back = 7;
    in >> back;
    EXPECT_TRUE(in.good()) << text;
    EXPECT_EQ(back, value);
    EXPECT_EQ(std::signbit(back), std::signbit(value));
  }
}

TEST(Idx, AnyTextAndAnyBitsComeBackInLinesOf80) {
  std::mt19937_64 random(5);
  std::string text;
  IdxOFile out(text, 80);
  std::vector<std::string> narrow;
  std::vector<std::wstring> wide;
  std::vector<double> numbers;
  for (int i = 0; i < 2000; ++i) {
    std::string& bytes = narrow.emplace_back(random() % 9, '\0');
    for (char& c : bytes)
      c = random() % 3 ? static_cast<char>(random()) : "\"'\n\\ :"[random() % 6];
    std::wstring& letters = wide.emplace_back(random() % 5, L'\0');
    for (wchar_t& c : letters) c = static_cast<wchar_t>(random() % (random() % 2 ? 0xD800 : 256));
    if (i % 7 == 0) letters += wchar_t{0x10FFFF};
    double number = std::bit_cast<double>(random());
    if (std::isnan(number)) number = 0.1;
    out << bytes << letters << numbers.emplace_back(number);
  }
  for (std::size_t start = 0; start < text.size();) {
    const std::size_t end = std::min(text.find('\n', start), text.size());
    EXPECT_LE(end - start, 80U) << text.substr(start, end - start);
    start = end + 1;
  }
  IdxIFile in(text);
  for (std::size_t i = 0; i < narrow.size(); ++i) {
    std::string bytes;
    std::wstring letters;
    double number = 0;
    in >> bytes >> letters >> number;
    ASSERT_TRUE(in.good() && bytes == narrow[i] && letters == wide[i]) << i;
    EXPECT_EQ(std::bit_cast<std::uint64_t>(number), std::bit_cast<std::uint64_t>(numbers[i]));
  }
}

TEST(Idx, AnOddAlphaIsBroughtIntoRange) {
  for (const float alpha : {-1.0F, 2.0F, std::numeric_limits<float>::quiet_NaN()}) {
    std::string text;
    IdxOFile(text) << ApiGraColor(1, 2, 3, alpha) << 7;
    IdxIFile in(text);
    ApiGraColor color;
    int behind = 0;
    in >> color >> behind;
    EXPECT_EQ(behind, 7) << text;
    EXPECT_EQ(color, ApiGraColor(1, 2, 3, alpha > 1 ? 1.0F : 0.0F));
  }
}

// The text is in files: it must stay readable by later versions.
TEST(Idx, TheTextIsFixed) {
  std::string text;
  IdxOFile out(text, 20);
  out << 0 << true << -7 << 0.5 << "ab c" << L"\u00E4" << "" << ApiProtoKey(12)
      << ApiGraColor(255, 0, 1, 0.5F);
  EXPECT_EQ(text, "0 1 -7 0.5 4:ab c\n8:\\xc3\\xa4 0: 12 255\n0 1 0.5");

  IdxIFile foreign(" 2\r\n\t1 ");  // other blanks, and any number but 0 is true
  bool flag = false;
  int number = 0;
  foreign >> flag >> number;
  EXPECT_TRUE(foreign.good() && flag && number == 1);
}

TEST(Idx, EveryTruncationIsNotGoodAndChangesNothing) {
  const std::string whole = saved(fullSample());
  for (std::size_t length = 0; length < whole.size(); ++length) {
    const std::string cut = whole.substr(0, length);
    IdxIFile in(cut);
    Sample sample;
    in >> sample;
    // A cut inside the last number leaves a shorter number, which nobody can tell.
    const bool cutInLast = length > whole.find_last_of(" \n") + 1;
    EXPECT_TRUE(!in.good() || cutInLast) << length;
  }
}

TEST(Idx, HostileTextEndsTheReading) {
  for (const std::string text :
       {"5:abc", "18446744073709551615:a", "99999999999999999999:a", "-1:a", ":a", "a", "3:abcd",
        "3:a\\x", "4:\\xg0", "4:\\x+1", "2:\\\\", "1", ""}) {
    IdxIFile in(text);
    std::string value = "kept";
    long number = 5;
    in >> value;
    EXPECT_FALSE(in.good()) << text;
    EXPECT_EQ(value, "kept");
    in >> number;
    EXPECT_EQ(number, 5) << text;
  }
  for (const std::string text : {"2147483648", "1.5", "1x", "0x1", "+1", "--1", "", "1e3"}) {
    IdxIFile in(text);
    int value = 5;
    in >> value;
    EXPECT_FALSE(in.good()) << text;
    EXPECT_EQ(value, 5);
  }
  for (const std::string text :
       {"256 0 0 1", "-1 0 0 1", "0 0 0 1.5", "0 0 0 nan", "0 0 0 1e999"}) {
    IdxIFile in(text);
    ApiGraColor value(1, 2, 3);
    in >> value;
    EXPECT_FALSE(in.good()) << text;
    EXPECT_EQ(value, ApiGraColor(1, 2, 3));
  }
}
