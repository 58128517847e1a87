#include "ComponentFixture.h"

namespace {

class Traverse : public ComponentFixture {
 protected:
  /// Writes down what it is called for, with keys, or names where there is no key.
  class Walk : public JtwTraverse {
   public:
    using JtwTraverse::JtwTraverse;
    std::string log;
    bool withPmi = false;
    long stopBelow = -1;
    long endAfter = -1;
    JtwTraverse* inner = nullptr;
    long deleteAt = -1;
    std::vector<long> deleted;

    bool actOnNode(JtwNode* node) override {
      note("+", node);
      if (inner) inner->execute();
      const bool deletes = node->key().getAsLong() == deleteAt;
      for (const long itsKey : deletes ? deleted : std::vector<long>())
        EXPECT_TRUE(root()->deleteNode(ApiProtoKey(itsKey)));
      return node->key().getAsLong() != stopBelow;
    }
    bool postActOnNode(JtwNode* node) override {
      note("-", node);
      return node->key().getAsLong() != endAfter;
    }
    bool postActOnRoot(JtwRoot* root) override {
      note("end", root);
      return true;
    }
    bool shouldContinue(JtwNode* node) override { return node->key().getAsLong() != -stopBelow; }
    bool actOnNonDisplayedNode(JtwNode* node) override {
      note("hidden", node);
      return true;
    }
    bool preActOnPMI(JtwNode* node) override {
      if (withPmi) note("pmi", node);
      return withPmi;
    }

   private:
    bool actOnRoot(JtwRoot* root) override {
      note("root", root);
      return true;
    }
    void note(const char* what, JtwNode* node) {
      const RWClassicWString name = node->name();
      const long key = node->key().getAsLong();
      log += what + (key != 0 ? std::to_string(key) : std::string(name.begin(), name.end())) + " ";
    }
  };

  std::string walked(JtwRoot& root) {
    Walk walk(&root);
    EXPECT_TRUE(walk.execute());
    return walk.log;
  }
};

TEST_F(Traverse, VisitsComeDepthFirstAndAnswersSteer) {
  block(2);
  block(3, 2);
  entity(4, 3);
  frame(20, 2);
  frame(21, 2);
  entity(5);
  EXPECT_EQ(walked(root_), "root1 +2 +3 +4 -3 -2 +5 end1 ");
  const struct {
    long stopBelow, endAfter;
    const char* log;
  } cases[] = {{3, -1, "root1 +2 +3 -3 -2 +5 end1 "},   // actOnNode says no
               {-3, -1, "root1 +2 +3 -3 -2 +5 end1 "},  // shouldContinue says no
               {-1, 3, "root1 +2 +3 +4 -3 "}};
  for (const auto& [stopBelow, endAfter, log] : cases) {
    Walk walk(&root_);
    walk.stopBelow = stopBelow;
    walk.endAfter = endAfter;
    EXPECT_TRUE(walk.execute());
    EXPECT_EQ(walk.log, log);
  }
  Walk part(&root_, find(2));
  part.withPmi = true;
  EXPECT_TRUE(part.execute());
  EXPECT_EQ(part.log, "+2 pmi2 +20 +21 +3 +4 -3 -2 ");

  Walk inner(&root_, find(3));
  Walk outer(&root_, find(2));
  outer.inner = &inner;
  EXPECT_TRUE(outer.execute());
  EXPECT_EQ(outer.log, "+2 +3 +4 -3 -2 ");

  EXPECT_FALSE(Walk(nullptr).execute());
}

TEST_F(Traverse, AVisitMayDeleteAnyObject) {
  const struct {
    long at;
    std::vector<long> deleted;
    const char* log;
  } cases[] = {
      {3, {3}, "root1 pmi1 +30 +2 pmi2 +20 +21 +22 +3 +4 -2 +5 +6 end1 "},  // a visited entity
      {2, {2}, "root1 pmi1 +30 +2 +5 +6 end1 "},                            // a visited collection
      {4, {2}, "root1 pmi1 +30 +2 pmi2 +20 +21 +22 +3 +4 +5 +6 end1 "},     // what is above
      {20,
       {21, 20},
       "root1 pmi1 +30 +2 pmi2 +20 +22 +3 +4 -2 +5 +6 end1 "},      // itself and a later PMI
      {20, {2}, "root1 pmi1 +30 +2 pmi2 +20 +21 +22 +5 +6 end1 "},  // the collection of a PMI
      {5,
       {3, 5},
       "root1 pmi1 +30 +2 pmi2 +20 +21 +22 +3 +4 -2 +5 +6 end1 "},       // itself and a past one
      {3, {4, 6}, "root1 pmi1 +30 +2 pmi2 +20 +21 +22 +3 -2 +5 end1 "},  // later ones
  };
  for (const auto& [at, deleted, log] : cases) {
    JtwRoot& root = *registry().computeNewDocRoot(documentAt(folder_.folder("walked.kpak")));
    root.setKey(key(1));
    root.createBlockNode(key(2), key(1), RTTran3D::unit);
    for (const long itsKey : {3, 4}) root.createEntityNode(key(itsKey), key(2), RTTran3D::unit);
    for (const long itsKey : {5, 6}) root.createEntityNode(key(itsKey), key(1), RTTran3D::unit);
    for (const long itsKey : {20, 21, 22})
      root.createFrameNode(key(itsKey), key(2), RTTran3D::unit);
    root.createFrameNode(key(30), key(1), RTTran3D::unit);
    Walk walk(&root);
    walk.withPmi = true;
    walk.deleteAt = at;
    walk.deleted = deleted;
    EXPECT_TRUE(walk.execute());
    EXPECT_EQ(walk.log, log) << at;
    EXPECT_EQ(root.getAllNodes().size(), 10 - deleted.size());
    registry().releaseAllRoots();
  }
}

TEST_F(Traverse, PmiComeByTypeAndInListOrder) {
  block(2);
  for (const auto& [itsKey, type] : {std::pair(10, API_PMI_DIMENSION),
                                     {11, API_PMI_NOTE},
                                     {12, API_PMI_DIMENSION},
                                     {13, API_PMI_NOTE}}) {
    ApiWmPMIAnnotationData data;
    data.annotationType = type;
    root_.createPMIAnnotationNode(key(itsKey), key(2), RTTran3D::unit)->setAnnotationData(data);
  }
  frame(20, 2);
  Walk walk(&root_, find(2));
  walk.withPmi = true;
  EXPECT_TRUE(walk.execute());
  EXPECT_EQ(walk.log, "+2 pmi2 +20 +11 +13 +10 +12 -2 ");
}

TEST_F(Traverse, WhatANativeFileGroupsCanBeExploded) {
  block(2);
  auto& assembly = add<VisMetaDataNode>(*jt::as<JtGroup>(find(2)->jtNode()), "assembly");
  auto& inner = add<VisMetaDataNode>(assembly, "inner");
  add<VisPartNode>(inner, "part");
  const auto exploded = [this] {
    Walk walk(&root_);
    walk.setExplodeNativeNodes(true);
    EXPECT_TRUE(walk.execute());
    return walk.log;
  };
  EXPECT_EQ(exploded(), "root1 +2 +part -2 end1 ");
  JtwNode* part = jtw::tree(root_, root_).back().node;
  EXPECT_EQ(part->parentNode(), find(2));
  EXPECT_EQ(walked(root_), "root1 +2 +assembly +inner +part -inner -assembly -2 end1 ");
  EXPECT_EQ(exploded(), "root1 +2 +part -2 end1 ");
}

TEST_F(Traverse, GroupsBecomeTheKindThatTheyAreMarkedAs) {
  const struct {
    const char* type;
    int key;
    const char* kind;
  } cases[] = {{"KrLink", 2, "1 2"}, {"KrKinDevice", 3, "5 3"}, {"KrBlock", 4, "4 4"},
               {nullptr, 5, "4 5"},  {"KrOther", 6, "4 6"},     {"KrLink", 0, "1 0"},
               {nullptr, 0, "4 0"},  {"KrComponent", 7, "4 7"}};
  std::string expected = "(0 1 ";
  for (const auto& [type, itsKey, kind] : cases) {
    VisMetaDataNode& node = add<VisMetaDataNode>(component(), "n");
    if (type) setText(node, "KrObjType", type);
    if (itsKey != 0) setNumber(node, "KrGmProtoKey", itsKey);
    expected += std::string("(") + kind + " n)";
  }
  add<JtGroup>(component(), "plain");
  EXPECT_TRUE(jtw::loadWrappers(root_));
  EXPECT_EQ(listing(root_), expected + ")");
  for (const auto& [itsKey, node] : root_.getAllNodes())
    EXPECT_TRUE(node == &root_ || root_.nodeByJtNode(node->jtNode()) == node);
  EXPECT_EQ(root_.getAllNodes().size(), 7U);
  walked(root_);
  EXPECT_EQ(listing(root_), expected + ")");

  ApiObjType type(99);
  EXPECT_FALSE(JtwTraverse::getKrTypeProperty(component().child(4), type));
  EXPECT_EQ(type.value(), 99);
  EXPECT_TRUE(JtwTraverse::getKrTypeProperty(component().child(0), type));
  EXPECT_EQ(type.value(), ApiObjType::LINK);
}

TEST_F(Traverse, PartsAreNamedByTheInstanceTheyAreMetThrough) {
  const auto part = jt::make<VisPartNode>();
  instance(component(), *part, "A");
  instance(component(), *part, "B");
  component().addChild(jt::make<VisPartNode>().get());
  EXPECT_EQ(walked(root_), "root1 +A + end1 ");
  part->deleteProperty(jt::make<JtStringPropAtom>(JtString(Jt::jtPropName)).get());
  instance(*jt::as<JtGroup>(component().child(2)), *part, "C");
  EXPECT_EQ(listing(root_), "(0 1 (2 0 A)(2 0 ))");
}

TEST_F(Traverse, ASecondPartWithAKeyIsHiddenOnlyInTheAlternateRepresentation) {
  for (const unsigned representation : {0U, 2U}) {
    const auto partition = jt::make<JtPartition>();
    VisMetaDataNode& top = add<VisMetaDataNode>(*partition, "top");
    setText(top, "KrObjType", "KrComponent");
    setNumber(top, "KrGmProtoKey", 1);
    for (const char* name : {"a", "b"}) setNumber(add<VisPartNode>(top, name), "KrGmProtoKey", 2);
    add<VisPartNode>(top, "native");
    JtwRoot& root =
        *open(componentOf(*partition, "twice" + std::to_string(representation)), representation);
    const std::string second = representation == 2 ? "hidden2 " : "+2 ";
    EXPECT_EQ(walked(root), "root1 +2 " + second + "+native end1 ");
    EXPECT_EQ(walked(root), "root1 +2 " + second + "+native end1 ");
    JtwNode* node = nullptr;
    root.getNodeByKey(key(2), node);
    EXPECT_EQ(node->name(), L"a");
  }
}

TEST_F(Traverse, ManyPathsToANodeAreOneVisit) {
  jt::Ref<JtGroup> below = jt::make<JtGroup>();
  add<VisPartNode>(*below, "part");
  for (int level = 0; level < 60; ++level) {
    const jt::Ref<JtGroup> above(level % 2 != 0 ? new VisMetaDataNode : new JtGroup);
    instance(*above, *below);
    instance(*above, *below);
    below = above;
  }
  component().addChild(below.get());
  EXPECT_TRUE(jtw::loadWrappers(root_));
  EXPECT_EQ(jtw::tree(root_, root_).size(), 1U + 30U + 1U);
  JtwBlock& top = *static_cast<JtwBlock*>(jtw::children(root_, root_).at(0));
  EXPECT_FALSE(top.isPreserved(true));
  top.setColor(ApiGraColor(1, 2, 3), false, false);
  EXPECT_TRUE(top.setMeasurementUnitRatio(10));
}

TEST_F(Traverse, ANativeAssemblyShowsItsStructureAndStaysAsItIs) {
  const ApiDocumentRef document = documentAt(std::string(JTW_TEST_DATA) + "/tiny95.jt");
  JtwRoot* const root = open(document);
  ASSERT_TRUE(root) << jt::lastError();
  const bool modified = root->partition()->isContentModified();
  ASSERT_TRUE(jtw::loadWrappers(*root));
  EXPECT_EQ(root->partition()->isContentModified(), modified);
  EXPECT_TRUE(root->key().isNull());
  EXPECT_TRUE(root->getAllNodes().empty());
  const auto entries = jtw::tree(*root, *root);
  ASSERT_GE(entries.size(), 2U);
  JtwNode& part = *entries.back().node;
  EXPECT_EQ(part.type(), JtwNode::JT_ENTITY_NODE);
  EXPECT_EQ(part.absLoc(), RTTran3D::fromTranslation({10, 20, 30}));
  EXPECT_EQ(part.parentNode(), root);

  // Keys come when the host asks for them.
  EXPECT_TRUE(root->setKey(jtw::nextFreeKey(*root)));
  EXPECT_TRUE(part.setKey(jtw::nextFreeKey(*root)));
  EXPECT_EQ(part.parent(), key(1));
  EXPECT_TRUE(root->createBlockNode(key(3), key(1), RTTran3D::unit));
}

}  // namespace
