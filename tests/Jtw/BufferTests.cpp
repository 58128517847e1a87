#include <cstring>
#include <random>
#include <string_view>

#include "ApiGraColor.h"
#include "IdxIFile.h"
#include "JtBaseDataStream.h"
#include "JtBufferProperty.h"
#include "JtFrameListProperty.h"
#include "RegistryFixture.h"

namespace {

using namespace std::string_view_literals;

std::string_view bytesOf(const JtBufferProperty& property) {
  return {property.data().data(), property.data().size()};
}

JtBufferProperty bufferOf(std::string_view bytes) {
  JtBufferProperty property;
  property.setData(bytes);
  return property;
}

TEST(BufferText, EscapesZeroAndBackslash) {
  EXPECT_EQ(bufferOf("A\0\\"sv).toText(), JtString("2,3,A\\@\\\\"));
  std::string every;
  for (int byte = 0; byte < 256; ++byte) every += static_cast<char>(byte);
  for (const std::string& bytes :
       {every, std::string(",,,,"), std::string("2,3,x"), every + every}) {
    JtBufferProperty read;
    read.fromText(bufferOf(bytes).toText());
    EXPECT_TRUE(bytesOf(read) == bytes);
    EXPECT_EQ(read.version(), 2U);
  }
}

TEST(BufferText, SurvivesWhatOthersWrote) {
  struct Case {
    const char* text;
    std::string_view bytes;
  };
  const Case cases[] = {
      {"", ""},
      {"no commas", ""},
      {"2,5", ""},
      {"1,3,abc", "abc"},
      {"1, 3,abc", "abc"},
      {"2,2,abc", "ab"},            // more text than the size says
      {"2,2000000000,abc", "abc"},  // less
      {"2,99999999999999999999,abc", ""},
      {"2,-1,abc", ""},
      {"2,4,a\\xb\\", "axb"},  // unknown escape, lone backslash at the end
      {"x,y,z", ""},
  };
  for (const Case& expected : cases) {
    JtBufferProperty read;
    read.fromText(JtString(expected.text));
    EXPECT_EQ(bytesOf(read), expected.bytes) << expected.text;
  }
}

TEST(BufferText, DamageNeverRunsOverTheSizeOrTheText) {
  std::mt19937 random(11);
  const std::u16string alphabet = u"0129,\\@-x\u00ff\uffff";
  for (int round = 0; round < 20000; ++round) {
    std::u16string units(bufferOf("a\\\0,z"sv).toText().units());
    for (auto left = random() % 6; left > 0; --left) {
      const std::size_t place = random() % (units.size() + 1);
      const char16_t unit = alphabet[random() % alphabet.size()];
      if (random() % 3 == 0)
        units.insert(place, 1, unit);
      else if (place < units.size())
        random() % 2 ? void(units[place] = unit) : units.resize(place);
    }
    JtBufferProperty read;
    read.fromText(JtString(units));
    ASSERT_LE(static_cast<std::size_t>(read.size()), 4 * units.size());
    JtBufferProperty again;
    again.fromText(read.toText());
    ASSERT_TRUE(bytesOf(again) == bytesOf(read));
  }
}

TEST(BufferStream, HasVersionSizeAndBytes) {
  JtBaseDataStream out;
  ASSERT_TRUE(bufferOf("abc").serialize(out));
  const auto& written = out.written();
  EXPECT_EQ(std::memcmp(written.data(), "\2\0\0\0\3\0\0\0abc", 11), 0);
  ASSERT_EQ(written.size(), 11U);
  for (std::size_t length = 0; length <= written.size(); ++length) {
    JtBaseDataStream in({written.data(), length}, false);
    JtBufferProperty read;
    EXPECT_EQ(read.deserialize(in), length == written.size());
    EXPECT_EQ(bytesOf(read), length == written.size() ? "abc" : "");
  }
  const auto huge = "\2\0\0\0\xff\xff\xff\x7f"sv;
  JtBaseDataStream in(std::as_bytes(std::span<const char>(huge)), false);
  EXPECT_FALSE(JtBufferProperty().deserialize(in));
}

class Buffers : public RegistryFixture {
 protected:
  struct Answer {
    std::string bytes;
    unsigned version = 77;
    bool found = false;
    unsigned size = 77;
  };
  static Answer get(JtwRoot& root, unsigned buffer) {
    Answer answer;
    const auto bytes = root.getBuffer(static_cast<JtwRoot::JT_BUFFER>(buffer), answer.version,
                                      answer.found, answer.size);
    if (bytes) answer.bytes.assign(bytes.get(), answer.size);
    return answer;
  }
  static bool set(JtwRoot& root, unsigned buffer, const std::string& bytes) {
    return root.setBuffer(static_cast<JtwRoot::JT_BUFFER>(buffer), bytes.data(),
                          static_cast<unsigned>(bytes.size()));
  }
};

TEST_F(Buffers, AllEightSurviveSavingAndCanBeRemoved) {
  const ApiDocumentRef document = documentAt(folder_.folder("gear.kpak"));
  const std::string blob("\0,\\\xff\x80,", 6);
  {
    JtwRoot& root = *registry().computeNewDocRoot(document);
    for (unsigned buffer = 0; buffer < 8; ++buffer)
      EXPECT_TRUE(set(root, buffer, blob + std::to_string(buffer)));
    EXPECT_FALSE(set(root, 8, blob));
    ASSERT_TRUE(root.write(false)) << jt::lastError();
    registry().releaseRoot(document);
  }
  JtwRoot& root = *open(document);
  const char* const names[] = {"KrKinBuffer",     "KrKinModelingBuffer",    "KrKinTechnoBuffer",
                               "KrMopBuffer",     "KrDotKinBuffer",         "KrGmKinBuffer",
                               "KrPlcLogicBlock", "KrKinTechnoDoubleBuffer"};
  for (unsigned buffer = 0; buffer < 8; ++buffer) {
    const Answer answer = get(root, buffer);
    EXPECT_TRUE(answer.found);
    EXPECT_EQ(answer.version, 2U);
    EXPECT_EQ(answer.bytes, blob + std::to_string(buffer));
    EXPECT_NE(root.jtNode()->property(JtString(names[buffer])), nullptr) << names[buffer];
    EXPECT_TRUE(set(root, buffer, ""));
    EXPECT_FALSE(root.hasBuffer(static_cast<JtwRoot::JT_BUFFER>(buffer)));
    EXPECT_TRUE(set(root, buffer, "")) << "nothing to remove is no error";
  }
  for (const unsigned buffer : {0U, 8U}) {
    const Answer answer = get(root, buffer);
    EXPECT_FALSE(answer.found);
    EXPECT_EQ(answer.version + answer.size, 2 * 77U) << "untouched";
  }
}

TEST_F(Buffers, LateLoadedOnesAreReadFromTheirSegment) {
  const auto partition = jt::make<JtPartition>();
  auto& component = add<VisMetaDataNode>(*partition, "own");
  setText(component, "KrObjType", "KrComponent");
  const auto late = [&component](const char* key, std::string_view bytes) {
    auto property = jt::make<JtBufferProperty>();
    property->setData(bytes);
    component.addProperty(jt::make<JtStringPropAtom>(JtString(key)).get(),
                          jt::make<JtLateLoadedPropAtom>(property).get(), true);
  };
  late("KrKinBuffer", "blob"sv);
  late("KrMopBuffer", ""sv);
  setText(component, "KrGmKinBuffer", "no commas");
  JtwRoot& root = *open(componentOf(*partition));
  EXPECT_EQ(get(root, JtwRoot::JT_KIN_BUFFER).bytes, "blob");
  EXPECT_TRUE(get(root, JtwRoot::JT_KIN_BUFFER).found);
  EXPECT_FALSE(get(root, JtwRoot::JT_MOP_BUFFER).found) << "empty and late is absent";
  EXPECT_TRUE(get(root, JtwRoot::JT_GM_KIN_BUFFER).found) << "empty text is there";
  EXPECT_EQ(get(root, JtwRoot::JT_GM_KIN_BUFFER).size, 77U);
}

TEST(FrameList, TextAndStreamGiveTheFramesBack) {
  JtFrameListProperty list;
  EXPECT_EQ(list.toText(), "0");
  JtFrame frame;
  frame.name = L"na\u00efve frame\n";
  frame.location = RTTran3D::fromPlacement(1, 2.5, -3, 10, 20, 30);
  frame.color = ApiGraColor(1, 2, 255, 0.25F);
  frame.colorSet = true;
  frame.key = ApiProtoKey(41);
  frame.text = "a b:c\\";
  frame.secondKey = ApiProtoKey(-7);
  frame.number = 3;
  frame.globalUniqueId = ApiGlobalUniqueId("id");
  list.frames() = {frame, JtFrame()};

  JtBaseDataStream out;
  ASSERT_TRUE(list.serialize(out));
  JtBaseDataStream in(out.written(), false);
  JtFrameListProperty read;
  ASSERT_TRUE(read.deserialize(in));
  ASSERT_EQ(read.frames().size(), 2U);
  const JtFrame& back = read.frames()[0];
  EXPECT_EQ(back.name, frame.name);
  EXPECT_EQ(back.location, frame.location);
  EXPECT_EQ(back.color, frame.color);
  EXPECT_EQ(back.key, frame.key);
  EXPECT_EQ(back.text, frame.text);
  EXPECT_EQ(back.secondKey, frame.secondKey);
  EXPECT_EQ(back.number, 3);
  EXPECT_TRUE(back.colorSet);
  EXPECT_EQ(back.globalUniqueId.getAsString(), "id");
  EXPECT_FALSE(read.frames()[1].colorSet || !read.frames()[1].globalUniqueId.isNull());
  EXPECT_EQ(static_cast<const JtFrameListProperty&>(*list.clone()).toText(), list.toText());

  const std::string text = list.toText();
  list.frames()[0].globalUniqueId = ApiGlobalUniqueId();
  const std::string withoutIds = list.toText();
  EXPECT_EQ(text, withoutIds + " 1 0 2:id") << "readers that know no ids stop in front of them";
  for (std::size_t length = 0; length < text.size(); ++length) {
    JtFrameListProperty cut;
    const bool isWhole =
        length == 0 || length == withoutIds.size() || length == withoutIds.size() + 1;
    EXPECT_EQ(cut.fromText(std::string_view(text).substr(0, length)), isWhole) << length;
    EXPECT_LE(cut.frames().size(), 2U);
  }
  JtFrameListProperty lying;
  EXPECT_FALSE(lying.fromText("2147483647" + text.substr(1)));
  EXPECT_EQ(lying.frames().size(), 2U);
}

TEST(FrameList, ATextThatIsNoListIsWrittenAsItWas) {
  JtFrameListProperty list;
  list.frames().resize(2);
  const std::string good = list.toText();
  for (const std::string& text :
       {std::string("-1"), std::string("x"), "99" + good.substr(1), good + " more", good + " 0",
        good + " 3 0 1:a 1 1:b 2 1:c", good + " 1 2 1:a", good + " 2 1 1:a 0 1:b",
        good + " 2 1 1:a 1 1:b", good + " 1 0 2:a", good + " 1 0 1:a 7"}) {
    JtBaseDataStream stored;
    stored.write(JtString(text));
    JtBaseDataStream in(stored.written(), false);
    JtFrameListProperty read;
    EXPECT_TRUE(read.deserialize(in));
    EXPECT_FALSE(read.isReadable()) << text;
    JtBaseDataStream out;
    EXPECT_TRUE(static_cast<const JtFrameListProperty&>(*read.clone()).serialize(out));
    EXPECT_EQ(out.written(), stored.written()) << text;
  }
  JtBaseDataStream empty(std::span<const std::byte>{}, false);
  JtBaseDataStream out;
  EXPECT_TRUE(list.deserialize(empty));
  EXPECT_FALSE(list.isReadable() || list.serialize(out));
}

TEST(FrameList, TheUniqueIdTravelsInAStepOfItsOwn) {
  JtFrame frame;
  IdxIOCommands steps;
  frame.getDerivedCommands(steps);
  ASSERT_EQ(steps.size(), 1U);
  EXPECT_FALSE(steps[0]->applies());
  IdxIFile in("2:id");
  EXPECT_TRUE(steps[0]->read(in));
  EXPECT_EQ(frame.globalUniqueId.getAsString(), "id");
  EXPECT_TRUE(steps[0]->applies());
}

}  // namespace
