// The export through the toolkit: what becomes of a hierarchy, and of the scene graphs behind it.

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <set>
#include <utility>

#include "ApiClock.h"
#include "ApiErrStream.h"
#include "ApiGraMaterial.h"
#include "FileSizeLimit.h"
#include "JtAssembly.h"
#include "JtBaseDataStream.h"
#include "JtDrawing.h"
#include "JtExportRoot.h"
#include "JtInstance.h"
#include "JtLOD.h"
#include "JtMesh.h"
#include "JtPathAttributes.h"
#include "JtTexture.h"
#include "JtkAssembly.h"
#include "JtkEntityFactory.h"
#include "JtkMaterial.h"
#include "JtkPart.h"
#include "JtkXTEntityFactory.h"
#include "JtkwComponentExportRoot.h"
#include "JtkwEntityCreationData.h"
#include "JtkwPMIFrameData.h"
#include "RegistryFixture.h"

namespace {

namespace fs = std::filesystem;

class ToolkitExport : public RegistryFixture {
 protected:
  static std::shared_ptr<const jt::Mesh> triangles(float size, int count = 2) {
    auto mesh = std::make_shared<jt::Mesh>();
    for (int i = 0; i < count; ++i) {
      const auto first = static_cast<std::uint32_t>(mesh->positions.size());
      const auto z = static_cast<float>(i);
      mesh->positions.insert(mesh->positions.end(),
                             {{0, 0, z}, {size, 0, z}, {0, 2 * size, z + size}});
      mesh->corners.insert(mesh->corners.end(), {first, first + 1, first + 2});
    }
    return mesh;
  }
  static jt::Ref<VisPartNode> part(const char* name, float size, int count = 2) {
    const auto node = jt::make<VisPartNode>();
    if (*name) setText(*node, Jt::jtPropName, name);
    node->addChild(jt::makeShape(triangles(size, count)).get());
    return node;
  }
  static JtkwEntityCreationData data(const wchar_t* name, JtNode* node, long key = 0) {
    JtkwEntityCreationData made(key != 0, ApiKey(key), node);
    made.setDisplayName(name);
    return made;
  }
  std::string pathOf(const std::string& name) const { return folder_.at(name); }
  jt::Ref<JtPartition> reopened(const std::string& path) const {
    const auto place = jt::make<JtFSStorageLocation>(JtString(), JtString(path));
    JtPartition* raw = nullptr;
    JtPartition::openPartition(place.get(), nullptr, raw);
    auto top = jt::Ref<JtPartition>::adopt(raw);
    EXPECT_TRUE(JtPartition::openAllPartitions(raw, true)) << jt::lastError();
    return top;
  }
  /// "(0 0 0)-(3 6 5)" of everything that is drawn.
  static std::string extent(JtPartition& top) {
    jt::Box box;
    jt::visitDrawnShapes(top, {}, [&](const jt::DrawnShape& drawn) {
      for (const jt::Vec3f& p : drawn.shape->mesh()->positions)
        for (std::size_t axis = 0; axis < 3; ++axis) {
          const jt::Matrix4& m = *drawn.toRoot;
          const auto value =
              static_cast<float>(double(p[0]) * m[axis] + double(p[1]) * m[4 + axis] +
                                 double(p[2]) * m[8 + axis] + m[12 + axis]);
          box.min[axis] = std::min(box.min[axis], value);
          box.max[axis] = std::max(box.max[axis], value);
        }
      return true;
    });
    char text[200];
    std::snprintf(text, sizeof text, "(%g %g %g)-(%g %g %g)", double(box.min[0]),
                  double(box.min[1]), double(box.min[2]), double(box.max[0]), double(box.max[1]),
                  double(box.max[2]));
    return text;
  }
  template <class Node>
  static Node* find(JtNode& top, const std::string& name) {
    std::vector<JtNode*> open{&top};
    for (std::size_t i = 0; i < open.size(); ++i) {
      auto* node = jt::as<Node>(open[i]);
      if (node && Jt::name(node) == JtString(name)) return node;
      for (int c = 0; c < open[i]->numChildren(); ++c) open.push_back(open[i]->child(c));
    }
    return nullptr;
  }
  static bool write(JtkwExportRoot& root, int format,
                    std::uint32_t version = ApiApproxJtExportData::NO_VERSION) {
    ApiApproxJtExportData wishes;
    wishes.setTargetJtFormat(format);
    wishes.setJtVersion(version);
    return root.write(wishes);
  }
  static bool writeExact(JtkwExportRoot& root, int format, std::uint32_t version, bool isExact) {
    ApiApproxJtExportData wishes;
    wishes.setTargetJtFormat(format);
    wishes.setJtVersion(version);
    wishes.setIncludeExactGeom(isExact);
    return root.write(wishes);
  }
};

constexpr int kPartFiles = 0;
constexpr int kOneFile = 1;

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

TEST_F(ToolkitExport, StoresTheGeometryOfASharedNodeOnce) {
  constexpr int kParts = 3;
  constexpr int kPlaces = 60;
  for (const int format : {kOneFile, kPartFiles}) {
    JtkwExportRoot root;
    std::vector<jt::Ref<VisPartNode>> nodes;
    for (int i = 0; i < kParts; ++i) nodes.push_back(part("gear", static_cast<float>(3 + i), 500));
    root.initializeJtkRoot(ApiKey(1), L"many.jt", pathOf("many.jt"));
    for (int i = 0; i < kParts * kPlaces; ++i) {
      auto entity = data(L"gear", nodes[static_cast<std::size_t>(i % kParts)].get());
      entity.setRelLoc(RTTran3D::fromTranslation({double(i), 0, 0}));
      root.createEntityNode(ApiKey(1), entity);
    }
    ASSERT_TRUE(write(root, format)) << jt::lastError();
    EXPECT_EQ(root.report().triangles, 500U * kParts * kPlaces);
    const auto top = reopened(pathOf("many.jt"));
    EXPECT_EQ(extent(*top), "(0 0 0)-(184 10 504)");
    std::set<const void*> meshes;
    int drawn = 0;
    jt::visitDrawnShapes(*top, {}, [&](const jt::DrawnShape& shape) {
      meshes.insert(shape.shape->mesh().get());
      return ++drawn > 0;
    });
    EXPECT_EQ(drawn, kParts * kPlaces);
    EXPECT_EQ(meshes.size(), std::size_t{kParts});
    EXPECT_EQ(jt::partFilesOf(*top).size(), format == kPartFiles ? kParts : 0U);
  }
}

TEST_F(ToolkitExport, GivesPartFilesSafeNamesAndReplacesAnOlderExportAsAWhole) {
  const std::string path = pathOf("safe.jt");
  const auto filesNow = [&] {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(pathOf("safe")))
      names.insert(entry.path().filename().string());
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
  for (const auto& entry : fs::directory_iterator(folder_.path()))
    EXPECT_NE(entry.path().filename().string()[0], '.') << entry.path();
}

/// A segment with an element of a type that no reader knows the content of.
struct Body : JtBase {
  Body(const char* elementType, std::vector<std::byte> content)
      : type("Body", JtBase::classTypeID(), *JtGuid::parse(elementType)),
        bytes(std::move(content)) {}
  const JtType* typeID() const override { return &type; }
  bool serialize(JtBaseDataStream& stream) const override { return stream.writeRaw(bytes); }
  JtType type;
  std::vector<std::byte> bytes;
};

void addSegment(JtNode& node, const char* key, int segmentType, const char* elementType,
                std::vector<std::byte> bytes) {
  const jt::Ref<JtBase> body(new Body(elementType, std::move(bytes)));
  node.addProperty(jt::make<JtStringPropAtom>(JtString(key)).get(),
                   jt::make<JtLateLoadedPropAtom>(body, segmentType).get(), true);
}

constexpr const char* kXtKey = "JT_LLPROP_XTBREP";
constexpr const char* kPoolKey = "JT_LLPROP_MULTIXTBREP";
constexpr const char* kXtType = "873a70e0-2ac9-11d1-9b6b-0080c7bb5997";
constexpr const char* kPoolType = "49829521-1835-49c3-8bef-ddc43bfe5e88";
constexpr auto kLost = "JTEXPORT_EXACT_GEOMETRY_LEFT_OUT";

/// A 9.5 file of a part with exact geometry.
void writeSolid(const jt::Ref<VisPartNode>& part, const std::string& path) {
  const auto made = jt::make<JtPartition>();
  made->setVersion({9, 5});
  addSegment(*part, kXtKey, 17, "4a540000-0001-0002-0000-000000000000", {std::byte{7}});
  made->addChild(part.get());
  made->save(jt::make<JtFSStorageLocation>(JtString(), JtString(path)).get());
}

TEST_F(ToolkitExport, PartitionExportsReportExactGeometryThatTheyLose) {
  writeSolid(part("solid", 3), pathOf("solid.jt"));
  const auto source = reopened(pathOf("solid.jt"));
  JtExportRoot& root = *registry().computeNewExportRoot(documentAt(folder_.at("gear.kpak")));
  root.partition()->addChild(source->child(0));
  ApiErrStream::clearRecent();
  for (const std::size_t lost : {0U, 1U}) {
    registry().setJtVersion(lost == 0 ? ApiGraJtVersionData::JT_VERSION_9_5
                                      : ApiGraJtVersionData::JT_VERSION_10_0);
    EXPECT_TRUE(root.write()) << jt::lastError();
    ASSERT_EQ(ApiErrStream::recent().size(), lost);
  }
  EXPECT_EQ(ApiErrStream::recent()[0].code, kLost);
  EXPECT_EQ(ApiErrStream::recent()[0].arguments.at(0), "solid");
  registry().setJtVersion(registry().getDefaultJtVersion());
}

TEST_F(ToolkitExport, KeepsExactGeometryOrReportsThePartThatLosesIt) {
  writeSolid(part("solid", 3), pathOf("solid.jt"));
  for (const int format : {kOneFile, kPartFiles}) {
    for (const bool isExact : {true, false}) {
      for (const std::uint32_t version : {1U, 2U}) {
        const auto source = reopened(pathOf("solid.jt"));
        JtkwExportRoot root;
        root.initializeJtkRoot(ApiKey(1), L"x", pathOf("exact.jt"));
        for (const wchar_t* name : {L"bolt", L"nut", L"bolt"})
          root.createEntityNode(ApiKey(1), data(name, source->child(0)));
        ApiErrStream::clearRecent();
        ASSERT_TRUE(writeExact(root, format, version, isExact)) << jt::lastError();
        const auto top = reopened(pathOf("exact.jt"));
        const bool isKept = isExact && version == 1;
        const auto errors = ApiErrStream::recent();
        ASSERT_EQ(root.report().leftOut.size(), isExact && !isKept ? 2U : 0U);
        ASSERT_EQ(errors.size(), root.report().leftOut.size()) << "one for each name";
        for (std::size_t i = 0; i < 2; ++i) {
          const std::string name = i == 0 ? "bolt" : "nut";
          auto* written = find<VisPartNode>(*top, name);
          ASSERT_TRUE(written);
          EXPECT_EQ(written->property(JtString(kXtKey)) != nullptr, isKept);
          if (errors.empty()) continue;
          EXPECT_EQ(root.report().leftOut[i].part.stringToMbs(), name);
          EXPECT_EQ(root.report().leftOut[i].what, "exact geometry");
          EXPECT_EQ(errors[i].code, kLost);
          EXPECT_EQ(errors[i].arguments.at(0), name);
          EXPECT_EQ(errors[i].arguments.at(1), root.report().leftOut[i].reason);
        }
      }
    }
  }
}

/// "17 (1 2 3) hidden" for each property that names precise geometry, sorted.
std::multiset<std::string> solidsOf(const JtNode& top) {
  std::multiset<std::string> found;
  struct Step {
    const JtNode* node;
    jt::Matrix4 toRoot;
    bool isHidden;
  };
  std::vector<Step> open{{&top, jt::kIdentity, false}};
  while (!open.empty()) {
    Step step = open.back();
    open.pop_back();
    bool isFinal = false;
    step.toRoot = jt::multiply(jt::localTransform(*step.node, isFinal), step.toRoot);
    step.isHidden = step.isHidden || step.node->isIgnored();
    JtPropAtom* key = nullptr;
    JtPropAtom* value = nullptr;
    for (int i = 0; step.node->getProperty(i, key, value); ++i) {
      const auto* late = jt::as<JtLateLoadedPropAtom>(value);
      if (!late || late->segmentType() < 17) continue;
      const jt::Matrix4& m = step.toRoot;
      char text[120];
      std::snprintf(text, sizeof text, "%d x%g (%g %g %g)%s", late->segmentType(), m[0], m[12],
                    m[13], m[14], step.isHidden ? " hidden" : "");
      found.insert(text);
    }
    for (int i = 0; i < step.node->numChildren(); ++i)
      open.push_back({step.node->child(i), step.toRoot, step.isHidden});
  }
  return found;
}

TEST_F(ToolkitExport, TakesExactGeometryOfNodesBelowAPartAlong) {
  constexpr const char* kOther = "4a540000-0001-0002-0000-000000000000";
  const auto move = [](double x, double y, double z) {
    return jt::make<JtXform>(jt::Matrix4{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, x, y, z, 1});
  };
  const auto solid = part("solid", 3);
  setText(*solid, Jt::jtPropMeasurementUnits, "Centimeters");
  solid->appendAttribute(move(5, 6, 7).get());
  const auto moved = jt::make<JtGroup>();
  const auto plain = jt::make<JtGroup>();
  const auto hidden = jt::make<JtGroup>();
  moved->appendAttribute(move(1, 2, 3).get());
  hidden->setIgnored(true);
  for (const auto& group : {moved, plain, hidden}) {
    addSegment(*group, kXtKey, 17, kOther, {std::byte{7}});
    solid->addChild(group.get());
  }
  addSegment(*hidden, "JT_LLPROP_WFREP", 18, kOther, {std::byte{5}});
  addSegment(*solid->child(0), kXtKey, 17, kOther, {std::byte{9}});
  moved->addChild(plain.get());
  const auto assembly = jt::make<VisMetaDataNode>();
  addSegment(*assembly, kXtKey, 17, kOther, {std::byte{8}});
  assembly->addChild(solid.get());
  const auto made = jt::make<JtPartition>();
  made->setVersion({9, 5});
  made->addChild(assembly.get());
  const auto place = jt::make<JtFSStorageLocation>(JtString(), JtString(pathOf("nested.jt")));
  made->save(place.get());
  const std::multiset<std::string> kAll{"17 x1 (0 0 0)",           "17 x1 (50 60 70)",
                                        "17 x1 (50 60 70)",        "17 x1 (60 80 100)",
                                        "17 x1 (60 80 100)",       "17 x1 (50 60 70) hidden",
                                        "18 x10 (50 60 70) hidden"};
  for (const int format : {kOneFile, kPartFiles})
    for (const bool isExact : {true, false})
      for (const std::uint32_t version : {1U, 2U}) {  // 10.0 has no form for them
        const auto source = reopened(pathOf("nested.jt"));
        JtkwComponentExportRoot root;
        root.initImporter();
        root.initializeJtkRoot(ApiKey(1), L"x", pathOf("out.jt"));
        ASSERT_TRUE(root.importHierarchy(ApiKey(2), ApiKey(1), source->child(0)));
        ASSERT_TRUE(writeExact(root, format, version, isExact)) << jt::lastError();
        root.deleteImporter();
        const auto top = reopened(pathOf("out.jt"));
        const bool isKept = isExact && version == 1;
        EXPECT_EQ(solidsOf(*top), isKept ? kAll : std::multiset<std::string>{});
        std::multiset<std::string> lost;
        for (const jtk::LeftOut& left : root.report().leftOut)
          lost.insert(left.part.stringToMbs() + " " + left.what);
        EXPECT_EQ(lost.contains("solid exact geometry"), isExact && !isKept);
        EXPECT_EQ(lost.empty(), isKept || !isExact);
        EXPECT_EQ(lost.size(), isExact && !isKept ? 3U : 0U) << "two kinds of the part, one above";
      }
}

TEST_F(ToolkitExport, BringsTheSegmentAlongThatExactGeometryNamesBodiesIn) {
  // Two parts name bodies of a segment that only the assembly names.
  const auto assembly = jt::make<VisMetaDataNode>();
  for (const char* name : {"left", "right"}) {
    const auto made = part(name, 3);
    addSegment(*made, kXtKey, 17, kXtType, std::vector<std::byte>(40, std::byte{1}));
    assembly->addChild(made.get());
  }
  addSegment(*assembly, kPoolKey, 30, kPoolType, {std::byte{9}});
  const auto made = jt::make<JtPartition>();
  made->addChild(assembly.get());
  const auto place = jt::make<JtFSStorageLocation>(JtString(), JtString(pathOf("pool.jt")));
  made->save(place.get());
  for (const int format : {kOneFile, kPartFiles})
    for (const std::uint32_t version : {1U, 2U}) {  // 9.5 has no form for them
      const auto source = reopened(pathOf("pool.jt"));
      JtkwExportRoot root;
      root.initializeJtkRoot(ApiKey(1), L"x", pathOf("out.jt"));
      for (int i = 0; i < 2; ++i)
        root.createEntityNode(ApiKey(1),
                              data(i == 0 ? L"left" : L"right", source->child(0)->child(i)));
      ASSERT_TRUE(writeExact(root, format, version, true)) << jt::lastError();
      const auto top = reopened(pathOf("out.jt"));
      std::set<std::string> pools;
      for (const char* name : {"left", "right"}) {
        const auto* written = find<VisPartNode>(*top, name);
        ASSERT_TRUE(written);
        const auto* pool = jt::as<JtLateLoadedPropAtom>(written->property(JtString(kPoolKey)));
        EXPECT_EQ(pool != nullptr, version == 2);
        EXPECT_EQ(written->property(JtString(kXtKey)) != nullptr, version == 2);
        if (pool) pools.insert(pool->segmentId().text());
      }
      EXPECT_EQ(pools.size(), version == 2 ? 1U : 0U) << "one segment for both";
      std::set<std::string> told;
      for (const jtk::LeftOut& left : root.report().leftOut) told.insert(left.part.stringToMbs());
      EXPECT_EQ(told.size(), version == 2 ? 0U : 2U);
    }
}

TEST_F(ToolkitExport, FailsWholeForASourceThatCannotBeReadAndForAFullDisk) {
  const auto contentOf = [&](const std::string& name) {
    std::ifstream file(pathOf(name), std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
  };
  const auto made = jt::make<JtPartition>();
  for (const float size : {2.0F, 5.0F}) made->addChild(part("old", size, 4000).get());
  const auto place = jt::make<JtFSStorageLocation>(JtString(), JtString(pathOf("source.jt")));
  made->save(place.get());
  const auto exported = [&](const jt::Ref<JtPartition>& source, int format, std::string& code) {
    JtkwExportRoot root;
    root.initializeJtkRoot(ApiKey(1), L"hall.jt", pathOf("hall.jt"));
    for (int i = 0; i < 2; ++i) root.createEntityNode(ApiKey(1), data(L"part", source->child(i)));
    const bool isWritten = write(root, format);
    code = root.errorCode();
    return isWritten;
  };
  const auto namesNow = [&] {
    std::set<std::string> names;
    for (const auto& entry : fs::recursive_directory_iterator(folder_.path()))
      names.insert(fs::relative(entry.path(), folder_.path()).string());
    return names;
  };
  std::string code;
  for (const int format : {kOneFile, kPartFiles}) {
    ASSERT_TRUE(exported(reopened(pathOf("source.jt")), format, code)) << jt::lastError();
    const std::string before = contentOf("hall.jt");
    const auto names = namesNow();
    for (const std::uintmax_t limit : {100U, 5000U, 60'000U}) {
      const auto source = reopened(pathOf("source.jt"));
      const FileSizeLimit full(limit);
      EXPECT_FALSE(exported(source, format, code)) << limit;
      EXPECT_TRUE(code == "write_failed" || code == "no_space") << code;
    }
    const std::string whole = contentOf("source.jt");
    // Nobody is to read it when it gets shorter.
    const bool loadsAhead = std::exchange(JtPartition::_autoLoadShapes, false);
    const auto source = reopened(pathOf("source.jt"));
    JtPartition::_autoLoadShapes = loadsAhead;
    fs::resize_file(pathOf("source.jt"), whole.size() / 2);
    EXPECT_FALSE(exported(source, format, code));
    EXPECT_EQ(code, "source_unreadable") << jt::lastError();
    folder_.file("source.jt", whole);
    EXPECT_TRUE(contentOf("hall.jt") == before);
    EXPECT_EQ(namesNow(), names);
  }
}

/// A kind of shape that no form of the format knows.
struct StrangeShape : JtNullShape {
  const JtType* typeID() const override {
    static const JtType type("StrangeShape", JtNullShape::classTypeID(), *JtGuid::parse(kPoolType));
    return &type;
  }
  jt::Ref<JtBase> clone() const override { return jt::Ref<JtBase>(new StrangeShape(*this)); }
};

TEST_F(ToolkitExport, LeavesOutGeometryThatHasNoForm) {
  const std::vector<jt::Ref<VisPartNode>> nodes{part("a", 2), part("b", 4), part("c", 3)};
  nodes[1]->addChild(jt::Ref<JtNode>(new StrangeShape()).get());
  for (const int format : {kOneFile, kPartFiles}) {
    JtkwExportRoot root;
    root.initializeJtkRoot(ApiKey(1), L"x", pathOf("x.jt"));
    for (const wchar_t* name : {L"a", L"b", L"c"})
      root.createEntityNode(ApiKey(1),
                            data(name, nodes[static_cast<std::size_t>(name[0] - L'a')].get()));
    ASSERT_TRUE(write(root, format)) << jt::lastError();
    ASSERT_EQ(root.report().leftOut.size(), 1U);
    EXPECT_EQ(root.report().leftOut[0].part.stringToMbs(), "b");
    EXPECT_EQ(extent(*reopened(pathOf("x.jt"))), "(0 0 0)-(3 6 4)");
  }
}

TEST_F(ToolkitExport, ReportsGeometryBehindMoreThanAMillionPaths) {
  if (!std::getenv("JTW_LONG_TESTS")) GTEST_SKIP() << "JTW_LONG_TESTS is not set";
  // Twenty levels of two groups each have a million paths.
  const auto node = part("maze", 1);
  std::array<jt::Ref<JtGroup>, 2> level{jt::make<JtGroup>(), jt::make<JtGroup>()};
  for (const auto& group : level) node->addChild(group.get());
  for (int depth = 0; depth < 20; ++depth) {
    const std::array<jt::Ref<JtGroup>, 2> below{jt::make<JtGroup>(), jt::make<JtGroup>()};
    for (const auto& group : level)
      for (const auto& child : below) group->addChild(child.get());
    level = below;
  }
  JtkwExportRoot root;
  root.initializeJtkRoot(ApiKey(1), L"x", pathOf("maze.jt"));
  root.createEntityNode(ApiKey(1), data(L"maze", node.get()));
  ASSERT_TRUE(write(root, kOneFile)) << jt::lastError();
  ASSERT_EQ(root.report().leftOut.size(), 1U);
  EXPECT_EQ(root.report().leftOut[0].what, "geometry");
}

TEST_F(ToolkitExport, CopiesImagesOfTexturesOrReportsThem) {
  folder_.folder("src");
  folder_.folder("src/images");
  folder_.folder("out");
  folder_.file("src/images/oak.png", "pixels");
  folder_.file("src/images/key.txt", "secret");
  bool isFull = false;
  const auto exported = [&](const JtString& image, int format, std::string& left) {
    const auto node = part("plank", 1);
    const auto texture = jt::make<JtTextureImage>();
    texture->setFileName(image);
    node->child(0)->appendAttribute(texture.get());
    const auto made = jt::make<JtPartition>();
    made->addChild(node.get());
    const auto place = jt::make<JtFSStorageLocation>(JtString(), JtString(pathOf("src/plank.jt")));
    made->save(place.get());
    const auto source = reopened(pathOf("src/plank.jt"));
    JtkwComponentExportRoot root;
    root.initImporter();
    root.initializeJtkRoot(ApiKey(1), L"hall.jt", pathOf("out/hall.jt"));
    EXPECT_TRUE(root.importHierarchy(ApiKey(2), ApiKey(1), source->child(0)));
    std::optional<FileSizeLimit> limit;
    if (isFull) limit.emplace(100);
    const bool isWritten = write(root, format);
    root.deleteImporter();
    left.clear();
    for (const jtk::LeftOut& one : root.report().leftOut) left += one.what + ": " + one.reason;
    return isWritten;
  };
  const auto contentOf = [&](const std::string& name) {
    std::ifstream file(pathOf(name), std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
  };
  std::string left;
  const struct {
    int format;
    std::string folder;
  } cases[] = {{kOneFile, "out/"}, {kPartFiles, "out/hall/"}};
  for (const auto& [format, folder] : cases) {
    isFull = true;
    EXPECT_FALSE(exported(JtString("images\\oak.png"), format, left));
    isFull = false;
    EXPECT_FALSE(fs::exists(pathOf(folder + "images"))) << "a failed export leaves no image";
    for (int again = 0; again < 2; ++again) {
      ASSERT_TRUE(exported(JtString("images\\oak.png"), format, left)) << jt::lastError();
      EXPECT_EQ(left, "");
      EXPECT_EQ(contentOf(folder + "images/oak.png"), "pixels");
    }
    folder_.file(folder + "images/oak.png", "of somebody else");
    for (const char* name :
         {"images/oak.png", "images/key.txt", "../src/images/oak.png", "no.png"}) {
      ASSERT_TRUE(exported(JtString(name), format, left)) << jt::lastError();
      EXPECT_TRUE(left.starts_with("texture image: ")) << name << left;
    }
    EXPECT_EQ(contentOf(folder + "images/oak.png"), "of somebody else");
    EXPECT_FALSE(fs::exists(pathOf(folder + "images/key.txt")));
  }
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
