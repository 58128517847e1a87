// The export through the toolkit: what becomes of a hierarchy, and of the scene graphs behind it.

#include <filesystem>
#include <iterator>
#include <set>
#include <utility>

#include "ApiClock.h"
#include "ApiErrStream.h"
#include "ExportFixture.h"
#include "JtAssembly.h"
#include "JtInstance.h"
#include "JtLOD.h"
#include "JtkEntityFactory.h"
#include "JtkMaterial.h"
#include "JtkPart.h"
#include "JtkXTEntityFactory.h"
#include "JtkwPMIFrameData.h"

namespace {

namespace fs = std::filesystem;

TEST_F(ToolkitExport, WritesTheHierarchyInOneFileAndInPartFilesOfEveryVersion) {
  const char* const versions[] = {"8.2", "9.5", "10.0", "10.2", "10.0"};
  for (const int format : {kOneFile, kPartFiles}) {
    for (std::uint32_t version = 0; version < std::size(versions); ++version) {
      const std::string path = pathOf("cell" + std::to_string(version) + ".jt");
      JtkwExportRoot root;
      ASSERT_TRUE(root.initializeJtkRoot(ApiKey(1), L"cell.jt", path));
      ASSERT_TRUE(root.createAssemblyNode(ApiKey(2), ApiKey(1), L"Arm",
                                          RTTran3D::fromTranslation({10, 0, 0})));
      ASSERT_TRUE(root.setMeasurementUnitRatio(ApiKey(2), 1e6F));  // kilometres are called metres
      const auto node = part("source", 3);
      setText(*node, "KrGmProtoKey", "secret");
      auto bolt = data(L"bölt", node.get(), 3);
      bolt.setRelLoc(RTTran3D::fromTranslation({0, 100, 0}));
      bolt.setInstanceColor({255, 0, 51});
      ASSERT_TRUE(root.createEntityNode(ApiKey(2), bolt));
      ASSERT_TRUE(root.setLayer(ApiKey(3), 7));
      ASSERT_TRUE(root.setCadSource() && root.setReleaseVersion() && root.setTranslationDate());
      ASSERT_TRUE(write(root, format, version)) << jt::lastError();
      EXPECT_FALSE(write(root, format)) << "a root is written once";

      const auto top = reopened(path);
      EXPECT_EQ(top->version().text(), versions[version]);
      EXPECT_EQ(extent(*top), "(10 100 0)-(13 106 4)");
      auto* cell = find<VisMetaDataNode>(*top, format == kPartFiles ? "cell" : "cell.jt");
      ASSERT_TRUE(cell);
      EXPECT_EQ(text(*cell, "CadSource"), "KrJtExport");
      EXPECT_EQ(text(*cell, "KrVersion"), "1.0");
      auto* written = find<VisPartNode>(*top, "bölt");
      auto* arm = find<VisMetaDataNode>(*top, "Arm");
      ASSERT_TRUE(written && arm);
      EXPECT_EQ(text(*arm, Jt::jtPropMeasurementUnits), "Meters");
      EXPECT_EQ(text(*written, "Layer"), "7");
      EXPECT_EQ(text(*written, Jt::jtPropMeasurementUnits), "Millimeters");
      for (const char* hidden : {"JtNodeAddress", "JtNodeAddressLHS", "KrGmProtoKey"})
        EXPECT_FALSE(written->property(JtString(hidden))) << hidden;
      jt::visitDrawnShapes(*top, {}, [&](const jt::DrawnShape& drawn) {
        EXPECT_EQ(drawn.material->diffuse(), (jt::Rgba{1, 0, 0.2F, 1}));
        EXPECT_TRUE(drawn.material->isFinal() && drawn.material->overrideVertexColors());
        return true;
      });
      EXPECT_EQ(jt::partFilesOf(*top).size(), format == kPartFiles ? 1U : 0U);
      EXPECT_EQ(root.report().triangles, 2U);
      EXPECT_EQ(node->refCount(), 1);
    }
  }
}

TEST_F(ToolkitExport, KeepsTheOrdersAndQuirksOfRootOperations) {
  JtkwExportRoot root;
  bool empty = true;
  root.isRootEmpty(empty);
  EXPECT_FALSE(empty || root.setCadSource());
  ASSERT_TRUE(root.initializeJtkRoot(ApiKey(1), L"ab", pathOf("sub/a.jt")));
  root.isRootEmpty(empty);
  EXPECT_TRUE(empty);
  JtkHierarchy* top = root.jtkRoot();
  EXPECT_TRUE(root.createAssemblyNode(ApiKey(5), ApiKey(0), L"loose", RTTran3D::unit));
  EXPECT_EQ(root.jtkRoot(), top);
  EXPECT_FALSE(root.createAssemblyNode(ApiKey(6), ApiKey(99), L"lost", RTTran3D::unit));
  JtkHierarchy* node = nullptr;
  EXPECT_TRUE(root.getNodeByKey(ApiKey(6), node));
  EXPECT_EQ(node->numAttributes(), 0) << "the identity adds no transform";
  // A key that is used again is that of the later node.
  EXPECT_TRUE(root.createAssemblyNode(ApiKey(7), ApiKey(1), L"first", RTTran3D::unit));
  EXPECT_TRUE(root.createAssemblyNode(ApiKey(7), ApiKey(1), L"second", RTTran3D::unit));
  EXPECT_TRUE(root.getNodeByKey(ApiKey(7), node) && node->name() == JtString("second"));
  EXPECT_FALSE(root.setLayer(ApiKey(99), 1) || root.setMeasurementUnitRatio(ApiKey(99), 1));

  const struct {
    float ratio;
    int code;
  } units[] = {{0.1F, 1},  {1, 2},      {10, 3},     {100, 4},      {1000, 5}, {1e6F, 5},
               {25.4F, 6}, {304.8F, 8}, {914.4F, 9}, {1609344, 10}, {2, 0}};
  for (const auto& [ratio, code] : units) {
    ASSERT_TRUE(root.setMeasurementUnitRatio(ApiKey(1), ratio));
    EXPECT_EQ(top->units(), code);
    EXPECT_EQ(JtkXTEntityFactory::units(), code);
  }
  // Of three materials every second is removed before a new one is added.
  for (int i = 0; i < 3; ++i) {
    const jt::Ref<JtkMaterial> material(JtkEntityFactory::createMaterial());
    material->setShininess(static_cast<float>(i));
    top->addAttribute(material.get());
  }
  root.setColor(ApiKey(1), {1, 2, 3}, true, true);
  ASSERT_EQ(top->numAttributes(JtkEntity::MATERIAL), 2);
  EXPECT_EQ(static_cast<JtkMaterial*>(top->attribute(JtkEntity::MATERIAL, 0))->shininess(), 1);
  auto* added = static_cast<JtkMaterial*>(top->attribute(JtkEntity::MATERIAL, 1));
  EXPECT_TRUE(added->jtMaterial()->hasState(JtAttributeState::force));
  EXPECT_EQ(added->state(), JtkMaterial::FINAL);

  EXPECT_EQ(root.getFileName(), "a.jt");
  ApiSysFileName moved("x/inner");
  EXPECT_TRUE(root.updateRelativeLocation(moved));
  EXPECT_EQ(root.getFileName(), "a.jt");
  EXPECT_EQ(top->fileName().stringToMbs(), "inner/a.jt");
  JtkwExportRoot bare;
  bare.initializeJtkRoot(ApiKey(1), L"x", "cell.jt");
  EXPECT_EQ(bare.getFileName(), "cell.jt");
  const fs::path before = fs::current_path();
  fs::current_path(folder_.path());
  EXPECT_TRUE(write(bare, kPartFiles)) << jt::lastError();
  fs::current_path(before);
  EXPECT_TRUE(fs::exists(pathOf("cell.jt")));
}

TEST_F(ToolkitExport, StampsTheLocalTimeWithoutPadding) {
  struct Clock : ApiClockSource {
    ApiClockTime utc() override { return {1999, 1, 1, 0, 0, 0, 0}; }
    ApiClockTime local() override { return {2024, 3, 5, 9, 5, 0, 0}; }
    void sleepMs(unsigned) override {}
  };
  const auto before = ApiClock::setSource(std::make_shared<Clock>());
  JtkwExportRoot root;
  root.initializeJtkRoot(ApiKey(1), L"x", "x.jt");
  EXPECT_TRUE(root.setTranslationDate());
  ApiClock::setSource(before);
  EXPECT_EQ(root.jtkRoot()->property(JtString("TranslationDate"))->stringValue(),
            JtString("5/3/2024, 9:5"));
}

TEST_F(ToolkitExport, RenamesTheRootForPartFilesWhateverItIsCalled) {
  for (const auto& [name, renamed] : {std::pair{L"cell", "c"}, {L"ab", ""}, {L"abc", ""}}) {
    JtkwExportRoot root;
    root.initializeJtkRoot(ApiKey(1), name, pathOf("out.jt"));
    ASSERT_TRUE(write(root, kPartFiles)) << jt::lastError();
    const auto top = reopened(pathOf("out.jt"));
    EXPECT_EQ(Jt::name(top->child(0)).stringToMbs(), renamed);
  }
}

TEST_F(ToolkitExport, CountsPartsAcrossExportsAndReportsNodesThatAreNoParts) {
  int number = 0;
  for (int round = 0; round < 2; ++round) {
    JtkwExportRoot root;
    root.initializeJtkRoot(ApiKey(1), L"x", pathOf("count.jt"));
    const auto a = part("a", 1);
    const auto b = jt::make<VisMetaDataNode>();
    root.createEntityNode(ApiKey(1), data(L"none", nullptr));
    root.createEntityNode(ApiKey(1), data(L"a", a.get()));
    root.createEntityNode(ApiKey(1), data(L"wrong", b.get()));
    ApiErrStream::clearRecent();
    ASSERT_TRUE(write(root, kOneFile)) << jt::lastError();
    ASSERT_EQ(ApiErrStream::recent().size(), 1U);
    EXPECT_EQ(ApiErrStream::recent()[0].code, "JTEXPORT_JtkPART_EXPORT_FAILED");
    EXPECT_EQ(ApiErrStream::recent()[0].arguments.at(0), "wrong");
    int first = 0;
    int second = 0;
    ASSERT_EQ(std::sscanf(Jt::name(a.get()).stringToMbs().c_str(), "e%d.part;;:", &first), 1);
    ASSERT_EQ(std::sscanf(Jt::name(b.get()).stringToMbs().c_str(), "e%d.part;;:", &second), 1);
    EXPECT_EQ(second, first + 1);
    EXPECT_TRUE(round == 0 || first == number + 1);
    number = second;
    EXPECT_EQ(reopened(pathOf("count.jt"))->child(0)->numChildren(), 3);
  }
}

TEST_F(ToolkitExport, DoesNotFollowAddressesThatItDidNotStore) {
  JtkwComponentExportRoot root;
  const auto node = part("foreign", 1);
  for (const char* key : {"JtNodeAddress", "JtNodeAddressLHS"})
    node->addProperty(JtString(key), jt::make<JtInt32PropAtom>(0x1234).get(), true);
  root.initImporter();
  ASSERT_TRUE(root.importHierarchy(ApiKey(1), ApiKey(0), node.get()));
  root.initializeJtkRoot(ApiKey(1), L"", pathOf("address.jt"));
  ASSERT_TRUE(write(root, kOneFile)) << jt::lastError();
  root.deleteImporter();
  EXPECT_EQ(extent(*reopened(pathOf("address.jt"))), "(0 0 0)-(1 2 2)");

  JtkwExportRoot forged;
  forged.initializeJtkRoot(ApiKey(1), L"x", pathOf("forged.jt"));
  const jt::Ref<JtkPart> shell(JtkEntityFactory::createPart("p", 0, 0));
  shell->addProperty(JtkEntityFactory::createProperty(JtString("JtNodeAddress"), 0x4444));
  shell->ref();
  ASSERT_TRUE(forged.attachToHierarchy(ApiKey(1), shell.get()));
  EXPECT_TRUE(write(forged, kOneFile)) << jt::lastError();
}

TEST_F(ToolkitExport, ImportsComponentsWithNamesUnitsInstancesAndLevels) {
  const auto assembly = jt::make<VisMetaDataNode>();
  setText(*assembly, Jt::jtPropName, "cell");
  setText(*assembly, Jt::jtPropMeasurementUnits, "Inches");
  auto& kept = add<VisPartNode>(*assembly, "bolt.part;1;0:");
  const auto levels = jt::make<JtRangeLOD>();
  levels->addChild(jt::makeShape(triangles(1, 5)).get());
  levels->addChild(jt::makeShape(triangles(1, 3)).get());
  kept.addChild(levels.get());
  const auto unnamed = part("", 2);
  assembly->addChild(unnamed.get());
  const auto below = part("", 1);
  const auto instance = jt::make<JtInstance>();
  setText(*instance, Jt::jtPropName, "left");
  jt::Matrix4 place = jt::kIdentity;
  place[12] = 100;
  instance->appendAttribute(jt::make<JtXform>(place).get());
  instance->setChild(below.get());
  assembly->addChild(instance.get());

  JtkwComponentExportRoot root;
  EXPECT_FALSE(root.importHierarchy(ApiKey(1), ApiKey(0), assembly.get()));
  root.initImporter();
  root.initializeJtkRoot(ApiKey(9), L"top.jt", pathOf("import.jt"));
  ASSERT_TRUE(root.importHierarchy(ApiKey(9), ApiKey(9), assembly.get()));
  JtkHierarchy* node = nullptr;
  EXPECT_TRUE(root.getNodeByKey(ApiKey(9), node) && node == root.jtkRoot());
  EXPECT_EQ(Jt::name(assembly.get()).stringToMbs(), "cell.asm;;:");
  EXPECT_EQ(Jt::name(&kept).stringToMbs(), "bolt.part;1;0:");
  EXPECT_EQ(Jt::name(unnamed.get()).stringToMbs(), "entity1");
  EXPECT_TRUE(Jt::name(below.get()).isEmpty());
  ASSERT_TRUE(write(root, kOneFile)) << jt::lastError();
  root.deleteImporter();

  const auto top = reopened(pathOf("import.jt"));
  EXPECT_EQ(extent(*top), "(0 0 0)-(2565.4 101.6 127)");
  auto* written = find<VisPartNode>(*top, "bolt.part;1;0:");
  ASSERT_TRUE(written && find<VisMetaDataNode>(*top, "cell") && find<JtInstance>(*top, "left"));
  ASSERT_EQ(written->child(0)->numChildren(), 2) << "levels of detail";
  EXPECT_EQ(jt::as<JtShape>(written->child(0)->child(0))->mesh()->primitiveCount(), 5U);
  EXPECT_EQ(root.report().triangles, 9U);
}

TEST_F(ToolkitExport, GivesPartFilesSafeNamesAndReplacesAnOlderExportAsAWhole) {
  const std::string path = pathOf("safe.jt");
  const auto filesNow = [&] {
    std::set<fs::path> names;
    for (const auto& entry : fs::directory_iterator(pathOf("safe")))
      names.insert(entry.path().filename());
    return names;
  };
  const wchar_t* const names[] = {L"../up", L"a/b",  L"a\\b", L"CON",
                                  L"",      L"Gear", L"gear", L"gear"};
  for (int round = 0; round < 3; ++round) {
    JtkwExportRoot root;
    root.initializeJtkRoot(ApiKey(1), L"safe.jt", path);
    std::vector<jt::Ref<VisPartNode>> nodes;
    for (const wchar_t* name : names) {
      nodes.push_back(part("n", static_cast<float>(nodes.size() + 1)));
      root.createEntityNode(ApiKey(1), data(name, nodes.back().get()));
    }
    ASSERT_TRUE(write(root, kPartFiles)) << jt::lastError();
    EXPECT_EQ(extent(*reopened(path)), "(0 0 0)-(8 16 9)");
    EXPECT_EQ(filesNow().size(), std::size(names)) << "older part files are gone";
  }
  const auto before = filesNow();
  EXPECT_TRUE(before.contains("_up.jt") || before.contains("_up (2).jt"));
  // A failure at the last file leaves the older export.
  fs::permissions(path, fs::perms::owner_read);
  JtkwExportRoot root;
  const auto node = part("n", 1);
  root.initializeJtkRoot(ApiKey(1), L"safe.jt", path);
  root.createEntityNode(ApiKey(1), data(L"new", node.get()));
  EXPECT_FALSE(write(root, kPartFiles));
  EXPECT_EQ(root.errorCode(), "read_only");
  EXPECT_EQ(filesNow(), before);
  EXPECT_EQ(extent(*reopened(path)), "(0 0 0)-(8 16 9)");
  EXPECT_EQ(node->refCount(), 1) << "a failed write keeps no node";
  // Nothing else is left beside the target.
  EXPECT_EQ(folder_.names(), (std::set<std::string>{"safe", "safe.jt"}));
}

TEST_F(ToolkitExport, RefusesASecondWriteInsideTheFirst) {
  JtkwExportRoot inner;
  inner.initializeJtkRoot(ApiKey(1), L"inner", pathOf("inner.jt"));
  JtkwExportRoot outer;
  const auto node = part("a", 1);
  outer.initializeJtkRoot(ApiKey(1), L"outer", pathOf("outer.jt"));
  outer.createEntityNode(ApiKey(1), data(L"a", node.get()));
  int refused = 0;
  outer.setWriteOptions({.dryRun = false,
                         .progress =
                             [&](const jtk::ExportProgress&) {
                               if (!write(inner, kOneFile)) ++refused;
                             },
                         .shapeEncoding = {}});
  EXPECT_TRUE(write(outer, kOneFile)) << jt::lastError();
  EXPECT_EQ(refused, 1);
  EXPECT_TRUE(write(inner, kOneFile)) << "a refusal takes nothing: " << jt::lastError();
}

TEST_F(ToolkitExport, WritesPMIOfAssembliesOnly) {
  JtkwExportRoot root;
  const auto node = part("a", 1);
  root.initializeJtkRoot(ApiKey(1), L"x", pathOf("pmi.jt"));
  root.createEntityNode(ApiKey(1), data(L"a", node.get(), 2));
  JtkwPMIFrameData frame;
  EXPECT_TRUE(root.createPMIData(NwObj::COORDINATE_SYSTEM, ApiKey(1), frame));
  EXPECT_TRUE(root.createPMIData(NwObj::COORDINATE_SYSTEM, ApiKey(2), frame));
  EXPECT_FALSE(root.createPMIData(NwObj::COORDINATE_SYSTEM, ApiKey(3), frame));
  ASSERT_TRUE(write(root, kOneFile)) << jt::lastError();
  const auto top = reopened(pathOf("pmi.jt"));
  auto* written = find<VisMetaDataNode>(*top, "x");
  ASSERT_TRUE(written && written->pmi());
  EXPECT_EQ(written->pmi()->pmiDataGenericArray().size(), 1U);
  EXPECT_FALSE(find<VisPartNode>(*top, "a")->pmi());
}

TEST_F(ToolkitExport, RefusesFileNamesThatLeaveTheFolder) {
  for (const char* name : {"../x.jt", "a/b/x.jt", "..", "a/../x.jt"}) {
    JtkwExportRoot root;
    root.initializeJtkRoot(ApiKey(1), L"x", pathOf("x.jt"));
    root.jtkRoot()->setFileName(JtString(name));
    EXPECT_FALSE(write(root, kOneFile)) << name;
    EXPECT_EQ(root.errorCode(), "bad_file_name");
  }
}

TEST_F(ToolkitExport, ConvertsNativeUnitsInPlaceWhereTheTypeIsZero) {
  for (const int type : {0, 1}) {
    const auto assembly = jt::make<VisMetaDataNode>();
    assembly->addProperty(JtString("KrObjType"), jt::make<JtInt32PropAtom>(type).get(), true);
    const auto node = part("a", 2);
    setText(*node, Jt::jtPropMeasurementUnits, "Centimeters");
    assembly->addChild(node.get());
    JtkwExportRoot().translateMeasurementUnitsForUnitedNativeJT(node.get());
    const auto* shape = jt::as<JtShape>(node->child(0));
    EXPECT_EQ(shape->mesh()->positions[1][0], type == 0 ? 20.0F : 2.0F);
    EXPECT_EQ(text(*node, Jt::jtPropMeasurementUnits), type == 0 ? "Millimeters" : "Centimeters");
  }
}

}  // namespace
