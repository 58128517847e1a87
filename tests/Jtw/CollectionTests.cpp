#include <memory>

#include "ComponentFixture.h"
#include "JtBaseDataStream.h"
#include "JtFrame.h"
#include "JtFrameListProperty.h"
#include "JtwFrameLists.h"

namespace {

class Collection : public ComponentFixture {};

JtFrame record(long key, const wchar_t* name) {
  JtFrame frame;
  frame.key = ApiProtoKey(key);
  frame.name = name;
  frame.colorSet = true;
  frame.location = RTTran3D::fromTranslation({1, 2, 3});
  frame.color = ApiGraColor(1, 2, 3, 0.5F);
  frame.text = "text";
  frame.secondKey = ApiProtoKey(8);
  frame.number = 2;
  return frame;
}

jt::Ref<JtFrameListProperty> frameList(std::initializer_list<JtFrame> records) {
  auto list = jt::make<JtFrameListProperty>();
  list->frames() = records;
  return list;
}

std::string keysOf(const JtwCollection& collection) {
  std::string keys;
  for (JtwPMI* pmi : collection.PMIs()) keys += std::to_string(pmi->key().getAsLong()) + " ";
  return keys;
}

TEST_F(Collection, FramesComeBackAsTheyWere) {
  JtwFrame& made = frame(20, 1);
  made.setName(L"base \u4e2d");
  made.setRelLoc(RTTran3D::fromPlacement(1, 2, 3, 10, 20, 30));
  made.setColor(ApiGraColor(10, 20, 30, 0.25F), false, false);
  made.setDisplayState(false);
  made.setAttributes("a b");
  made.setAttachmentParent(key(2), static_cast<AttachmentType>(3));
  made.setGlobalUniqueId(ApiGlobalUniqueId("u-20"));
  const RTTran3D place = made.relLoc();
  EXPECT_TRUE(root_.storeFrames());

  JtwRoot& again = reopened();
  ASSERT_EQ(again.PMIs().size(), 1U);
  EXPECT_TRUE(again.KrFramesFound());
  JtwPMI& read = *again.PMIs()[0];
  EXPECT_EQ(read.type(), JtwNode::JT_FRAME_NODE);
  EXPECT_EQ(read.key(), key(20));
  EXPECT_EQ(read.name(), L"base \u4e2d");
  EXPECT_EQ(read.relLoc(), place);
  EXPECT_EQ(read.absLoc(), place);
  EXPECT_EQ(read.parentNode(), &again);
  bool isDefault = true;
  EXPECT_EQ(read.color(isDefault), ApiGraColor(10, 20, 30, 0.25F));
  EXPECT_FALSE(isDefault || read.displayState());
  EXPECT_EQ(read.attributes(), "a b");
  EXPECT_EQ(read.globalUniqueId().getAsString(), "u-20");
  ApiProtoKey parent;
  auto type = ATTACHMENT_DEFAULT;
  read.getAttachmentParent(parent, type);
  EXPECT_EQ(parent, key(2));
  EXPECT_EQ(type, 3);
}

TEST_F(Collection, FramesWithoutAKeyOfTheirOwnAreDroppedAtTheNextStore) {
  JtwBlock& two = block(2);
  const auto list = frameList({record(30, L"a"), record(0, L"none"), record(1, L"taken"),
                               record(-4, L"negative"), record(30, L"twice"), record(31, L"b")});
  setText(*two.jtNode(), "KrWmFrames", list->toText().c_str());
  two.readKrFrames();
  two.readKrFrames();
  EXPECT_EQ(keysOf(two), "30 31 ");
  EXPECT_TRUE(two.storeFrames());
  JtFrameListProperty stored;
  stored.fromText(text(*two.jtNode(), "KrWmFrames"));
  ASSERT_EQ(stored.frames().size(), 2U);
  EXPECT_EQ(stored.frames()[1].name, L"b");
  EXPECT_EQ(stored.frames()[1].text, "text");

  root_.deleteNode(key(30));
  root_.deleteNode(key(31));
  EXPECT_TRUE(two.storeFrames());
  EXPECT_EQ(text(*two.jtNode(), "KrWmFrames"), "-");
}

TEST_F(Collection, FrameListsAreReadInEveryFormAndRefusedInOthers) {
  const auto store = [this](long itsKey, jt::Ref<JtPropAtom> value) -> JtwBlock& {
    JtwBlock& made = block(itsKey);
    if (value)
      made.jtNode()->addProperty(jt::make<JtStringPropAtom>(JtString("KrWmFrames")).get(),
                                 value.get(), true);
    return made;
  };
  JtwBlock& none = store(2, {});
  none.readKrFrames();
  EXPECT_FALSE(none.KrFramesFound());
  EXPECT_TRUE(none.loadFrames());
  EXPECT_FALSE(store(3, jt::make<JtInt32PropAtom>(1)).loadFrames());
  EXPECT_FALSE(store(4, jt::make<JtLateLoadedPropAtom>(jt::make<VisPartNode>())).loadFrames());
  JtwBlock& late =
      store(6, jt::make<JtLateLoadedPropAtom>(frameList({record(40, L"a"), record(41, L"b")})));
  EXPECT_TRUE(late.loadFrames());
  EXPECT_EQ(keysOf(late), "40 41 ");
}

TEST_F(Collection, AListThatCannotBeReadIsNotStoredOver) {
  const auto damaged = jt::make<JtFrameListProperty>();
  JtBaseDataStream stored;
  stored.write(JtString("2 damaged"));
  JtBaseDataStream in(stored.written(), false);
  damaged->deserialize(in);
  const auto textAtom = [](const char* text) {
    return jt::Ref<JtPropAtom>(jt::make<JtStringPropAtom>(JtString(text)).get());
  };
  const struct {
    jt::Ref<JtPropAtom> value;
    const char* reason;
  } cases[] = {
      {textAtom("99 damaged"), "no frame list"},
      {textAtom("0 and more"), "no frame list"},
      {jt::Ref<JtPropAtom>(jt::make<JtLateLoadedPropAtom>(damaged).get()), "no frame list"},
      {jt::Ref<JtPropAtom>(jt::make<JtInt32PropAtom>(7).get()), "neither a text"},
  };
  long itsKey = 10;
  for (const auto& [value, reason] : cases) {
    JtwBlock& made = block(itsKey);
    made.jtNode()->addProperty(jt::make<JtStringPropAtom>(JtString("KrWmFrames")).get(),
                               value.get(), true);
    EXPECT_FALSE(made.loadFrames()) << itsKey;
    EXPECT_EQ(jtw::storedFrames(made).form, jtw::FrameForm::unreadable) << itsKey;
    EXPECT_NE(jt::lastError().find(reason), std::string::npos) << jt::lastError();
    EXPECT_TRUE(made.readKrFrames().empty());
    for (const bool isEmpty : {true, false}) {
      if (!isEmpty) frame(itsKey + 1, itsKey);
      EXPECT_FALSE(made.storeFrames() || jtw::storeFramesInTheirForm(made)) << itsKey;
      EXPECT_EQ(made.jtNode()->property(JtString("KrWmFrames")), value.get());
    }
    itsKey += 10;
  }
  JtwRoot& again = reopened();
  JtwNode* late = nullptr;
  again.getNodeByKey(key(30), late);
  EXPECT_EQ(jtw::storedFrames(static_cast<JtwBlock&>(*late)).form, jtw::FrameForm::unreadable);
  // A list that is replaced as a whole is another matter.
  const JtFrame frames[] = {record(50, L"new")};
  EXPECT_TRUE(jtw::replaceFrames(static_cast<JtwBlock&>(*late), frames, jtw::FrameForm::text));
  EXPECT_EQ(jtw::storedFrames(static_cast<JtwBlock&>(*late)).list->frames().size(), 1U);
}

TEST_F(Collection, FrameListsAreReplacedInEitherForm) {
  using jtw::FrameForm;
  block(2);
  frame(20, 2);
  frame(21, 2);
  root_.createPMIAnnotationNode(key(22), key(2), RTTran3D::unit);
  JtwRoot* root = &root_;
  bool isNew = true;
  for (const FrameForm form : {FrameForm::text, FrameForm::lateLoaded, FrameForm::text}) {
    JtwNode* found = nullptr;
    root->getNodeByKey(key(2), found);
    auto& collection = static_cast<JtwBlock&>(*found);
    const std::string before = keysOf(collection);
    for (const long bad : {1L, 22L, 30L, 0L, -1L, 1L << 40}) {
      if (bad == 22 && !isNew) continue;  // annotations are not stored
      const JtFrame frames[] = {record(30, L"a"), record(bad, L"b")};
      EXPECT_FALSE(jtw::replaceFrames(collection, frames, form)) << bad;
    }
    EXPECT_EQ(keysOf(collection), before);

    const JtFrame frames[] = {record(21, L"a"), record(30, L"b")};
    EXPECT_TRUE(jtw::replaceFrames(collection, frames, form));
    EXPECT_EQ(keysOf(collection), isNew ? "22 21 30 " : "21 30 ");
    EXPECT_TRUE(root->write(false)) << jt::lastError();
    registry().releaseRoot(document_);
    root = open(document_);
    isNew = false;
    jtw::loadWrappers(*root);
    root->getNodeByKey(key(2), found);
    EXPECT_EQ(keysOf(static_cast<JtwBlock&>(*found)), "21 30 ");
    const auto stored = jtw::storedFrames(static_cast<JtwBlock&>(*found));
    EXPECT_EQ(stored.form, form);
    EXPECT_EQ(stored.list->frames()[1].name, L"b");
    // Changing one of them keeps the form.
    static_cast<JtwBlock&>(*found).PMIs()[1]->setName(L"c");
    EXPECT_TRUE(jtw::storeFramesInTheirForm(static_cast<JtwBlock&>(*found)));
    const auto changed = jtw::storedFrames(static_cast<JtwBlock&>(*found));
    EXPECT_EQ(changed.form, form);
    EXPECT_EQ(changed.list->frames()[1].name, L"c");
  }
}

TEST_F(Collection, KeysOfPmiAreStoredOnceAndReadWhenTheyFit) {
  JtwBlock& two = block(2);
  two.writePMIKeysToJT();
  EXPECT_EQ(text(*two.jtNode(), "KrPMIProtoKeys"), "-");
  for (const long itsKey : {12, 15, 40}) frame(itsKey, 2);
  two.writePMIKeysToJT();
  EXPECT_EQ(text(*two.jtNode(), "KrPMIProtoKeys"), "12,15,40,");
  frame(41, 2);
  two.writePMIKeysToJT();
  EXPECT_EQ(text(*two.jtNode(), "KrPMIProtoKeys"), "12,15,40,");

  const struct {
    const char* stored;
    const char* keys;
  } cases[] = {{"50,51,", "50 60 "}, {"50,51", "50 60 "}, {"50,51,52,", "0 60 "},
               {"50,", "0 60 "},     {"x,51,", "0 60 "},  {"-5,51,", "0 60 "},
               {"", "0 60 "},        {"1,51,", "0 60 "},  {" 50 rest,,", "50 60 "}};
  for (const auto& [stored, keys] : cases) {
    JtwBlock block(jt::as<VisMetaDataNode>(two.jtNode()), &root_);
    JtwFrame unkeyed(&block, &root_);
    JtwFrame keyed(&block, &root_);
    keyed.KrData()->key = key(60);
    block.addPMI(&unkeyed);
    block.addPMI(&keyed);
    setText(*two.jtNode(), "KrPMIProtoKeys", stored);
    block.readPMIKeysFromJT();
    EXPECT_EQ(keysOf(block), keys) << stored;
    root_.removeNodeFromMapByKey(unkeyed.key());
  }
}

TEST_F(Collection, PmiTakeKeysAndParentsByTheirOwnRules) {
  JtwBlock& two = block(2);
  JtwBlock& three = block(3);
  entity(4);
  JtwFrame& pmi = frame(10, 2);
  bool isDefault = false;
  pmi.color(isDefault);
  EXPECT_TRUE(isDefault);
  EXPECT_FALSE(pmi.setKey(key(0)) || pmi.setKey(key(-1)) || pmi.setKey(key(3)));
  EXPECT_TRUE(pmi.setKey(key(11)));
  EXPECT_EQ(find(10), &pmi);
  EXPECT_EQ(pmi.measurementUnitRatio(), 0);
  EXPECT_FALSE(pmi.setMeasurementUnitRatio(1));

  pmi.setId(7);
  two.setRelLoc(at(5));
  three.setRelLoc(at(9));
  three.forgetCached();
  EXPECT_TRUE(pmi.setParent(key(3)));
  EXPECT_EQ(pmi.id(), -1);
  EXPECT_EQ(pmi.absLoc(), at(9));
  EXPECT_EQ(root_.getJtwPMIsOfNode(two.jtNode()).size(), 0U);
  EXPECT_EQ(root_.getJtwPMIsOfNode(three.jtNode()).size(), 1U);

  // A refused move leaves it out of every list, yet not forgetting where it was.
  EXPECT_FALSE(pmi.setParent(key(4)));
  EXPECT_FALSE(three.hasPMIs());
  EXPECT_EQ(pmi.collection(), &three);
  EXPECT_TRUE(root_.deleteNode(key(3)));
  EXPECT_EQ(pmi.collection(), nullptr);
  EXPECT_EQ(pmi.absLoc(), RTTran3D::unit);
  EXPECT_TRUE(pmi.parent().isNull());
  EXPECT_TRUE(pmi.setParent(key(2)));
  EXPECT_EQ(keysOf(two), "11 ");
}

TEST_F(Collection, CopiesShareNothingThatIsDestroyedTwice) {
  JtwBlock& two = block(2);
  setText(*two.jtNode(), "KrWmFrames",
          frameList({record(0, L"aside"), record(30, L"a")})->toText().c_str());
  two.readKrFrames();
  JtwPMI& listed = *two.PMIs()[0];
  {
    JtwBlock copy(two);
    JtwBlock assigned;
    assigned = copy;
    JtwFrame frameCopy(static_cast<JtwFrame&>(listed));
    JtwFrame other(&root_, &root_);
    other = frameCopy;
    EXPECT_EQ(keysOf(assigned), "30 ");
    EXPECT_EQ(other.collection(), &two);
    EXPECT_TRUE(root_.getJtwPMIsOfNode(root_.jtNode()).empty());
  }
  EXPECT_EQ(listed.collection(), &two);
  EXPECT_EQ(keysOf(two), "30 ");
}

TEST_F(Collection, BlocksArePreservedByWhatHangsOnThemOrBelow) {
  JtwBlock& top = block(2);
  JtwBlock& middle = block(3, 2);
  JtwEntity& part = entity(4, 3);
  JtwBlock& other = block(5);
  EXPECT_FALSE(part.isPreserved(false) || top.isPreserved(true));
  EXPECT_NE(text(*top.jtNode(), "TestedForPreservedDescendants"), "");
  part.setPreserved(true);
  EXPECT_TRUE(part.isPreserved(false));
  EXPECT_FALSE(top.isPreserved(true));  // tested before
  part.setPreserved(false);
  EXPECT_TRUE(part.isPreserved(false));  // a mark is not replaced
  EXPECT_FALSE(top.isPreserved(false));  // a child's answer counts only when it is known
  EXPECT_TRUE(middle.isPreserved(true) && middle.isPreserved(false));

  frame(20, 5);
  EXPECT_TRUE(other.isPreserved(false));
  EXPECT_FALSE(other.hasPreservedPMI() || other.checkForPreservePMI());
  other.PMIs()[0]->setPreserved(true);
  EXPECT_TRUE(other.checkForPreservePMI());
  other.setHasPreservedPMI(true);
  other.setHasPreservedPMI(false);  // a mark is not replaced
  EXPECT_TRUE(other.isPreserved(true));
  jtw::setPreserved(part, false);
  EXPECT_FALSE(part.isPreserved(false));

  EXPECT_TRUE(part.displayState());
  part.setDisplayState(false);
  EXPECT_FALSE(part.displayState());
  part.setShouldCalculateApx(true);
  EXPECT_TRUE(part.shouldCalculateApx());
  EXPECT_FALSE(part.shouldCalculateApx());
}

}  // namespace
