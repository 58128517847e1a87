#include "ComponentFixture.h"
#include "JtPMI.h"
#include "JtwUtils.h"
#include "VisPartNode.h"

namespace {

class PMIUtils : public ComponentFixture {
 protected:
  /// A part whose PMI has one entity. @param type object type of the entity in the file
  static jt::Ref<VisPartNode> part(const char* name, int type = 0x0100, bool hasLine = false) {
    const auto made = jt::make<VisPartNode>();
    const auto pmi = jt::make<PMIDataManager>();
    jt::PMIGenericEntity entity;
    entity.type = static_cast<std::uint16_t>(type);
    entity.properties.push_back({{JtString("Description")}, {JtString(name)}});
    if (hasLine) {
      entity.lines.indices = {0, 2};
      entity.lines.vertices = {0, 0, 0, 1, 0, 0};
    }
    pmi->addGenericEntity(entity);
    made->setPMI(pmi.get());
    return made;
  }
  static std::size_t entities(JtNode& node) {
    PMIDataManager* pmi = static_cast<VisMetaDataNode&>(node).pmi();
    return pmi ? pmi->pmiDataGenericArray().size() : 0;
  }
};

TEST_F(PMIUtils, MulticadGeometryIsFoundByItsWholeName) {
  EXPECT_TRUE(JtwUtilsDoesPMIContainMulticadGeom(part("Multicad Geometry").get()));
  for (const char* other : {"Multicad Geometry ", "multicad geometry", "Multicad", ""})
    EXPECT_FALSE(JtwUtilsDoesPMIContainMulticadGeom(part(other).get())) << other;
  const auto shown = part("");
  jt::PMIGenericEntity& entity = *shown->pmi()->editGenericEntity(0);
  entity.texts.emplace_back().stringId = shown->pmi()->stringId(JtString("Multicad Geometry"));
  entity.typeNameId = entity.texts[0].stringId;
  EXPECT_FALSE(JtwUtilsDoesPMIContainMulticadGeom(shown.get())) << "a text is no name";
  entity.properties.push_back({{JtString("name")}, {JtString("Multicad Geometry")}});
  EXPECT_TRUE(JtwUtilsDoesPMIContainMulticadGeom(shown.get()));
  EXPECT_FALSE(JtwUtilsDoesPMIContainMulticadGeom(nullptr));
  EXPECT_FALSE(JtwUtilsDoesPMIContainMulticadGeom(jt::make<VisPartNode>().get()));
  EXPECT_FALSE(JtwUtilsDoesPMIContainMulticadGeom(jt::make<JtGroup>().get()));
}

TEST_F(PMIUtils, GraphicPMIAreAnnotationsWithSomethingToDraw) {
  const struct {
    int type;
    bool hasLine;
    bool isGraphic;
  } cases[] = {{0x0100, true, true},  {0x0100, false, false}, {0x0082, true, true},
               {0x0104, true, false}, {0x0310, true, false},  {0x030c, true, false}};
  for (const auto& [type, hasLine, isGraphic] : cases)
    EXPECT_EQ(JtwUtilsDoesPMIContatinGraphicPMI(part("a", type, hasLine).get()), isGraphic)
        << type << hasLine;
  const auto text = part("a");
  jt::PMIGenericEntity& entity = *text->pmi()->editGenericEntity(0);
  entity.texts.emplace_back().stringId = text->pmi()->stringId(JtString("50"));
  EXPECT_TRUE(JtwUtilsDoesPMIContatinGraphicPMI(text.get()));
  EXPECT_FALSE(JtwUtilsDoesPMIContatinGraphicPMI(nullptr));
}

TEST_F(PMIUtils, PMIOfPartsMovesToTheParentAndIsSaved) {
  JtwBlock& holder = block(2);
  JtwEntity& node = entity(3, 2);
  const auto first = part("first");
  const auto second = part("second");
  for (const auto& each : {first, second}) {
    EXPECT_TRUE(JtwUtilsMovePMIFromNodeToParent(&node, each.get()));
    EXPECT_EQ(entities(*each), 0U);
  }
  ASSERT_EQ(entities(*holder.jtNode()), 2U) << jt::lastError();
  JtwRoot& again = reopened();
  JtwNode* saved = nullptr;
  again.getNodeByKey(key(2), saved);
  ASSERT_NE(saved, nullptr);
  ASSERT_EQ(entities(*saved->jtNode()), 2U) << jt::lastError();
}

TEST_F(PMIUtils, PMIWithoutAParentIsTakenAway) {
  const auto lonely = part("lonely");
  EXPECT_TRUE(JtwUtilsMovePMIFromNodeToParent(nullptr, lonely.get()));
  EXPECT_EQ(lonely->pmi(), nullptr);
  EXPECT_TRUE(JtwUtilsMovePMIFromNodeToParent(nullptr, nullptr));
}

}  // namespace
