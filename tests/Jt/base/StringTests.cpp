// Text, identifiers, errors and the byte form of objects.

#include <gtest/gtest.h>

#include "JtBase.h"
#include "JtBaseDataStream.h"
#include "JtFactory.h"
#include "JtFormatError.h"
#include "JtGuid.h"
#include "JtString.h"

namespace {

using namespace std::string_literals;

TEST(String, ConvertsUtf8) {
  struct Case {
    std::string text;
    std::u16string units;
    bool exact = true;  ///< the text comes back
  };
  const Case cases[] = {
      {"", u""},
      {"a\0b"s, u"a\0b"s},
      {"\x7f\xc2\x80\xdf\xbf\xe0\xa0\x80\xef\xbf\xbf", u"\x7f\x80\x7ff\x800\xffff"},
      {"\xf0\x90\x80\x80\xf4\x8f\xbf\xbf", u"\xd800\xdc00\xdbff\xdfff"},
      {"\xed\xa0\x80x\xed\xbf\xbf", u"\xd800x\xdfff"},           // surrogates without partner
      {"\xed\xb0\x80\xed\xa0\x80", u"\xdc00\xd800"},             // in the wrong order
      {"\x80", u"\xfffd", false},                                // a byte that starts nothing
      {"\xc0\x80", u"\xfffd\xfffd", false},                      // overlong
      {"\xe0\x9f\xbf", u"\xfffd\xfffd\xfffd", false},            // overlong
      {"\xf4\x90\x80\x80", u"\xfffd\xfffd\xfffd\xfffd", false},  // beyond U+10FFFF
      {"\xf8\x88", u"\xfffd\xfffd", false},
      {"\xe2\x82", u"\xfffd\xfffd", false},     // cut off
      {"\xe2\x82z", u"\xfffd\xfffdz", false}};  // broken off
  for (const Case& one : cases) {
    const JtString text(one.text);
    EXPECT_EQ(text.units(), one.units) << one.text;
    EXPECT_EQ(text.numBytes(), text.stringToMbs().size());
    EXPECT_EQ(text.stringToMbs() == one.text, one.exact);
    EXPECT_EQ(JtString(text.stringToMbs()), text);
    EXPECT_EQ(JtString(std::wstring_view(text.toWide())), text);
  }
  EXPECT_EQ(JtString(L"\x1f600").units(), u"\xd83d\xde00");
  EXPECT_EQ(JtString(std::wstring_view(L"\x110000", 1)).units(), u"\xfffd");
  EXPECT_TRUE(JtString(static_cast<const char*>(nullptr)).isEmpty());
  EXPECT_TRUE(JtString("abc").isAscii());
  EXPECT_FALSE(JtString("\xc3\xbc").isAscii());
}

TEST(String, InsertsAndRemovesWithinBounds) {
  JtString text("bolt");
  text.insert(0, "M8 ");
  text.insert(99, ".jt");
  EXPECT_EQ(text, JtString("M8 bolt.jt"));
  text.remove(99, 1);
  text.remove(7, std::string::npos);
  text.remove(0, 3);
  EXPECT_EQ(text, JtString("bolt"));
}

TEST(Guid, HasOneText) {
  const JtGuid guid{0x10dd1035, 0x2ac8, 0x11d1, {0x9b, 0x6b, 0x00, 0x80, 0xc7, 0xbb, 0x59, 0x97}};
  const std::string text = "10dd1035-2ac8-11d1-9b6b-0080c7bb5997";
  EXPECT_EQ(guid.text(), text);
  EXPECT_EQ(JtGuid::parse(text), guid);
  EXPECT_EQ(JtGuid::parse("{10DD1035-2AC8-11D1-9B6B-0080C7BB5997}"), guid);
  for (const char* bad :
       {"", "{}", "10dd1035", "10dd1035-2ac8-11d1-9b6b-0080c7bb599",
        "{"
        "10dd1035-2ac8-11d1-9b6b-0080c7bb5997",
        "10dd1035-2ac8-11d1-9b6b-0080c7bb599g", "10dd1035x2ac8-11d1-9b6b-0080c7bb5997",
        "10dd103--2ac8-11d1-9b6b-0080c7bb5997", "-0dd1035-2ac8-11d1-9b6b-0080c7bb5997"})
    EXPECT_FALSE(JtGuid::parse(bad)) << bad;
  const JtGuid random = JtGuid::random();
  EXPECT_EQ(JtGuid::parse(random.text()), random);
  EXPECT_EQ(random.text()[14], '4');
  EXPECT_NE(random, JtGuid::random());
}

TEST(FormatError, SaysWhereAsFarAsItIsKnown) {
  const JtFormatError inner("truncated", "vertexCount is 9, but 5 bytes are left",
                            {.element = "4", .offset = 0x1f40});
  EXPECT_STREQ(inner.what(), "element 4, offset 0x1f40: vertexCount is 9, but 5 bytes are left");
  const JtFormatError whole =
      inner.within({.file = "gear.jt", .segment = "7 (shape)", .element = "outer", .offset = 1});
  EXPECT_STREQ(whole.what(),
               "gear.jt: segment 7 (shape), element 4, offset 0x1f40: vertexCount is 9, but 5 "
               "bytes are left");
  EXPECT_EQ(whole.code(), "truncated");
  EXPECT_STREQ(JtFormatError("x", "plain").what(), "plain");
}

TEST(DataStream, ReadsWhatItWroteAndNothingPastTheEnd) {
  for (const bool bigEndian : {false, true}) {
    JtBaseDataStream out(bigEndian);
    const std::byte raw[] = {std::byte{7}, std::byte{8}};
    ASSERT_TRUE(out.write(0x01020304U) && out.write(-2) && out.write(JtString("g\xc3\xbc")) &&
                out.writeRaw(raw));
    const std::vector<std::byte>& bytes = out.written();
    ASSERT_EQ(bytes.size(), 4U + 4 + 4 + 4 + 2);
    EXPECT_EQ(bytes[0], std::byte(bigEndian ? 1 : 4));
    // At each length the reads up to the cut work, those behind fail and change nothing.
    for (std::size_t length = 0; length <= bytes.size(); ++length) {
      JtBaseDataStream in({bytes.data(), length}, bigEndian);
      std::uint32_t number = 0;
      std::int32_t negative = 0;
      JtString text;
      std::byte tail[2] = {};
      const bool good[] = {in.read(number), in.read(negative), in.read(text), in.readRaw(tail)};
      EXPECT_EQ(good[0], length >= 4);
      EXPECT_EQ(good[1], length >= 8);
      EXPECT_EQ(good[2], length >= 16);
      EXPECT_EQ(good[2], text == JtString("g\xc3\xbc"));
      if (length < bytes.size()) continue;
      EXPECT_TRUE(good[3] && number == 0x01020304 && negative == -2 && tail[1] == raw[1]);
      EXPECT_EQ(in.left(), 0U);
    }
  }
  for (const std::uint32_t count : {1U, 0x7fffffffU, 0x80000000U, 0xffffffffU}) {
    JtBaseDataStream out;
    out.write(count);
    JtBaseDataStream in(out.written(), false);
    JtString text("kept");
    EXPECT_FALSE(in.read(text));
    EXPECT_EQ(in.left(), 4U);
    EXPECT_EQ(text, JtString("kept"));
  }
}

class Tag : public JtBase {
 public:
  static const JtType* classTypeID() {
    static const JtType type(
        "Tag", JtBase::classTypeID(), JtGuid{1, 2, 3, {4}}, []() -> JtBase* { return new Tag; },
        sizeof(Tag));
    return &type;
  }
  const JtType* typeID() const override { return classTypeID(); }
};

TEST(Factory, MakesObjectsOfRegisteredTypes) {
  const JtGuid guid = Tag::classTypeID()->guid();
  EXPECT_FALSE(JtFactory::create(guid));
  JtFactory::addType(Tag::classTypeID());
  JtFactory::addType(JtBase::classTypeID());  // has no id: not to be found
  EXPECT_FALSE(JtFactory::create(JtGuid{}));
  const auto object = JtFactory::create(guid);
  ASSERT_TRUE(object);
  EXPECT_EQ(object->refCount(), 1);
  EXPECT_TRUE(jt::as<Tag>(object.get()));
  EXPECT_TRUE(JtType::isA(object.get(), JtBase::classTypeID()));
  EXPECT_FALSE(JtType::isA(nullptr, JtBase::classTypeID()));
}

}  // namespace
