// Colors and names of the wires of an entity.

#include "ComponentFixture.h"
#include "JtkCADImporter.h"
#include "JtkwWireframePropReader.h"
#include "VisPartNode.h"

namespace {

class Wires : public ComponentFixture {
 protected:
  static VisPartNode& partOf(JtwEntity& entity) { return *jt::as<VisPartNode>(entity.jtNode()); }
  static void addWires(VisPartNode& part, int count) {
    const auto wires = jt::make<JtWireframeRep>();
    for (int i = 0; i < count; ++i) wires->addEdge(jt::lineCurve({0, 0, 0}, {1, 2, 3.0 + i}));
    part.setWFRep(wires.get());
  }
  static void addWire(JtkBrep& brep, int id, const char* name, const jt::Rgba* diffuse) {
    const auto wire = jt::make<JtkWire>(id);
    wire->setName(JtString(name));
    if (diffuse) {
      const auto material = jt::make<JtkMaterial>();
      material->setDiffuseColor(*diffuse);
      wire->setMaterial(material.get());
    }
    brep.addWire(wire.get());
  }

  JtwEntity& entity_ = entity(3);
  VisPartNode& part_ = partOf(entity_);
  JtkwWireframePropReader reader_;
};

TEST_F(Wires, HaveTheColorOfTheEntityElseGray) {
  EXPECT_FALSE(reader_.execute(&entity_, nullptr));
  EXPECT_FALSE(reader_.execute(&entity_, &part_)) << "no wireframe";
  addWires(part_, 0);
  EXPECT_FALSE(reader_.execute(&entity_, &part_)) << "no wire in it";
  addWires(part_, 2);
  for (JtwEntity* each : {&entity_, static_cast<JtwEntity*>(nullptr)}) {
    EXPECT_TRUE(reader_.execute(each, &part_)) << jt::lastError();
    for (const int id : {0, 1, 77}) {
      EXPECT_EQ(reader_.getColor(id), ApiGraColor(204, 204, 204));
      EXPECT_EQ(reader_.getName(id), L"");
    }
  }
  const ApiGraColor own(10, 200, 30, 0.5F);
  entity_.setColor(own, false, true);
  EXPECT_TRUE(reader_.execute(&entity_, &part_));
  for (const int id : {0, 1, 77}) EXPECT_EQ(reader_.getColor(id), own);
}

TEST_F(Wires, HaveTheirOwnMaterialAndNameByTheirId) {
  addWires(part_, 2);
  ASSERT_TRUE(reader_.execute(&entity_, &part_));
  jt::Ref<JtkBrep> brep;
  ASSERT_EQ(JtkCADImporter().importWFRep(&part_, brep), 1);
  EXPECT_EQ(brep->numEntities(JtkEntity::WIRE), 2);
  EXPECT_EQ(brep->numEntities(JtkEntity::PART), 0);
  EXPECT_TRUE(brep->entity(JtkEntity::WIRE, 1)->isOfType(JtkEntity::WIRE));
  EXPECT_EQ(brep->entity(JtkEntity::WIRE, 2), nullptr);
  const jt::Rgba red{1, 0, 0.2F, 1};
  const jt::Rgba green{0, 0.4F, 0.6F, 0.25F};
  addWire(*brep, 5, "first", &red);
  addWire(*brep, 7, "", &red);
  addWire(*brep, 5, "größer", &green);
  reader_.fillJtkWireMap(brep.get());
  const JtkwWireframePropReader copy(reader_);
  for (JtkwWireframePropReader reader : {copy, reader_}) {
    EXPECT_EQ(reader.getColor(5), ApiGraColor(0, 102, 153, 0.25F)) << "the last one counts";
    EXPECT_EQ(reader.getName(5), L"größer");
    EXPECT_EQ(reader.getColor(7), ApiGraColor(255, 0, 51));
    EXPECT_EQ(reader.getName(7), L"");
    EXPECT_EQ(reader.getColor(1), ApiGraColor(204, 204, 204));
  }
  reader_.fillJtkWireMap(nullptr);
  EXPECT_EQ(reader_.getName(5), L"");
}

TEST_F(Wires, ReadingThemTakesMulticadGeometryAway) {
  addWires(part_, 1);
  const auto pmi = jt::make<PMIDataManager>();
  for (const char* name : {"first", "Multicad Geometry", "Multicad Geometry 2", "last"}) {
    jt::PMIGenericEntity made;
    made.type = 0x0100;
    made.properties.push_back({{JtString("Description")}, {JtString(name)}});
    pmi->addGenericEntity(made);
  }
  part_.setPMI(pmi.get());
  ASSERT_TRUE(jtw::loadWrappers(root_));  // gathers the annotations
  ASSERT_EQ(root_.PMIs().size(), 4U);
  ASSERT_TRUE(reader_.execute(&entity_, &part_));
  ASSERT_EQ(part_.pmi()->pmiDataGenericArray().size(), 3U);
  ASSERT_EQ(root_.PMIs().size(), 3U);
  for (std::size_t i = 0; i < 3; ++i) {
    JtwPMI& left = *root_.PMIs()[i];
    EXPECT_EQ(left.id(), static_cast<int>(i));
    const PMIEntity entity =
        part_.pmi()->pmiEntity(PMIDataManager::constructPMITypedID(18, left.id()));
    EXPECT_EQ(left.name(), entity.name().toWide());
  }
  EXPECT_EQ(entity_.gatheredPMIs(), 3U);
  PMIDataManager* const cleaned = part_.pmi();
  reader_.removeMulticadPMI(&part_);
  EXPECT_EQ(part_.pmi(), cleaned) << "without such geometry nothing is touched";
  reader_.removeMulticadPMI(nullptr);
}

}  // namespace
