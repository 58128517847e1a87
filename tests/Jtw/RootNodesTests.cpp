#include <cstring>
#include <filesystem>
#include <functional>
#include <limits>

#include "ComponentFixture.h"
#include "JtExportRoot.h"
#include "JtFrameListProperty.h"

namespace {

class RootNodes : public ComponentFixture {};

TEST_F(RootNodes, LookUpDistinguishesAnEmptyMapFromAnUnknownKey) {
  JtwRoot& bare = *registry().computeNewDocRoot(documentAt(folder_.folder("bare.kpak")));
  JtwNode* node = &root_;
  EXPECT_FALSE(bare.getNodeByKey(key(1), node));
  EXPECT_EQ(node, &root_);
  EXPECT_TRUE(root_.getNodeByKey(key(77), node));
  EXPECT_EQ(node, nullptr);
  EXPECT_EQ(jtw::nextFreeKey(bare), key(1));

  JtwBlock& two = block(2);
  EXPECT_FALSE(root_.addNodeByJtNode(two.jtNode(), &root_));
  EXPECT_EQ(root_.nodeByJtNode(two.jtNode()), &two);
  EXPECT_EQ(root_.nodeByJtNode(nullptr), nullptr);
  EXPECT_FALSE(root_.addNodeToMapByKey(key(2), &root_) || root_.addNodeToMap(&two));
  EXPECT_TRUE(root_.removeNodeFromMapByKey(key(2)));
  EXPECT_FALSE(root_.removeNodeFromMapByKey(key(2)));
  EXPECT_TRUE(root_.addNodeToMap(&two));
}

TEST_F(RootNodes, CreatorsMakeTheirKindOrNothing) {
  const auto make = [this](int kind, long itsKey, long parent) -> JtwNode* {
    switch (kind) {
      case JtwNode::JT_LINK_NODE:
        return root_.createLinkNode(key(itsKey), key(parent), at(1));
      case JtwNode::JT_ENTITY_NODE:
        return root_.createEntityNode(key(itsKey), key(parent), at(1));
      case JtwNode::JT_FRAME_NODE:
        return root_.createFrameNode(key(itsKey), key(parent), at(1));
      case JtwNode::JT_BLOCK_NODE:
        return root_.createBlockNode(key(itsKey), key(parent), at(1));
      case JtwNode::JT_SUB_DEVICE_NODE:
        return root_.createSubDeviceNode(key(itsKey), key(parent), at(1));
      default:
        return root_.createPMIAnnotationNode(key(itsKey), key(parent), at(1));
    }
  };
  const char* const types[] = {"", "KrLink", "-", "-", "KrBlock", "KrKinDevice", "-"};
  entity(2);
  frame(3);
  for (int kind = 1; kind <= 6; ++kind) {
    const std::size_t before = root_.getAllNodes().size();
    const int children = component().numChildren();
    EXPECT_EQ(make(kind, 2, 1), nullptr) << kind;
    EXPECT_EQ(make(kind, 10, 77), nullptr) << kind;
    EXPECT_EQ(make(kind, 10, 3), nullptr) << kind;
    EXPECT_EQ(make(kind, 0, 1), nullptr) << kind;
    EXPECT_EQ(root_.getAllNodes().size(), before);
    EXPECT_EQ(component().numChildren(), children);

    JtwNode* const made = make(kind, 100 + kind, 1);
    ASSERT_TRUE(made) << kind;
    EXPECT_EQ(made->type(), kind);
    EXPECT_EQ(find(100 + kind), made);
    EXPECT_EQ(made->parentNode(), &root_);
    if (made->isOfTypePMI()) continue;
    EXPECT_EQ(root_.nodeByJtNode(made->jtNode()), made);
    EXPECT_EQ(text(*made->jtNode(), "KrObjType"), types[kind]);
    made->forgetCached();
    EXPECT_EQ(made->relLoc(), at(1));
  }
  EXPECT_EQ(root_.createFrameNode(key(10), key(2), at(1)), nullptr);
  EXPECT_EQ(root_.PMIs().size(), 3U);

  JtwEntity* const apx = root_.createApxEntityNode(key(2), at(4));
  ASSERT_TRUE(apx);
  EXPECT_TRUE(apx->key().isNull());
  EXPECT_EQ(apx->parent(), key(2));
  EXPECT_EQ(root_.createApxEntityNode(key(77), at(4)), nullptr);
}

TEST_F(RootNodes, FreeKeysLieAboveAllOthers) {
  for (const long itsKey : {3, 7, 5}) block(itsKey);
  EXPECT_EQ(jtw::nextFreeKey(root_), key(8));
  entity(9);
  EXPECT_EQ(root_.cloneEntityNode(key(9), true)->key(), key(10));
  EXPECT_TRUE(root_.PMIMaxProtoKey().isNull());
  root_.setPMIMaxProtoKey(key(40));
  EXPECT_EQ(jtw::nextFreeKey(root_), key(41));
  root_.setPMIMaxProtoKey(key(std::numeric_limits<long>::max()));
  EXPECT_EQ(root_.PMIMaxProtoKey(), key(40));
  block(std::numeric_limits<int>::max());
  EXPECT_EQ(root_.cloneEntityNode(key(9), true), nullptr);
}

TEST_F(RootNodes, DeletingTakesTheObjectAndLeavesItsPmi) {
  JtwBlock& two = block(2);
  JtwEntity& three = entity(3, 2);
  JtwEntity& four = entity(4, 3);
  JtwFrame& pmi = frame(10, 2);
  pmi.setOriginJtNode(three.jtNode());
  EXPECT_FALSE(root_.deleteNode(key(77)) || root_.deleteNode(key(1)));
  JtNode* const gone = three.jtNode();
  EXPECT_TRUE(root_.deleteNode(key(3)));
  EXPECT_EQ(root_.nodeByJtNode(gone), nullptr);
  EXPECT_EQ(find(3), nullptr);
  EXPECT_EQ(two.jtNode()->numChildren(), 0);
  EXPECT_EQ(two.PMIs().at(0), &pmi);
  EXPECT_EQ(pmi.originJtNode(), two.jtNode());

  // What hung below is out of the component, but still an object that can be hung elsewhere.
  EXPECT_TRUE(four.parent().isNull());
  EXPECT_TRUE(four.setParent(key(1)));

  EXPECT_TRUE(root_.deleteNode(key(10)));
  EXPECT_FALSE(two.hasPMIs());
  EXPECT_TRUE(root_.getJtwPMIsOfNode(two.jtNode()).empty());
  frame(11, 2);
  EXPECT_TRUE(root_.deleteNode(key(2)));
  EXPECT_EQ(listing(root_), "(0 1 (2 4 ))");
}

TEST_F(RootNodes, ADeletedObjectIsForgottenWhereverItWasEntered) {
  JtwBlock& two = block(2);
  JtwBlock& three = block(3);
  JtwBlock copy(two);
  const auto apart = jt::make<VisMetaDataNode>();
  const struct {
    const char* what;
    bool isFrame;
    std::function<void(JtwNode&, JtwPMI*)> enter;
  } cases[] = {
      {"a second key", true, [](JtwNode& node, JtwPMI*) { node.setKey(key(51)); }},
      {"a second key after reset", false,
       [](JtwNode& node, JtwPMI*) {
         node.reset(false);
         node.setKey(key(51));
       }},
      {"a key of the map alone", false,
       [this](JtwNode& node, JtwPMI*) { root_.addNodeToMapByKey(key(51), &node); }},
      {"another JT node", false,
       [this, &apart](JtwNode& node, JtwPMI*) { root_.addNodeByJtNode(apart.get(), &node); }},
      {"listed twice", true, [&two](JtwNode&, JtwPMI* pmi) { two.addPMI(pmi); }},
      {"a foreign list", true, [&three](JtwNode&, JtwPMI* pmi) { three.addPMI(pmi); }},
      {"the list of a copy", true, [&](JtwNode&, JtwPMI*) { copy = two; }},
      {"filed twice", true,
       [&](JtwNode&, JtwPMI* pmi) {
         root_.addJtwPMIToMap(three.jtNode(), pmi);
         root_.addJtwPMIToMap(two.jtNode(), pmi);
       }},
      {"a key it was read with", true, [](JtwNode& node, JtwPMI*) { node.reset(false); }},
  };
  for (const auto& [what, isFrame, enter] : cases) {
    JtwNode& node = isFrame ? static_cast<JtwNode&>(frame(50, 2)) : entity(50, 2);
    enter(node, isFrame ? static_cast<JtwPMI*>(&node) : nullptr);
    EXPECT_TRUE(root_.deleteNode(key(50))) << what;
    EXPECT_FALSE(find(50) || find(51)) << what;
    EXPECT_EQ(root_.nodeByJtNode(apart.get()), nullptr);
    EXPECT_FALSE(two.hasPMIs() || three.hasPMIs() || copy.hasPMIs()) << what;
    EXPECT_TRUE(root_.getJtwPMIsOfNode(two.jtNode()).empty()) << what;
    EXPECT_TRUE(root_.getJtwPMIsOfNode(three.jtNode()).empty()) << what;
  }
}

TEST_F(RootNodes, AFrameWithoutKeyBelongsToTheRoot) {
  block(2);
  JtwFrame& lost = frame(20, 2);
  JtwFrame& regained = frame(21, 2);
  JtwFrame copy(regained);
  copy.reset(true);
  EXPECT_EQ(find(21), &regained) << "the key is not the copy's";
  lost.reset(true);
  regained.reset(true);
  EXPECT_TRUE(!find(20) && !find(21) && lost.key().isNull());
  EXPECT_TRUE(regained.setKey(key(22)));
  EXPECT_TRUE(root_.deleteNode(key(22)));

  // One that was read without key is no different.
  block(3);
  JtFrameListProperty list;
  list.frames().emplace_back();
  setText(*find(3)->jtNode(), "KrWmFrames", list.toText().c_str());
  static_cast<JtwBlock*>(find(3))->readKrFrames();
  JtwPMI* const read = root_.getJtwPMIsOfNode(find(3)->jtNode()).at(0);
  EXPECT_TRUE(read->setKey(key(40)));
  EXPECT_EQ(find(40), read);
}

TEST_F(RootNodes, KeysOfDeletedPmiAreNotGivenAgain) {
  block(2);
  block(3, 2);
  frame(20, 2);
  root_.createPMIAnnotationNode(key(22), key(3), RTTran3D::unit)->setKey(key(24));
  EXPECT_EQ(root_.PMIMaxProtoKey(), key(24));
  EXPECT_TRUE(root_.deleteNode(key(22)));
  EXPECT_EQ(jtw::nextFreeKey(root_), key(25));
  entity(4);
  EXPECT_EQ(root_.cloneEntityNode(key(4), true)->key(), key(25));

  // Frames of a file that never recorded its keys, which go with what holds them.
  JtFrameListProperty list;
  for (const long itsKey : {59, 60}) list.frames().emplace_back().key = key(itsKey);
  setText(*find(3)->jtNode(), "KrWmFrames", list.toText().c_str());
  static_cast<JtwBlock*>(find(3))->readKrFrames();
  EXPECT_EQ(root_.PMIMaxProtoKey(), key(24)) << "reading changes nothing";
  EXPECT_TRUE(root_.deleteNode(key(59)));
  EXPECT_EQ(root_.PMIMaxProtoKey(), key(59));
  EXPECT_TRUE(root_.deleteNode(key(2)));
  JtwRoot& again = reopened();
  EXPECT_EQ(jtw::nextFreeKey(again), key(61));
}

TEST_F(RootNodes, ACopyHasAnIdentityOfItsOwnInTheSamePlace) {
  VisMetaDataNode& between = add<VisMetaDataNode>(component(), "between");
  move(between, 100);
  JtwEntity& original = entity(2);
  const jt::Ref<JtNode> keep(original.jtNode());
  component().removeChild(keep.get());
  between.addChild(keep.get());
  move(*keep, 1);
  original.setName(L"bolt");
  original.setGlobalUniqueId(ApiGlobalUniqueId("id"));
  add<VisPartNode>(*jt::as<JtGroup>(keep.get()), "inside");
  setNumber(*keep->child(0), "KrGmProtoKey", 9);
  setText(*keep->child(0), "KrWmFrames", "0");

  for (const bool withGeometry : {true, false}) {
    JtwEntity* const copy = root_.cloneEntityNode(key(2), withGeometry);
    ASSERT_TRUE(copy);
    EXPECT_EQ(copy->name(), L"bolt");
    EXPECT_EQ(copy->parentNode(), &root_);
    EXPECT_EQ(copy->relLoc(), at(101));
    EXPECT_TRUE(copy->globalUniqueId().isNull());
    EXPECT_EQ(copy->jtNode()->numChildren(), withGeometry ? 1 : 0);
    if (!withGeometry) continue;
    for (const char* own : {"KrGmProtoKey", "KrWmFrames"})
      EXPECT_EQ(copy->jtNode()->child(0)->property(JtString(own)), nullptr) << own;
  }
  EXPECT_EQ(original.key(), key(2));
  EXPECT_EQ(original.globalUniqueId().getAsString(), "id");
  block(50);
  EXPECT_EQ(root_.cloneEntityNode(key(50), true), nullptr);
  EXPECT_EQ(root_.cloneEntityNode(key(77), true), nullptr);
}

TEST_F(RootNodes, PmiFollowsACopyOfTheComponent) {
  JtwFrame& pmi = frame(2);
  pmi.setColor(ApiGraColor(255, 0, 0), false, false);
  const auto target = jt::make<JtPartition>();
  static_cast<JtExportRoot&>(root_).copyToPartition(target.get());
  EXPECT_EQ(pmi.originJtNode(), root_.jtNode());
  EXPECT_EQ(pmi.jtNode(), root_.jtNode());
  bool isDefault = true;
  pmi.color(isDefault);
  EXPECT_FALSE(isDefault);
  pmi.reset(false);
  EXPECT_EQ(root_.key(), key(1)) << "a PMI has no property of its own to take away";
  EXPECT_TRUE(root_.deleteNode(key(2)));
  EXPECT_TRUE(root_.getJtwPMIsOfNode(root_.jtNode()).empty());
}

TEST_F(RootNodes, WhatWasWrittenIsReadAgain) {
  JtwLink& link = *root_.createLinkNode(key(2), key(1), at(10));
  link.setName(L"link");
  root_.createSubDeviceNode(key(3), key(2), at(1))->setAttributes("kept");
  entity(4, 3).setColor(ApiGraColor(255, 0, 0), true, false);
  root_.createApxEntityNode(key(2), RTTran3D::unit);
  const std::string before = listing(root_);
  const RTTran3D place = at(11);

  JtwRoot& again = reopened();
  EXPECT_EQ(listing(again), before);
  EXPECT_EQ(before, "(0 1 (1 2 link(5 3 (2 4 ))(2 0 )))");
  JtwNode* node = nullptr;
  again.getNodeByKey(key(4), node);
  EXPECT_EQ(node->absLoc(), place);
  bool isDefault = true;
  EXPECT_EQ(static_cast<JtwEntity*>(node)->color(isDefault), ApiGraColor(255, 0, 0));
  EXPECT_EQ(node->parentNode()->attributes(), "kept");

  EXPECT_TRUE(again.write(true));  // only what lies below the component node
  EXPECT_TRUE(again.write(false)) << "it knows its own file again: " << jt::lastError();
  EXPECT_TRUE(again.write(true));
  registry().releaseRoot(document_);
  JtwRoot& copy = *open(document_);
  jtw::loadWrappers(copy);
  EXPECT_EQ(listing(copy), before);

  std::filesystem::remove_all(folder_.at("gear.kpak"));
  folder_.file("gear.kpak");
  EXPECT_FALSE(copy.write(false));
  EXPECT_EQ(listing(copy), before);
}

/// A chain of blocks 100 000 deep; the deepest shows one part many times.
TEST_F(RootNodes, NeitherDepthNorSharingEndsAnOperation) {
  constexpr int kDepth = 100000;
  JtwEntity& top = entity(2);
  auto* node = jt::as<VisMetaDataNode>(top.jtNode());
  for (int i = 0; i < kDepth; ++i) {
    const auto child = jt::make<VisMetaDataNode>();
    setNumber(*child, "KrGmProtoKey", 10 + i);
    node->addChild(child.get());
    node = child.get();
  }
  const auto shared = jt::make<VisPartNode>();
  setNumber(*shared, "KrGmProtoKey", 3);
  for (int i = 0; i < 50; ++i) instance(*node, *shared);
  ASSERT_TRUE(jtw::loadWrappers(root_));
  EXPECT_EQ(root_.getAllNodes().size(), kDepth + 3U);
  EXPECT_EQ(find(3)->parent(), key(9 + kDepth));

  JtwEntity* const copy = root_.cloneEntityNode(key(2), true);
  ASSERT_TRUE(copy);
  EXPECT_EQ(copy->key(), key(10 + kDepth));
  EXPECT_TRUE(find(10)->setParent(copy->key()));
  EXPECT_FALSE(copy->setParent(key(9 + kDepth))) << "it stands above";
  EXPECT_EQ(find(3)->absLoc(), RTTran3D::unit);
  auto& exported = static_cast<JtExportRoot&>(root_);
  const auto target = jt::make<JtPartition>();
  exported.copyToPartition(target.get());
  EXPECT_TRUE(exported.disconnect());
  EXPECT_EQ(find(3)->jtNode()->numParents(), 50) << "one part in the copy too";
  EXPECT_TRUE(root_.deleteNode(copy->key()));
  EXPECT_TRUE(find(10)->parent().isNull());
  // Whoever is moved leaves all its places.
  EXPECT_TRUE(find(3)->setParent(key(1)));
  EXPECT_EQ(find(3)->jtNode()->numParents(), 1);
}

}  // namespace
