// Changes that a journal recorded, undone and redone.

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <functional>
#include <thread>
#include <unordered_map>

#include "JtBaseDataStream.h"
#include "JtChangeJournal.h"
#include "support/MemoryStorage.h"
#include "support/RandomScene.h"
#include "support/SceneText.h"

namespace {

jt::Ref<JtStringPropAtom> text(const char* value) {
  return jt::make<JtStringPropAtom>(JtString(value));
}

/// Everything that an edit can change of a scene, flags included.
std::string stateOf(const JtPartition& root) {
  std::string state = SceneText::of(root) + "\nversion " + root.version().text();
  if (const auto& encoding = root.shapeEncoding())
    state += " bits " + std::to_string(encoding->positionBits);
  const auto add = [&state](const auto&... values) { (((state += ' ') += values), ...); };
  std::vector<const JtNode*> nodes{&root};
  std::unordered_map<const JtNode*, std::size_t> numbers{{&root, 0}};
  for (std::size_t i = 0; i < nodes.size(); ++i)
    for (int index = 0; index < nodes[i]->numChildren(); ++index)
      if (numbers.emplace(nodes[i]->child(index), nodes.size()).second)
        nodes.push_back(nodes[i]->child(index));
  for (const JtNode* each : nodes) {
    const JtNode& node = *each;
    add('\n', std::to_string(node.isModified()), std::to_string(node.propertiesModified()));
    for (int parent = 0; parent < node.numParents(); ++parent)
      add(std::to_string(numbers.at(node.parent(parent))));
    for (int index = 0; index < node.numAttributes(); ++index)
      add('@', std::to_string(node.attribute(index)->isModified()));
    if (const auto* holder = jt::as<VisMetaDataNode>(&node)) {
      auto& reading = const_cast<VisMetaDataNode&>(*holder);
      if (reading.ensureMetaData() && holder->metaData()) {
        add("metadata", std::to_string(holder->metaData()->isModified()));
        for (const auto& entry : holder->metaData()->entries()) add(entry.key.stringToMbs());
      }
      const PMIDataManager* pmi = reading.pmi();
      if (pmi) add("PMI", std::to_string(pmi->isModified()), std::to_string(pmi->links().size()));
      for (std::int32_t id = 0; pmi && pmi->string(id); ++id) add(pmi->string(id)->stringToMbs());
      for (const PMITypedID id : pmi ? pmi->entities() : std::vector<PMITypedID>())
        add(pmi->pmiEntity(id).name().stringToMbs());
      for (const auto& view : pmi ? pmi->data().modelViews : std::vector<jt::PMIModelView>())
        add("view", std::to_string(view.angle));
    }
    if (const auto* part = jt::as<VisPartNode>(&node))
      if (const JtWireframeRep* wires = const_cast<VisPartNode*>(part)->wfRep())
        add("wires", std::to_string(wires->numEdges()), std::to_string(wires->isModified()));
  }
  return state;
}

jt::PMIGenericEntity entityNamed(PMIDataManager& pmi, const char* name) {
  jt::PMIGenericEntity entity;
  entity.typeNameId = pmi.stringId(JtString(name));
  entity.type = 0x0100;
  entity.properties.push_back({{JtString("name")}, {JtString(name)}});
  return entity;
}

jt::PMIModelView viewAt(float angle) {
  jt::PMIModelView view;
  view.angle = angle;
  return view;
}

std::shared_ptr<const jt::Mesh> triangle(float x) {
  jt::Mesh mesh;
  mesh.positions = {{0, 0, 0}, {x, 0, 1}, {0, 2, 5}};
  mesh.corners = {0, 1, 2};
  return std::make_shared<const jt::Mesh>(std::move(mesh));
}

/// An opened file with one node or attribute of each kind that can be changed.
class Scene {
 public:
  Scene() : root_(storage_.open(original())) {}
  JtPartition& root() { return *root_; }
  Bytes saved() { return storage_.saved(*root_); }
  const Bytes& original() {
    if (bytes_.empty()) bytes_ = storage_.saved(*made());
    return bytes_;
  }

  /// The first node of a class, in the order in which they were made.
  template <class Node>
  Node& node() {
    std::vector<JtNode*> nodes{root_->child(0)};
    for (std::size_t i = 0; i < nodes.size(); ++i) {
      if (nodes[i]->typeID() == Node::classTypeID()) return static_cast<Node&>(*nodes[i]);
      for (int index = 0; index < nodes[i]->numChildren(); ++index)
        nodes.push_back(nodes[i]->child(index));
    }
    throw std::logic_error("no such node");
  }
  template <class Attribute>
  Attribute& attribute() {
    JtNode& holder = node<JtGroup>();
    for (int index = 0; index < holder.numAttributes(); ++index)
      if (auto* found = jt::as<Attribute>(holder.attribute(index))) return *found;
    throw std::logic_error("no such attribute");
  }
  PMIDataManager& pmi() { return *node<VisPartNode>().pmi(); }

 private:
  static jt::Ref<JtPartition> made() {
    auto root = jt::make<JtPartition>();
    const auto top = jt::make<JtGroup>();
    root->addChild(top.get());
    const auto texture = jt::make<JtTextureImage>();
    texture->setFileName("a.png");
    for (const jt::Ref<JtAttribute>& attribute :
         {jt::Ref<JtAttribute>(jt::make<JtXform>(jt::kIdentity)),
          jt::Ref<JtAttribute>(jt::make<JtMaterial>()), jt::Ref<JtAttribute>(texture),
          jt::Ref<JtAttribute>(jt::make<JtDrawStyle>()),
          jt::Ref<JtAttribute>(jt::make<JtLineStyle>()),
          jt::Ref<JtAttribute>(jt::make<JtPointStyle>())})
      top->appendAttribute(attribute.get());
    top->addProperty(text("first").get(), text("1").get(), true);
    top->addProperty(text("second").get(), text("2").get(), true);
    const auto instance = jt::make<JtInstance>();
    const auto part = jt::make<VisPartNode>();
    const auto pmi = jt::make<PMIDataManager>();
    pmi->addGenericEntity(entityNamed(*pmi, "left"));
    pmi->addGenericEntity(entityNamed(*pmi, "right"));
    pmi->addModelView(viewAt(30));
    part->setPMI(pmi.get());
    const auto wires = jt::make<JtWireframeRep>();
    wires->addEdge(jt::lineCurve({1, 2, 3}, {4, 6, 9}));
    part->setWFRep(wires.get());
    instance->setChild(part.get());
    top->addChild(instance.get());
    const auto other = jt::make<JtPartition>();
    other->setFileName("other.jt");
    const auto lod = jt::make<JtRangeLOD>();
    lod->setRangeLimits({3, 7});
    const auto selector = jt::make<JtSwitch>();
    for (const auto& node :
         {jt::Ref<JtNode>(other), jt::Ref<JtNode>(lod), jt::Ref<JtNode>(selector)})
      top->addChild(node.get());
    lod->addChild(jt::makeShape(triangle(1)).get());
    selector->addChild(lod.get());
    selector->addChild(part.get());
    return root;
  }

  MemoryStorage storage_;
  Bytes bytes_;
  jt::Ref<JtPartition> root_;
};

struct Edit {
  const char* name;
  std::function<void(Scene&)> make;
};
void PrintTo(const Edit& edit, std::ostream* out) { *out << edit.name; }

class Journal : public testing::TestWithParam<Edit> {};

TEST_P(Journal, UndoesAndRedoesAnEdit) {
  Scene scene;
  const std::string before = stateOf(scene.root());
  jt::ChangeJournal journal;
  ASSERT_TRUE(journal.start());
  GetParam().make(scene);
  journal.stop();
  const std::string after = stateOf(scene.root());
  ASSERT_NE(after, before);
  EXPECT_TRUE(journal.isCurrent());
  journal.swap();
  EXPECT_EQ(stateOf(scene.root()), before);
  EXPECT_FALSE(scene.root().isContentModified());
  EXPECT_EQ(scene.saved(), scene.original());
  journal.swap();
  EXPECT_EQ(stateOf(scene.root()), after);
  EXPECT_TRUE(journal.isCurrent());
}

TEST(ChangeJournal, KnowsWhenWhatItChangedWasChangedAgain) {
  Scene scene;
  auto& top = scene.node<JtGroup>();
  auto& part = scene.node<VisPartNode>();
  jt::ChangeJournal journal;
  ASSERT_TRUE(journal.start());
  scene.pmi().removeGenericEntity(1);
  part.wfRep()->addEdge(jt::lineCurve({0, 0, 0}, {3, 1, 2}));
  top.addProperty(text("k").get(), text("v").get(), true);
  top.addChild(&part);
  scene.attribute<JtXform>().setMatrix({2});
  scene.node<JtPartition>().setFileName("x.jt");
  journal.stop();
  scene.attribute<JtMaterial>().setShininess(4);
  EXPECT_TRUE(journal.isCurrent()) << "that was not part of it";
  const std::function<void()> changes[] = {
      [&] { scene.pmi().removeGenericEntity(0); },
      [&] {
        part.wfRep()->addEdge(jt::lineCurve({1, 0, 0}, {3, 1, 2}));
      },
      [&] { top.addProperty(text("k").get(), text("v").get(), true); },
      [&] { scene.node<JtInstance>().setChild(nullptr); },
      [&] { top.addChild(jt::make<JtGroup>().get()); },
      [&] { scene.attribute<JtXform>().setMatrix({3}); },
      [&] { scene.node<JtPartition>().setFileName("y.jt"); }};
  for (std::size_t i = 0; i < std::size(changes); ++i) {
    jt::ChangeJournal again;
    ASSERT_TRUE(again.start());
    changes[i]();
    again.stop();
    EXPECT_FALSE(journal.isCurrent()) << i;
    again.swap();
    EXPECT_TRUE(journal.isCurrent()) << i;
  }
}

const Edit kEdits[] = {
    {"links",
     [](Scene& s) {
       auto& top = s.node<JtGroup>();
       auto& part = s.node<VisPartNode>();
       s.node<JtInstance>().setChild(&s.node<JtSwitch>());
       top.insertChild(1, &part);
       top.addChild(jt::make<JtInstance>().get());
       top.removeChild(3);
       s.node<JtSwitch>().removeChild(&part);
     }},
    {"childOfInstance", [](Scene& s) { s.node<JtInstance>().setChild(nullptr); }},
    {"newBranch",
     [](Scene& s) {
       const auto branch = jt::make<JtGroup>();
       branch->addChild(&s.node<VisPartNode>());
       s.node<JtGroup>().addChild(branch.get());
       new JtPartition(branch.get(), true);
     }},
    {"attributes",
     [](Scene& s) {
       auto& top = s.node<JtGroup>();
       top.removeAttribute(3);
       top.replaceAttribute(0, jt::make<JtLineStyle>().get());
       s.node<VisPartNode>().appendAttribute(top.attribute(1));
     }},
    {"properties",
     [](Scene& s) {
       auto& top = s.node<JtGroup>();
       top.deleteProperty(text("first").get());
       top.addProperty(text("third").get(), text("3").get(), false);
       top.addProperty(text("second").get(), text("4").get(), true);
     }},
    {"flags", [](Scene& s) { s.node<VisPartNode>().setIgnored(true); }},
    {"attributeState",
     [](Scene& s) {
       s.attribute<JtXform>().setState(JtAttributeState::ignore, true);
       s.attribute<JtDrawStyle>().setFinal(true);
     }},
    {"material",
     [](Scene& s) {
       auto& material = s.attribute<JtMaterial>();
       material.setAmbientColor(0.1F, 0.2F, 0.3F);
       material.setDiffuseColor(0.2F, 0.4F, 0.6F, 0.8F);
       material.setSpecularColor(0.3F, 0.1F, 0.2F);
       material.setEmissionColor(0.7F, 0.5F, 0.9F);
       material.setShininess(3);
       material.setReflectivity(0.25F);
       material.setBumpiness(2);
       material.setOverrideVertexColors(false);
     }},
    {"materialFields",
     [](Scene& s) {
       const auto from = jt::make<JtMaterial>();
       from->setDiffuseColor(0.9F, 0.8F, 0.7F, 0.6F);
       from->setOverrideVertexColors(false);
       for (const auto field : {JtMaterialField::diffuse, JtMaterialField::alpha,
                                JtMaterialField::blending, JtMaterialField::overrideVertexColors})
         s.attribute<JtMaterial>().takeField(field, *from);
     }},
    {"transform",
     [](Scene& s) {
       jt::Matrix4 matrix = jt::kIdentity;
       matrix[12] = matrix[12] + 7;
       s.attribute<JtXform>().setMatrix(jt::multiply(s.attribute<JtXform>().matrix(), matrix));
     }},
    {"texture",
     [](Scene& s) {
       auto& texture = s.attribute<JtTextureImage>();
       texture.setWrap(jt::TextureWrap::mirror, jt::TextureWrap::clampToEdge);
       texture.setPixels({2, 1, 3, Bytes(6, std::byte{9})}, 3);
     }},
    {"styles",
     [](Scene& s) {
       s.attribute<JtDrawStyle>().set(JtDrawStyle::Flag::flatShading, true);
       s.attribute<JtLineStyle>().setLineType(JtLineType::dot);
       s.attribute<JtLineStyle>().setAntialiased(true);
       s.attribute<JtLineStyle>().setWidth(s.attribute<JtLineStyle>().width() + 3);
       s.attribute<JtPointStyle>().setAntialiased(true);
       s.attribute<JtPointStyle>().setSize(5);
     }},
    {"switchAndLevels",
     [](Scene& s) {
       s.node<JtSwitch>().setSelectedChild(s.node<JtSwitch>().selectedChild() + 1);
       s.node<JtRangeLOD>().setRangeLimits({4, 5, 6});
       s.node<JtRangeLOD>().setCenter({1, 2, 3});
     }},
    {"otherFile",
     [](Scene& s) {
       s.node<JtPartition>().setFileName("new.jt");
       s.node<JtPartition>().setBounds(
           {{1, 2, 3}, {4, 5, static_cast<float>(s.root().numParents() + 6)}});
     }},
    {"form",
     [](Scene& s) {
       s.root().setVersion({9, s.root().version().minor + 5});
       s.root().setShapeEncoding(jt::ShapeEncoding{.positionBits = 12});
     }},
    {"shape",
     [](Scene& s) {
       auto& shape = s.node<JtTriStripSet>();
       shape.setStatistics({{{0, 1, 2}, {3, 5, 8}}, 13, {1, 2}, {3, 4}, {5, 6}});
       shape.setVertexBindings(shape.vertexBindings() + 8);
     }},
    {"mesh", [](Scene& s) { s.node<JtTriStripSet>().setMesh(triangle(4)); }},
    {"noMesh",
     [](Scene& s) {
       s.node<JtTriStripSet>().setMesh(triangle(4));
       s.node<JtTriStripSet>().setMesh(nullptr);
     }},
    {"pmi",
     [](Scene& s) {
       PMIDataManager& pmi = s.pmi();
       const PMITypedID added = pmi.addGenericEntity(entityNamed(pmi, "third"));
       pmi.addAssociation(added, pmi.constructPMITypedID(17, 0), 98);
       pmi.removeGenericEntity(0);
       pmi.editModelView(0)->angle += 5;
       pmi.addModelView(viewAt(60));
       pmi.editGenericEntity(0)->properties[0].value.text = JtString("renamed");
     }},
    {"otherPmi",
     [](Scene& s) {
       const auto pmi = jt::make<PMIDataManager>();
       pmi->merge(s.pmi());
       pmi->removeGenericEntity(1);
       s.node<VisPartNode>().setPMI(pmi.get());
     }},
    {"noPmi", [](Scene& s) { s.node<VisPartNode>().setPMI(nullptr); }},
    {"wires",
     [](Scene& s) {
       s.node<VisPartNode>().wfRep()->addEdge(jt::lineCurve({0, 0, 0}, {3, 1, 2}));
     }},
    {"noWires", [](Scene& s) { s.node<VisPartNode>().setWFRep(nullptr); }},
};
INSTANTIATE_TEST_SUITE_P(Edits, Journal, testing::ValuesIn(kEdits),
                         [](const auto& edit) { return edit.param.name; });

TEST(ChangeJournal, BringsRemovedMetaDataBack) {
  MemoryStorage storage;
  for (const char* name : {"tiny81.jt", "tiny105.jt"}) {
    const auto root = storage.open(testData(name));
    auto* part = jt::as<VisPartNode>(root->child(0)->child(0)->child(0));
    const std::string before = stateOf(*root);
    ASSERT_NE(part->property("LAYER"), nullptr);
    jt::ChangeJournal journal;
    ASSERT_TRUE(journal.start());
    ASSERT_TRUE(part->deleteProperty(text("LAYER").get()));
    journal.stop();
    journal.swap();
    EXPECT_EQ(stateOf(*root), before);
    EXPECT_NE(part->property("LAYER"), nullptr);
    EXPECT_EQ(storage.saved(*root), testData(name));
    journal.swap();
    EXPECT_EQ(part->property("LAYER"), nullptr);
  }
}

TEST(ChangeJournal, ForgetsTextsOfPmiThatWereUndone) {
  const auto pmi = jt::make<PMIDataManager>();
  pmi->stringId("first");
  jt::ChangeJournal journal;
  ASSERT_TRUE(journal.start());
  EXPECT_EQ(pmi->stringId("second"), 1);
  journal.stop();
  journal.swap();
  EXPECT_EQ(pmi->string(1), nullptr);
  EXPECT_FALSE(journal.isCurrent() && pmi->stringId("third") != 1);
  EXPECT_EQ(pmi->stringId("second"), 2);
  EXPECT_FALSE(journal.isCurrent());
}

TEST(ChangeJournal, KeepsTheOrderOfManyParents) {
  const auto part = jt::make<JtNode>();
  std::vector<jt::Ref<JtGroup>> groups;
  for (std::size_t i = 0; i < jt::ParentList::kIndexFrom + 50; ++i) {
    groups.push_back(jt::make<JtGroup>());
    groups.back()->addChild(part.get());
  }
  const auto parents = [&part] {
    std::vector<const JtNode*> all;
    for (int i = 0; i < part->numParents(); ++i) all.push_back(part->parent(i));
    return all;
  };
  const auto before = parents();
  jt::ChangeJournal journal;
  ASSERT_TRUE(journal.start());
  for (std::size_t i = 3; i < groups.size(); i += 2) groups[i]->removeChild(0);
  journal.stop();
  const auto after = parents();
  journal.swap();
  EXPECT_EQ(parents(), before);
  journal.swap();
  EXPECT_EQ(parents(), after);
  journal.swap();
  for (const auto& group : groups) EXPECT_TRUE(group->removeChild(part.get()));
  EXPECT_EQ(part->numParents(), 0);
}

TEST(ChangeJournal, TakesRemovedNodesAsGone) {
  const auto top = jt::make<JtGroup>();
  const auto add = [](JtGroup& parent, JtNode* child) {
    const auto group = jt::Ref<JtNode>(child ? child : new JtGroup);
    parent.addChild(group.get());
    return static_cast<JtGroup*>(group.get());
  };
  JtGroup* const removed = add(*top, nullptr);
  JtGroup* const below = add(*removed, nullptr);
  JtGroup* const held = add(*removed, nullptr);
  JtGroup* const shared = add(*below, nullptr);
  add(*held, shared);
  add(*removed, shared);
  add(*removed, shared);
  add(*top, shared);
  const auto parents = [shared] {
    std::vector<const JtNode*> all;
    for (int i = 0; i < shared->numParents(); ++i) all.push_back(shared->parent(i));
    return all;
  };
  const auto before = parents();
  const jt::Ref<JtNode> holder(held);
  jt::ChangeJournal journal;
  ASSERT_TRUE(journal.start());
  top->removeChild(0);
  EXPECT_EQ(parents(), (std::vector<const JtNode*>{held, top.get()}));
  EXPECT_EQ(held->numParents(), 0);
  EXPECT_EQ(held->child(0), shared);
  journal.stop();
  journal.swap();
  EXPECT_EQ(parents(), before);
  EXPECT_EQ(held->parent(0), removed);
  EXPECT_EQ(removed->numChildren(), 4);
  journal.swap();
  EXPECT_EQ(parents(), (std::vector<const JtNode*>{held, top.get()}));
  EXPECT_EQ(removed->refCount(), 0);
}

TEST(ChangeJournal, RecordsOneThreadAtATimeAndNotWhilePaused) {
  const auto group = jt::make<JtGroup>();
  jt::ChangeJournal outer;
  jt::ChangeJournal inner;
  ASSERT_TRUE(outer.start());
  EXPECT_FALSE(inner.start());
  EXPECT_FALSE(outer.start());
  {
    const jt::ChangeJournal::Pause pause;
    EXPECT_TRUE(inner.start());
    group->setIgnored(true);
    inner.stop();
  }
  EXPECT_TRUE(outer.isEmpty());
  EXPECT_FALSE(inner.isEmpty());
  std::thread([&group] { group->setIgnored(false); }).join();
  EXPECT_TRUE(outer.isEmpty());
  group->appendAttribute(jt::make<JtXform>().get());
  EXPECT_FALSE(outer.isEmpty());
}

TEST(ChangeJournal, LeavesPartFilesOpenThatWereOpenedMeanwhile) {
  Scene scene;
  MemoryStorage storage;
  storage["other.jt"] = testData("tiny95.jt");
  storage["top.jt"] = scene.original();
  const auto root = MemoryStorage::open("top.jt");
  const std::string before = stateOf(*root);
  jt::ChangeJournal journal;
  ASSERT_TRUE(journal.start());
  ASSERT_TRUE(JtPartition::openAllPartitions(root.get(), true));
  const std::string opened = stateOf(*root);
  ASSERT_NE(opened, before);
  auto* holder = jt::as<JtPartition>(root->child(0)->child(1));
  JtPartition* part = holder->externalPartition();
  holder->setFileName("moved.jt");
  part->child(0)->setIgnored(true);
  root->child(0)->addProperty(text("k").get(), text("v").get(), true);
  journal.stop();
  journal.swap();
  EXPECT_EQ(stateOf(*root), opened);
  EXPECT_EQ(holder->externalPartition(), part);
  EXPECT_FALSE(part->isContentModified());
}

TEST(ChangeJournal, UndoesRandomEditsInTurn) {
  const bool holds = rc::check([] {
    const auto numbers = *rc::gen::resize(
        300, rc::gen::container<std::vector<std::uint32_t>>(rc::gen::arbitrary<std::uint32_t>()));
    MemoryStorage storage;
    Choices choices(numbers);
    const auto made = jt::make<JtPartition>();
    {
      Author author(*made, choices);
      for (std::size_t nodes = choices.of(20); nodes > 0; --nodes) author.addNode();
    }
    const Bytes bytes = storage.saved(*made);
    const auto root = storage.open(bytes);
    std::vector<std::unique_ptr<jt::ChangeJournal>> journals;
    std::vector<std::string> states{stateOf(*root)};
    Author author(*root, choices);
    while (choices.any()) {
      auto& journal = *journals.emplace_back(std::make_unique<jt::ChangeJournal>());
      RC_ASSERT(journal.start());
      do author.edit();
      while (!choices.oneIn(3) && choices.any());
      journal.stop();
      states.push_back(stateOf(*root));
    }
    for (int round = 0; round < 2; ++round) {
      for (std::size_t i = journals.size(); i-- > 0;) {
        RC_ASSERT(journals[i]->isCurrent());
        journals[i]->swap();
        RC_ASSERT(stateOf(*root) == states[i]);
      }
      RC_ASSERT(!root->isContentModified());
      RC_ASSERT(storage.saved(*root) == bytes);
      for (std::size_t i = 0; i < journals.size(); ++i) {
        RC_ASSERT(journals[i]->isCurrent());
        journals[i]->swap();
        RC_ASSERT(stateOf(*root) == states[i + 1]);
      }
    }
    for (std::size_t i = journals.size(); i-- > 0;) journals[i]->swap();
    journals.clear();
    RC_ASSERT(stateOf(*root) == states[0]);
  });
  EXPECT_TRUE(holds);
}

}  // namespace
