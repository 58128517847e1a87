#include <limits>

#include "ComponentFixture.h"
#include "JtwUtils.h"

namespace {

class Node : public ComponentFixture {};

/// Opens the protected operations up.
struct OpenBlock : JtwBlock {
  using JtwBlock::JtwBlock;
  using JtwNode::findRealParent;
  using JtwNode::getGmParent;
};

TEST_F(Node, NameExtensionsAreCutOnlyAtTheEnd) {
  const struct {
    const wchar_t* name;
    const wchar_t* bare;
  } cases[] = {
      {L"a.part;0;0:", L"a"},
      {L"a.asm;-1;22:", L"a"},
      {L"a.part;", L"a"},
      {L"a.asm;", L"a"},
      {L"a.part;;:", L"a"},
      {L".part;", L""},
      {L"a.part;0;0", L"a.part;0;0"},
      {L"a.part;0:", L"a.part;0:"},
      {L"a.part;x;0:", L"a.part;x;0:"},
      {L"a.part", L"a.part"},
      {L"a.PART;", L"a.PART;"},
      {L"a.part;0;0: ", L"a.part;0;0: "},
      {L"a.asm;.part;", L"a.asm;"},
      {L":", L":"},
      {L";0;0:", L";0;0:"},
      {L"\u00e9\u4e2d.part;1;2:", L"\u00e9\u4e2d"},
  };
  for (const auto& [name, bare] : cases) {
    RWClassicWString text = name;
    JtwNode::removeNameExtension(text);
    EXPECT_EQ(text, bare);
  }
  for (const char* text : {"-", "0", "12", "-12"}) EXPECT_TRUE(JtwNode::isInteger(text)) << text;
  for (const char* text : {"", "+1", "1-", "--1", "1 "})
    EXPECT_FALSE(JtwNode::isInteger(text)) << text;
}

TEST_F(Node, NamesSurviveAndComeFromTheInstanceWhenTheNodeHasNone) {
  JtwEntity& part = entity(2);
  for (const wchar_t* name : {L"plain", L"\u00e9\u4e2d\U0001F600", L""}) {
    part.setName(name);
    EXPECT_EQ(part.name(), name);
    EXPECT_EQ(JtwUtilsGetRWWStringAsJtString(name).toWide(), name);
  }
  component().removeChild(part.jtNode());
  instance(component(), *part.jtNode(), "placed.part;1;2:");
  EXPECT_EQ(part.name(), L"placed");
  EXPECT_EQ(part.nameWithExtension(), L"placed.part;1;2:");
  JtwEntity unnamed(jt::as<VisPartNode>(part.jtNode()), &root_, L"given");
  EXPECT_EQ(unnamed.name(), L"placed");
  component().removeChild(0);
  EXPECT_EQ(unnamed.name(), L"given");
}

TEST_F(Node, KeysAreGivenOnceAndNeverTwice) {
  JtwBlock& two = block(2);
  EXPECT_FALSE(two.setKey(key(2)));
  EXPECT_FALSE(two.setKey(key(3)));
  two.reset(true);
  EXPECT_EQ(find(2), nullptr);
  EXPECT_TRUE(two.key().isNull());
  for (const long refused : {0L, 1L, 1L << 31, -(1L << 31) - 1, std::numeric_limits<long>::max()})
    EXPECT_FALSE(two.setKey(key(refused))) << refused;
  EXPECT_TRUE(two.setKey(key(-5)));
  EXPECT_EQ(find(-5), &two);
  EXPECT_EQ(two.key(), key(-5));

  setText(*two.jtNode(), "KrGmProtoKey", "7");  // a text is no key
  EXPECT_TRUE(two.key().isNull());
}

TEST_F(Node, TextsKeepOrLoseTheirValueByTheirOwnRule) {
  JtwBlock& two = block(2);
  EXPECT_EQ(two.attributes() + two.relStringId() + two.globalUniqueId().getAsString(), "");
  two.setAttributes("some");
  two.setRelStringId("rel");
  two.setGlobalUniqueId(ApiGlobalUniqueId("id"));
  two.setAttributes("");
  two.setRelStringId("");
  two.setGlobalUniqueId(ApiGlobalUniqueId());
  EXPECT_EQ(text(*two.jtNode(), "KrGmAttributes"), "-");
  EXPECT_EQ(two.relStringId(), "rel");
  EXPECT_EQ(two.globalUniqueId().getAsString(), "id");

  ApiProtoKey parent(99);
  auto type = static_cast<AttachmentType>(98);
  two.getAttachmentParent(parent, type);
  EXPECT_EQ(parent, key(99));
  EXPECT_EQ(type, 98);
  two.setAttachmentParent(key(-3), static_cast<AttachmentType>(4));
  two.getAttachmentParent(parent, type);
  EXPECT_EQ(parent, key(-3));
  EXPECT_EQ(type, 4);
}

TEST_F(Node, MovesThatWouldBreakTheTreeAreRefused) {
  JtwBlock& two = block(2);
  JtwBlock& three = block(3, 2);
  JtwEntity& four = entity(4, 3);
  frame(5);
  EXPECT_FALSE(two.setParent(key(4)));
  EXPECT_FALSE(two.setParent(key(2)));
  EXPECT_FALSE(two.setParent(key(77)));
  EXPECT_FALSE(two.setParent(key(5)));
  EXPECT_TRUE(four.setParent(key(3)));
  EXPECT_EQ(listing(root_), "(0 1 (4 2 (4 3 (2 4 )))(3 5 ))");

  // Reached from below by a second path only: still a cycle.
  JtInstance& second = instance(*jt::as<JtGroup>(four.jtNode()), *entity(6).jtNode());
  EXPECT_FALSE(three.setParent(key(6)));
  second.setChild(nullptr);
  EXPECT_EQ(three.parent(), key(2));

  // What is between a node and its parent is left behind.
  const auto group = jt::make<JtGroup>();
  component().removeChild(two.jtNode());
  instance(*group, *two.jtNode());
  component().addChild(group.get());
  EXPECT_EQ(two.parent(), key(1));
  EXPECT_TRUE(two.setParent(key(6)));
  EXPECT_EQ(two.jtNode()->numParents(), 1);
  EXPECT_EQ(two.parentNode(), find(6));
}

TEST_F(Node, TheRealParentLiesBeyondAnInstanceAndAPlainGroup) {
  OpenBlock seen(&add<VisMetaDataNode>(component(), "n"), &root_);
  const auto group = jt::make<JtGroup>();
  const jt::Ref<JtNode> node(seen.jtNode());
  EXPECT_EQ(seen.findRealParent(), &component());
  component().removeChild(node.get());
  JtInstance& direct = instance(component(), *node);
  EXPECT_EQ(seen.findRealParent(), &component());
  direct.setChild(nullptr);
  instance(*group, *node);
  EXPECT_EQ(seen.findRealParent(), nullptr);
  instance(component(), *group);
  EXPECT_EQ(seen.findRealParent(), &component());
  EXPECT_EQ(seen.getGmParent(node.get()), &component());
}

TEST_F(Node, LocationsAreMillimetresAndRelativeToTheKeyedParent) {
  VisMetaDataNode& assembly = add<VisMetaDataNode>(component(), "inches");
  VisPartNode& part = add<VisPartNode>(assembly, "part");
  setText(assembly, Jt::jtPropMeasurementUnits, "Inches");
  setText(part, Jt::jtPropMeasurementUnits, "Cubits");  // no unit: inherited
  move(assembly, 2);
  move(part, 1);
  move(part, 50);  // only the first counts
  JtwEntity seen(&part, &root_, L"");
  EXPECT_NEAR(seen.relLoc().getTranslation().x, 3 * 25.4, 1e-5);
  EXPECT_FLOAT_EQ(seen.measurementUnitRatio(), 25.4F);

  JtwBlock& keyed = block(2);
  keyed.setRelLoc(at(100));
  JtwEntity& below = entity(3, 2);
  EXPECT_EQ(below.relLoc(), RTTran3D::unit);
  below.setRelLoc(at(7));
  EXPECT_EQ(below.relLoc(), RTTran3D::unit);  // cached before the move
  below.setRelLoc(RTTran3D::unit);
  below.forgetCached();
  EXPECT_EQ(below.relLoc(), RTTran3D::unit) << "moved back, whatever is cached";
  below.setRelLoc(at(7));
  keyed.forgetCached();
  below.forgetCached();
  EXPECT_EQ(below.relLoc(), at(7));
  EXPECT_EQ(below.absLoc(), at(107));
  const auto loose = jt::make<VisPartNode>();
  move(*loose, 5);
  EXPECT_EQ(JtwEntity(loose.get(), &root_, L"").absLoc(), RTTran3D::unit);

  registry().setUsingJtViewer(true);  // the viewer has no units
  seen.forgetCached();
  EXPECT_EQ(seen.relLoc(), at(3));
}

TEST_F(Node, PlacingKeepsTransformsBetweenNodeAndParent) {
  const RTTran3D target = RTTran3D::fromPlacement(10, 20, 30, 0, 0, 90);
  VisMetaDataNode& between = add<VisMetaDataNode>(component(), "between");
  move(between, 100);
  VisPartNode& part = add<VisPartNode>(between, "part");
  move(part, 1);
  JtwEntity seen(&part, &root_, L"");
  for (const RTTran3D& place : {target, at(5), target}) {
    seen.setRelLoc(place);
    JtwEntity fresh(&part, &root_, L"");
    EXPECT_NEAR(fresh.relLoc()(0, 3), place(0, 3), 1e-5);
    EXPECT_NEAR(fresh.relLoc()(1, 0), place(1, 0), 1e-6);
  }
  EXPECT_EQ(part.numAttributes(), 1);
  EXPECT_EQ(jt::as<JtXform>(between.attribute(0))->matrix()[12], 100);

  // Columns become rows.
  JtwEntity& direct = entity(2);
  direct.setRelLoc(target);
  const jt::Matrix4& stored = jt::as<JtXform>(direct.jtNode()->attribute(0))->matrix();
  EXPECT_EQ(stored[12], 10);
  EXPECT_FLOAT_EQ(static_cast<float>(stored[1]), 1);
  EXPECT_FLOAT_EQ(static_cast<float>(stored[4]), -1);

  setText(between, Jt::jtPropMeasurementUnits, "Inches");
  jtw::setPlacement(seen, at(254, 1, 2));
  EXPECT_NEAR(seen.relLoc().getTranslation().x, 254, 1e-4);
  direct.forgetCached();
  EXPECT_NEAR(jtw::placement(seen, direct).getTranslation().x, 1 - 20, 1e-4);
}

TEST_F(Node, TheComponentIsPlacedWhereItWasSet) {
  move(*root_.partition(), 3);
  root_.forgetCached();
  for (const double x : {5.0, 5.0, 7.0, 0.0}) {
    root_.setRelLoc(at(x));
    root_.forgetCached();
    EXPECT_EQ(root_.internalRelLoc(), at(x));
    EXPECT_EQ(root_.relLoc(), RTTran3D::unit);
  }
  JtwEntity& made = entity(5);
  move(*made.jtNode(), 2);
  root_.setRelLoc(RTTran3D::fromPlacement(30, 0, 0, 0, 0, 90));
  root_.forgetCached();
  made.forgetCached();
  const RTVec3D place = made.relLoc().getTranslation();
  EXPECT_NEAR(place.x, 30, 1e-9);
  EXPECT_NEAR(place.y, 2, 1e-9) << "turned by the placement of the component";
}

TEST_F(Node, NewObjectsAreWhereTheyWereMade) {
  JtwBlock& two = block(2);
  two.setMeasurementUnitRatio(25.4F);
  for (int type = 1; type <= 6; ++type) {
    JtwNode* const made = jtw::createNode(root_, static_cast<JtwNode::JT_NODE_TYPE>(type),
                                          key(10 + type), key(2), at(254, 1, 2));
    ASSERT_TRUE(made) << type;
    EXPECT_EQ(made->type(), static_cast<JtwNode::JT_NODE_TYPE>(type));
    EXPECT_NEAR(made->relLoc().getTranslation().x, 254, 1e-4) << type;
  }
  EXPECT_EQ(jtw::createNode(root_, JtwNode::JT_ROOT_NODE, key(20), key(2), at(1)), nullptr);
  EXPECT_EQ(jtw::createNode(root_, JtwNode::JT_LINK_NODE, key(11), key(2), at(1)), nullptr);
  // The root's own creators take the unit of the parent.
  EXPECT_NEAR(root_.createLinkNode(key(20), key(2), at(10))->relLoc().getTranslation().x, 254,
              1e-4);
  EXPECT_NEAR(root_.createApxEntityNode(key(2), at(10))->relLoc().getTranslation().x, 254, 1e-4);
}

TEST_F(Node, TextsComeBackByteForByte) {
  JtwEntity& two = entity(2);
  for (const char* text :
       {"plain", "gr\xc3\xbc\xc3\x9f \xf0\x9f\x98\x80", "gr\xfc\xdf", "\xff\xc3\xa9\x80",
        "\xed\xb3\xa9", "\xed\xa0\x80\x80", "\xf4\x90\x80\x80", "cut \xe2\x82", "\xc0\xaf"}) {
    two.setAttributes(text);
    two.setRelStringId(text);
    two.setGlobalUniqueId(ApiGlobalUniqueId(text));
    EXPECT_EQ(two.attributes(), text);
    EXPECT_EQ(two.relStringId(), text);
    EXPECT_EQ(two.globalUniqueId().getAsString(), text);
  }
  two.setAttributes("gr\xfc\xdf");
  JtwRoot& again = reopened();
  JtwNode* read = nullptr;
  again.getNodeByKey(key(2), read);
  EXPECT_EQ(read->attributes(), "gr\xfc\xdf");
}

TEST_F(Node, UnitsAreStoredByNameAndRuleEverythingBelow) {
  JtwBlock& two = block(2);
  JtwEntity& three = entity(3, 2);
  setText(*three.jtNode(), Jt::jtPropMeasurementUnits, "Feet");
  EXPECT_FALSE(two.setMeasurementUnitRatio(0.001F));
  EXPECT_EQ(text(*three.jtNode(), Jt::jtPropMeasurementUnits), "Feet");
  EXPECT_TRUE(two.setMeasurementUnitRatio(0.1F));
  EXPECT_EQ(text(*two.jtNode(), Jt::jtPropMeasurementUnits), "Micrometers");
  EXPECT_EQ(text(*three.jtNode(), Jt::jtPropMeasurementUnits), "-");
  EXPECT_EQ(two.measurementUnitRatio(), 1.0F);  // cached when the block was placed
  two.forgetCached();
  three.forgetCached();
  EXPECT_EQ(three.measurementUnitRatio(), 0.1F);
  for (const char* name : {"Micrometers", "Inches", "Miles"}) {
    EXPECT_TRUE(two.setMeasurementUnitRatio(jtw::unitRatio(name)));
    EXPECT_STREQ(jtw::unitName(jtw::unitRatio(name)), name);
  }
  EXPECT_EQ(jtw::unitRatio("inches"), 0);
}

TEST_F(Node, ColorsComeFromTheNearestMaterial) {
  JtwBlock& two = block(2);
  JtwEntity& three = entity(3, 2);
  bool isDefault = false;
  three.color(isDefault);
  EXPECT_TRUE(isDefault);
  paint(*two.jtNode(), 1);
  three.forgetCached();
  two.forgetCached();
  EXPECT_EQ(three.color(isDefault), ApiGraColor(255, 0, 0));
  EXPECT_FALSE(isDefault);
  paint(*three.jtNode(), 0.2F);
  paint(*three.jtNode(), 0.4F);
  three.forgetCached();
  EXPECT_EQ(three.color(isDefault), ApiGraColor(51, 0, 0));

  two.setColor(ApiGraColor(0, 0, 255, 0.5F), true, true);
  ASSERT_EQ(three.jtNode()->numAttributes(), 1);  // the first of its two is gone
  const auto* material = jt::as<JtMaterial>(two.jtNode()->attribute(0));
  ASSERT_TRUE(material);
  EXPECT_EQ(material->diffuse(), (jt::Rgba{0, 0, 1, 0.5F}));
  EXPECT_TRUE(material->hasState(JtAttributeState::force));
  two.setColor(ApiGraColor(1, 2, 3), false, false);
  EXPECT_EQ(two.jtNode()->numAttributes(), 1);
  EXPECT_FALSE(two.jtNode()->attribute(0)->hasState(JtAttributeState::force));
}

TEST_F(Node, OccurrenceIdsRunFromTheTopDown) {
  VisPartNode& part = add<VisPartNode>(component(), "part");
  const jt::Ref<JtNode> keep(&part);
  component().removeChild(&part);
  const auto inner = jt::make<JtGroup>();
  setText(instance(*inner, part), "thread_uid::", "low");
  const auto outer = jt::make<JtGroup>();
  instance(*outer, *inner);  // has no id
  setText(instance(component(), *outer), "thread_uid::", "top");
  JtwEntity seen(&part, &root_, L"");
  EXPECT_TRUE(seen.setConcatOccId());
  EXPECT_EQ(text(part, "concat_occThreadID"), "top\\low");
  EXPECT_FALSE(seen.setConcatOccId());
  EXPECT_TRUE(block(2).setConcatOccId());
}

TEST_F(Node, DepthCostsNoCallStack) {
  constexpr int kDepth = 100000;
  VisMetaDataNode* node = jt::as<VisMetaDataNode>(root_.jtNode());
  for (int i = 2; i < kDepth; ++i) {
    const auto child = jt::make<VisMetaDataNode>();
    setNumber(*child, "KrGmProtoKey", i);
    node->addChild(child.get());
    node = child.get();
  }
  paint(component(), 1);
  move(*node, 3);
  ASSERT_TRUE(jtw::loadWrappers(root_));
  JtwNode& deepest = *find(kDepth - 1);
  EXPECT_EQ(deepest.absLoc(), at(3));
  EXPECT_EQ(deepest.measurementUnitRatio(), 1.0F);
  EXPECT_FALSE(find(2)->isPreserved(true));
  deepest.setColor(ApiGraColor(9, 9, 9), false, false);
  EXPECT_EQ(jtw::tree(root_, root_).size(), static_cast<std::size_t>(kDepth - 1));
  EXPECT_TRUE(find(2)->setMeasurementUnitRatio(10));
}

TEST_F(Node, AWrapperOverNothingGivesEmptyValues) {
  JtwBlock nothing;
  EXPECT_TRUE(nothing.key().isNull() && nothing.parent().isNull());
  EXPECT_FALSE(nothing.setKey(key(9)) || nothing.setParent(key(1)));
  EXPECT_FALSE(nothing.setMeasurementUnitRatio(1) || nothing.isPreserved(true));
  EXPECT_FALSE(nothing.loadFrames() || nothing.storeFrames());
  nothing.setColor(ApiGraColor(), true, true);
  nothing.setRelLoc(at(1));
  nothing.setName(L"x");
  nothing.setAttributes("");
  EXPECT_EQ(nothing.absLoc(), RTTran3D::unit);
  EXPECT_EQ(nothing.name(), L"");
}

TEST_F(Node, UtilityTestsDistinguishBadQuestionsFromAnswers) {
  bool answer = true;
  EXPECT_FALSE(JtwUtilsJtHasProtoKey(nullptr, answer));
  EXPECT_FALSE(JtwUtilsJtHasKinDevice(nullptr, answer));
  EXPECT_FALSE(JtwUtilsDidJtOriginateFromNativeJt(nullptr, answer));
  EXPECT_TRUE(answer);
  JtwEntity& part = entity(2);
  EXPECT_TRUE(JtwUtilsJtHasKinDevice(part.jtNode(), answer));
  EXPECT_FALSE(answer);
  root_.setBuffer(JtwRoot::JT_KIN_BUFFER, "x", 1);
  root_.setBuffer(JtwRoot::JT_KIN_MODELING_BUFFER, "x", 1);
  EXPECT_TRUE(JtwUtilsJtHasKinDevice(part.jtNode(), answer) && answer);  // from above
  EXPECT_TRUE(JtwUtilsJtHasKinModelingDevice(part.jtNode(), answer) && answer);
  EXPECT_TRUE(JtwUtilsJtHasProtoKey(add<VisPartNode>(component(), "").parent(0), answer) && answer);
  EXPECT_TRUE(JtwUtilsJtHasProtoKey(component().child(1), answer));
  EXPECT_FALSE(answer);  // keys are not inherited

  EXPECT_FALSE(JtwUtilsIsPMIModeOn(root_.partition(), answer));
  registry().insertJtPartition(document_, root_.partition());
  document_->setProperty(ApiDocument::PMI_MODE, true);
  EXPECT_TRUE(JtwUtilsIsPMIModeOn(root_.partition(), answer) && answer);

  JtwPMIAnnotation& note = *root_.createPMIAnnotationNode(key(5), key(1), RTTran3D::unit);
  const auto excluded = [&answer](JtwPMI& pmi, ApiPMIType type) {
    if (auto* annotation = dynamic_cast<JtwPMIAnnotation*>(&pmi))
      annotation->annotationData().annotationType = type;
    return JtwUtilsShouldExcludePMI(&pmi, answer) && answer;
  };
  std::vector<bool> options(API_PMI_TYPE_COUNT);
  EXPECT_TRUE(excluded(note, API_PMI_MODEL_VIEW_LABEL));
  options[API_PMI_NOTE] = true;
  registry().setExcludedPMITypes(options);
  EXPECT_TRUE(excluded(note, API_PMI_NOTE));
  EXPECT_FALSE(excluded(note, API_PMI_BALLOON));
  EXPECT_FALSE(excluded(frame(6), API_PMI_NOTE));
  registry().setExcludedPMITypes({});
}

}  // namespace
