// The scene graph in memory: links, sizes that break recursion, walks and look-ups.

#include <gtest/gtest.h>
#include <pthread.h>

#include <chrono>

#include "Jt.h"
#include "JtInspect.h"
#include "JtInstance.h"
#include "JtStackNodeIter.h"
#include "VisPartNode.h"
#include "support/MemoryStorage.h"
#include "support/SceneText.h"

namespace {

jt::Ref<JtStringPropAtom> text(const char* value) {
  return jt::make<JtStringPropAtom>(JtString(value));
}

/// Runs on a thread whose stack would overflow with a frame a level.
void onSmallStack(std::function<void()> work) {
  pthread_attr_t attributes;
  pthread_t thread{};
  pthread_attr_init(&attributes);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, 256 * 1024), 0);
  const auto run = [](void* context) -> void* {
    (*static_cast<std::function<void()>*>(context))();
    return nullptr;
  };
  ASSERT_EQ(pthread_create(&thread, &attributes, run, &work), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
}

/// Groups and instances in turn, one below the other; the last one is the leaf.
jt::Ref<JtPartition> chain(int levels, jt::Ref<JtNode>* leaf = nullptr) {
  auto root = jt::make<JtPartition>();
  jt::Ref<JtNode> last = root;
  for (int level = 0; level < levels; ++level) {
    jt::Ref<JtNode> next;
    if (level % 2) {
      next = jt::make<JtInstance>();
    } else {
      next = jt::make<JtGroup>();
    }
    if (auto* group = jt::as<JtGroup>(last.get())) {
      EXPECT_TRUE(group->addChild(next.get()));
    } else {
      EXPECT_TRUE(jt::as<JtInstance>(last.get())->setChild(next.get()));
    }
    last = next;
  }
  if (leaf) *leaf = last;
  return root;
}

TEST(Graph, AChainOfAHundredThousandLevelsIsWorkedOnWithoutRecursion) {
  constexpr int kLevels = 100'000;
  onSmallStack([] {
    MemoryStorage storage;
    Bytes file;
    {
      jt::Ref<JtNode> leaf;
      const auto root = chain(kLevels, &leaf);
      root->addProperty(text("k").get(), text("top").get(), true);
      JtPropAtom* value = nullptr;
      EXPECT_TRUE(leaf->lookupProperty(text("k").get(), value, true));
      EXPECT_NE(value, nullptr);
      file = storage.saved(*root);
    }
    const auto root = storage.open(file);
    const jt::GraphSummary summary = jt::summarizeGraph(*root);
    EXPECT_EQ(summary.nodes, kLevels + 1U);
    EXPECT_EQ(summary.depth, kLevels + 1U);
    std::size_t deepest = 0;
    const auto walk = jt::make<JtStackNodeIter>();
    walk->setPreVisit([&](JtNode*) {
      deepest = std::max(deepest, walk->depth());
      return JtStackNodeIter::Next::descend;
    });
    EXPECT_TRUE(walk->run(root.get()));
    EXPECT_EQ(deepest, static_cast<std::size_t>(kLevels));
    EXPECT_TRUE(jt::verify(MemoryLocation("opened")).empty());
    jt::Ref<JtNode> copy = Jt::clone(root.get());
    EXPECT_EQ(SceneText::of(*copy), SceneText::of(*root));
    root->close();
    EXPECT_EQ(root->numChildren(), 0);
  });
}

TEST(Graph, APartWithAHundredThousandOccurrencesOpensAndClosesFast) {
  MemoryStorage storage;
  const auto start = std::chrono::steady_clock::now();
  constexpr int kCount = 100'000;
  const auto root = jt::make<JtPartition>();
  const auto part = jt::make<VisPartNode>();
  for (int i = 0; i < kCount; ++i) {
    const auto instance = jt::make<JtInstance>();
    ASSERT_TRUE(instance->setChild(part.get()));
    ASSERT_TRUE(root->addChild(instance.get()));
  }
  const auto again = storage.open(storage.saved(*root));
  EXPECT_EQ(again->child(kCount - 1)->child(0)->numParents(), kCount);
  EXPECT_EQ(jt::summarizeGraph(*again).nodes, kCount + 2U);
  again->close();
  root->close();
  EXPECT_EQ(part->numParents(), 0);
  // Linear work takes a fraction of a second, quadratic work minutes.
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
}

TEST(Graph, TwoLinksALevelMeanNoMoreWorkThanOne) {
  MemoryStorage storage;
  const auto root = jt::make<JtPartition>();
  jt::Ref<JtGroup> last = root;
  for (int level = 0; level < 60; ++level) {
    const auto next = jt::make<JtGroup>();
    ASSERT_TRUE(last->addChild(next.get()) && last->addChild(next.get()));
    last = next;
  }
  const auto again = storage.open(storage.saved(*root));
  EXPECT_EQ(SceneText::of(*again), SceneText::of(*root));
  EXPECT_EQ(SceneText::of(*Jt::clone(again.get())), SceneText::of(*root));
  const jt::GraphSummary summary = jt::summarizeGraph(*again);
  EXPECT_EQ(summary.nodes, 61U);
  EXPECT_EQ(summary.depth, 61U);
  JtPropAtom* value = nullptr;
  EXPECT_TRUE(last->lookupProperty(text("none").get(), value, true));
  EXPECT_EQ(value, nullptr);
  EXPECT_FALSE(last->addChild(root.get()));
  EXPECT_TRUE(JtPartition::openAllPartitions(again.get(), true));
  EXPECT_TRUE(last->numParents() == 2 && last->parent(0) == last->parent(1));
}

TEST(Graph, StaysAcyclic) {
  const auto group = jt::make<JtGroup>();
  const auto middle = jt::make<JtGroup>();
  const auto instance = jt::make<JtInstance>();
  EXPECT_FALSE(group->addChild(nullptr));
  EXPECT_FALSE(group->addChild(group.get()));
  ASSERT_TRUE(group->addChild(middle.get()));
  ASSERT_TRUE(middle->addChild(instance.get()));
  EXPECT_FALSE(middle->addChild(group.get()));
  EXPECT_FALSE(middle->insertChild(0, group.get()));
  EXPECT_FALSE(instance->setChild(group.get()));
  EXPECT_FALSE(instance->setChild(instance.get()));
  EXPECT_EQ(group->numParents(), 0);
  // A node below two parents leaves one of them only.
  ASSERT_TRUE(group->insertChild(0, instance.get()));
  EXPECT_EQ(instance->numParents(), 2);
  ASSERT_TRUE(group->removeChild(instance.get()));
  EXPECT_EQ(instance->numParents(), 1);
  EXPECT_EQ(instance->parent(0), middle.get());
  EXPECT_FALSE(group->removeChild(instance.get()));
  EXPECT_FALSE(group->removeChild(-1));
  EXPECT_FALSE(group->removeChild(1));
}

TEST(Graph, InheritedLookUpTakesTheNearestAncestor) {
  jt::Ref<JtNode> leaf;
  const auto root = chain(10, &leaf);
  const auto key = text("k");
  root->addProperty(key.get(), text("far").get(), true);
  root->child(0)->child(0)->addProperty(key.get(), text("near").get(), true);
  const auto other = jt::make<JtGroup>();  // a second parent right above, without the key
  other->addChild(leaf.get());
  JtPropAtom* value = nullptr;
  ASSERT_TRUE(leaf->lookupProperty(key.get(), value, true));
  EXPECT_EQ(jt::as<JtStringPropAtom>(value)->value(), JtString("near"));
  EXPECT_FALSE(leaf->lookupProperty(jt::make<JtInt32PropAtom>(1).get(), value, true));
}

TEST(Graph, ASwitchNamesTheSelectedChild) {
  const auto node = jt::make<JtSwitch>();
  EXPECT_EQ(node->representation(true), nullptr);
  EXPECT_EQ(node->representation(false), nullptr);
  const auto a = jt::make<JtGroup>();
  const auto b = jt::make<JtGroup>();
  node->addChild(a.get());
  EXPECT_EQ(node->representation(false), a.get());
  node->addChild(b.get());
  struct Case {
    int selected;
    JtNode* shown;
    JtNode* other;
  };
  for (const Case& c : {Case{0, a.get(), b.get()}, Case{1, b.get(), a.get()},
                        Case{-1, a.get(), b.get()}, Case{7, a.get(), b.get()}}) {
    node->setSelectedChild(c.selected);
    EXPECT_EQ(node->representation(true), c.shown) << c.selected;
    EXPECT_EQ(node->representation(false), c.other) << c.selected;
  }
}

TEST(Graph, ACopyIsDeepAndSharesWhatNeverChanges) {
  const auto root = jt::make<JtGroup>();
  const auto shared = jt::make<VisPartNode>();
  const auto material = jt::make<JtMaterial>();
  for (int i = 0; i < 2; ++i) {
    const auto instance = jt::make<JtInstance>();
    instance->setChild(shared.get());
    root->addChild(instance.get());
  }
  shared->appendAttribute(material.get());
  shared->addProperty(JtString("k"), text("v").get(), true);
  const jt::Ref<JtNode> copy = Jt::clone(root.get());
  EXPECT_EQ(SceneText::of(*copy), SceneText::of(*root));
  JtNode* part = copy->child(0)->child(0);
  EXPECT_EQ(part, copy->child(1)->child(0)) << "shared in the copy as in the original";
  EXPECT_NE(part, shared.get());
  EXPECT_EQ(part->attribute(0), material.get());
  part->addProperty(text("k").get(), text("w").get(), true);
  EXPECT_EQ(jt::as<JtStringPropAtom>(shared->property("k"))->value(), JtString("v"));
  EXPECT_FALSE(Jt::clone(nullptr));
}

TEST(Graph, APartitionKeepsItsOwnChildrenBesideTheFileThatItReferences) {
  MemoryStorage storage;
  const auto root = jt::make<JtPartition>();
  const auto partition = jt::make<JtPartition>(root.get(), false);
  partition->setFileName("part");
  const auto own = jt::make<JtGroup>();
  own->addProperty(text("k").get(), text("own").get(), true);
  partition->addChild(own.get());
  storage["top"] = storage.saved(*root);
  storage["part"] = storage.saved(*jt::make<JtPartition>());

  const auto top = storage.open("top");
  for (const bool isOpen : {false, true}) {
    if (isOpen) {
      ASSERT_TRUE(JtPartition::openAllPartitions(top.get(), true));
    }
    const JtNode* holder = top->child(0);
    EXPECT_EQ(jt::as<JtPartition>(holder->child(0)) != nullptr, isOpen);
    EXPECT_EQ(SceneText::of(*Jt::clone(holder)), SceneText::of(*partition));
    top->addProperty(text("edit").get(), text(isOpen ? "2" : "1").get(), true);
    const auto again = storage.open(storage.saved(*top));
    EXPECT_EQ(SceneText::of(*again->child(0)), SceneText::of(*partition));
  }
}

TEST(Graph, AWalkGoesInOrderPrunesAndStops) {
  // 0 -> (1 -> (2, 3), 4, 1 again)
  std::vector<jt::Ref<JtGroup>> nodes;
  for (int i = 0; i < 5; ++i) nodes.push_back(jt::make<JtGroup>());
  const auto link = [&](int parent, int child) {
    nodes[static_cast<std::size_t>(parent)]->addChild(nodes[static_cast<std::size_t>(child)].get());
  };
  for (const auto& [parent, child] : {std::pair{0, 1}, {0, 4}, {0, 1}, {1, 2}, {1, 3}})
    link(parent, child);
  const auto number = [&](const JtNode* node) {
    const auto found = std::find_if(nodes.begin(), nodes.end(),
                                    [&](const auto& held) { return held.get() == node; });
    return std::to_string(found - nodes.begin());
  };
  const auto walked = [&](int prune, int stopDown, int stopUp) {
    std::string text;
    const auto walk = jt::make<JtStackNodeIter>();
    walk->setPreVisit([&](JtNode* node) {
      text += "(" + number(node);
      if (walk->pathParent()) text += "<" + number(walk->pathParent());
      if (number(node) == std::to_string(stopDown)) return JtStackNodeIter::Next::stop;
      return number(node) == std::to_string(prune) ? JtStackNodeIter::Next::skipChildren
                                                   : JtStackNodeIter::Next::descend;
    });
    walk->setPostVisit([&](JtNode* node) {
      text += ")";
      return number(node) != std::to_string(stopUp);
    });
    const bool whole = walk->run(nodes[0].get());
    return text + (whole ? "." : "!");
  };
  EXPECT_EQ(walked(-1, -1, -1), "(0(1<0(2<1)(3<1))(4<0)(1<0(2<1)(3<1))).");
  EXPECT_EQ(walked(1, -1, -1), "(0(1<0)(4<0)(1<0)).");
  EXPECT_EQ(walked(-1, 3, -1), "(0(1<0(2<1)(3<1!");
  EXPECT_EQ(walked(-1, -1, 2), "(0(1<0(2<1)!");
}

}  // namespace
