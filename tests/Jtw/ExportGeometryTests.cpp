// The export through the toolkit: what becomes of the geometry of parts.

#include <array>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <set>
#include <utility>

#include "ApiErrStream.h"
#include "ExportFixture.h"
#include "FileSizeLimit.h"
#include "JtAssembly.h"
#include "JtBaseDataStream.h"
#include "JtExportRoot.h"
#include "JtPathAttributes.h"
#include "JtTexture.h"

namespace {

namespace fs = std::filesystem;

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
constexpr const char* kOtherType = "4a540000-0001-0002-0000-000000000000";
constexpr auto kLost = "JTEXPORT_EXACT_GEOMETRY_LEFT_OUT";

TEST_F(ToolkitExport, PartitionExportsReportExactGeometryThatTheyLose) {
  const auto solid = part("solid", 3);
  addSegment(*solid, kXtKey, 17, kOtherType, {std::byte{7}});
  const auto source = stored("solid.jt", {solid}, {9, 5});
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
  const auto solid = part("solid", 3);
  addSegment(*solid, kXtKey, 17, kOtherType, {std::byte{7}});
  stored("solid.jt", {solid}, {9, 5});
  for (const int format : {kOneFile, kPartFiles}) {
    for (const bool isExact : {true, false}) {
      for (const std::uint32_t version : {1U, 2U}) {
        const auto source = reopened(pathOf("solid.jt"));
        JtkwExportRoot root;
        root.initializeJtkRoot(ApiKey(1), L"x", pathOf("exact.jt"));
        for (const wchar_t* name : {L"bolt", L"nut", L"bolt"})
          root.createEntityNode(ApiKey(1), data(name, source->child(0)));
        ApiErrStream::clearRecent();
        ASSERT_TRUE(write(root, format, version, isExact)) << jt::lastError();
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
    addSegment(*group, kXtKey, 17, kOtherType, {std::byte{7}});
    solid->addChild(group.get());
  }
  addSegment(*hidden, "JT_LLPROP_WFREP", 18, kOtherType, {std::byte{5}});
  addSegment(*solid->child(0), kXtKey, 17, kOtherType, {std::byte{9}});
  moved->addChild(plain.get());
  const auto assembly = jt::make<VisMetaDataNode>();
  addSegment(*assembly, kXtKey, 17, kOtherType, {std::byte{8}});
  assembly->addChild(solid.get());
  stored("nested.jt", {assembly}, {9, 5});
  const std::multiset<std::string> kAll{"17 x1 (0 0 0)",           "17 x1 (50 60 70)",
                                        "17 x1 (50 60 70)",        "17 x1 (60 80 100)",
                                        "17 x1 (60 80 100)",       "17 x1 (50 60 70) hidden",
                                        "18 x10 (50 60 70) hidden"};
  for (const int format : {kOneFile, kPartFiles})
    for (const bool isExact : {true, false})
      for (const std::uint32_t version : {1U, 2U}) {  // 10.0 has no form for them
        const auto source = reopened(pathOf("nested.jt"));
        JtkwComponentExportRoot root;
        ASSERT_TRUE(writeImported(root, *source->child(0), "out.jt", format, version, isExact))
            << jt::lastError();
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
  stored("pool.jt", {assembly});
  for (const int format : {kOneFile, kPartFiles})
    for (const std::uint32_t version : {1U, 2U}) {  // 9.5 has no form for them
      const auto source = reopened(pathOf("pool.jt"));
      JtkwExportRoot root;
      root.initializeJtkRoot(ApiKey(1), L"x", pathOf("out.jt"));
      for (int i = 0; i < 2; ++i)
        root.createEntityNode(ApiKey(1),
                              data(i == 0 ? L"left" : L"right", source->child(0)->child(i)));
      ASSERT_TRUE(write(root, format, version, true)) << jt::lastError();
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
      std::set<std::string> reported;
      for (const jtk::LeftOut& left : root.report().leftOut)
        reported.insert(left.part.stringToMbs());
      EXPECT_EQ(reported.size(), version == 2 ? 0U : 2U);
    }
}

TEST_F(ToolkitExport, FailsWholeForASourceThatCannotBeReadAndForAFullDisk) {
  stored("source.jt", {part("old", 2, 4000), part("old", 5, 4000)});
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
    const std::string before = contentOf(pathOf("hall.jt"));
    const auto names = namesNow();
    for (const std::uintmax_t limit : {100U, 5000U, 60'000U}) {
      const auto source = reopened(pathOf("source.jt"));
      const FileSizeLimit full(limit);
      EXPECT_FALSE(exported(source, format, code)) << limit;
      EXPECT_TRUE(code == "write_failed" || code == "no_space") << code;
    }
    const std::string whole = contentOf(pathOf("source.jt"));
    // Nobody is to read it when it gets shorter.
    const bool loadsAhead = std::exchange(JtPartition::_autoLoadShapes, false);
    const auto source = reopened(pathOf("source.jt"));
    JtPartition::_autoLoadShapes = loadsAhead;
    fs::resize_file(pathOf("source.jt"), whole.size() / 2);
    EXPECT_FALSE(exported(source, format, code));
    EXPECT_EQ(code, "source_unreadable") << jt::lastError();
    folder_.file("source.jt", whole);
    EXPECT_TRUE(contentOf(pathOf("hall.jt")) == before);
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
  folder_.folder("out");
  folder_.file("src/images/oak.png", "pixels");
  folder_.file("src/images/key.txt", "secret");
  bool isFull = false;
  const auto exported = [&](const JtString& image, int format, std::string& left) {
    const auto node = part("plank", 1);
    const auto texture = jt::make<JtTextureImage>();
    texture->setFileName(image);
    node->child(0)->appendAttribute(texture.get());
    const auto source = stored("src/plank.jt", {node});
    JtkwComponentExportRoot root;
    std::optional<FileSizeLimit> limit;
    if (isFull) limit.emplace(100);
    const bool isWritten = writeImported(root, *source->child(0), "out/hall.jt", format);
    left.clear();
    for (const jtk::LeftOut& one : root.report().leftOut) left += one.what + ": " + one.reason;
    return isWritten;
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
      EXPECT_EQ(contentOf(pathOf(folder + "images/oak.png")), "pixels");
    }
    folder_.file(folder + "images/oak.png", "of somebody else");
    for (const char* name :
         {"images/oak.png", "images/key.txt", "../src/images/oak.png", "no.png"}) {
      ASSERT_TRUE(exported(JtString(name), format, left)) << jt::lastError();
      EXPECT_TRUE(left.starts_with("texture image: ")) << name << left;
    }
    EXPECT_EQ(contentOf(pathOf(folder + "images/oak.png")), "of somebody else");
    EXPECT_FALSE(fs::exists(pathOf(folder + "images/key.txt")));
  }
}

}  // namespace
