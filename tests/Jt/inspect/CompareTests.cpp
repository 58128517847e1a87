// What a comparison finds, and what it does not take for a difference.

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <cmath>
#include <limits>
#include <random>

#include "Jt.h"
#include "JtBaseDataStream.h"
#include "JtFactory.h"
#include "support/Differences.h"
#include "support/FileBuilder.h"
#include "support/MemoryStorage.h"
#include "support/RandomScene.h"

namespace {

using Lines = std::vector<std::string>;

/// A late-loaded value, as an application has them.
class Steps : public JtBase {
 public:
  explicit Steps(std::int32_t steps = 0) : steps_(steps) {}
  static const JtType* classTypeID() {
    static const JtType type("Steps", JtBase::classTypeID(), {7, 7, 7, {}},
                             []() -> JtBase* { return new Steps; });
    return &type;
  }
  const JtType* typeID() const override { return classTypeID(); }
  bool serialize(JtBaseDataStream& out) const override { return out.write(steps_); }
  bool deserialize(JtBaseDataStream& in) override { return in.read(steps_); }

 private:
  std::int32_t steps_;
};

void put(JtNode& node, const char* key, const jt::Ref<JtPropAtom>& value) {
  node.addProperty(jt::make<JtStringPropAtom>(JtString(key)).get(), value.get(), true);
}
void put(JtNode& node, const char* key, const char* value) {
  put(node, key, jt::make<JtStringPropAtom>(JtString(value)));
}
void drop(JtNode& node, const char* key) {
  node.deleteProperty(jt::make<JtStringPropAtom>(JtString(key)).get());
}

std::shared_ptr<jt::Mesh> makeMesh() {
  auto mesh = std::make_shared<jt::Mesh>();
  mesh->positions = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
  mesh->normals = {{0, 0, 1}};
  mesh->corners = {0, 1, 2, 0, 2, 3, 0, 3, 1};
  mesh->records.assign(9, 0);
  return mesh;
}

/// /Arm (key 1: /Arm/LOD/shape, /Arm/Bolt, /Arm/Nut), /Base (key 2), three nodes without names
struct Model {
  Model() {
    JtFactory::addType(Steps::classTypeID());
    name(*arm, "Arm");
    name(*base, "Base");
    name(*lod, "LOD");
    name(*bolt, "Bolt");
    put(*arm, "Key", jt::make<JtInt32PropAtom>(1));
    put(*base, "Key", jt::make<JtInt32PropAtom>(2));
    put(*base, "Weight", jt::make<JtFloatPropAtom>(2.5F));
    put(*base, "Steps", jt::make<JtLateLoadedPropAtom>(jt::make<Steps>(5), 2));
    matrix[12] = 10;
    xform->setMatrix(matrix);
    arm->appendAttribute(xform.get());
    arm->appendAttribute(material.get());
    bolt->appendAttribute(material.get());  // shared
    lod->setRangeLimits({1, 2});
    shape->setMesh(makeMesh());
    lod->addChild(shape.get());
    for (JtNode* child : std::initializer_list<JtNode*>{lod.get(), bolt.get(), selector.get()})
      arm->addChild(child);
    root->addChild(arm.get());
    root->addChild(base.get());
    for (int i = 0; i < 3; ++i) {
      auto plain = jt::make<JtGroup>();
      put(*plain, "Number", jt::make<JtInt32PropAtom>(i));
      plain->addChild(bolt.get());  // shared
      root->addChild(plain.get());
      plains.push_back(plain);
    }
  }
  static void name(JtNode& node, const char* text) { put(node, Jt::jtPropName, text); }

  jt::Ref<JtPartition> root = jt::make<JtPartition>();
  jt::Ref<VisMetaDataNode> arm = jt::make<VisMetaDataNode>();
  jt::Ref<VisPartNode> base = jt::make<VisPartNode>();
  jt::Ref<JtRangeLOD> lod = jt::make<JtRangeLOD>();
  jt::Ref<JtTriStripSet> shape = jt::make<JtTriStripSet>();
  jt::Ref<JtGroup> bolt = jt::make<JtGroup>();
  jt::Ref<JtSwitch> selector = jt::make<JtSwitch>();
  jt::Ref<JtXform> xform = jt::make<JtXform>();
  jt::Ref<JtMaterial> material = jt::make<JtMaterial>();
  std::vector<jt::Ref<JtGroup>> plains;
  jt::Matrix4 matrix = jt::kIdentity;
};

struct Edit {
  const char* name;
  void (*apply)(Model&);
  Lines expected;
  double tolerance = 0;
};

void PrintTo(const Edit& edit, std::ostream* out) { *out << edit.name; }

/// The lines without paths.
Lines whatOf(Lines lines) {
  for (std::string& line : lines)
    for (const jt::DifferenceKind kind :
         {jt::DifferenceKind::node, jt::DifferenceKind::type, jt::DifferenceKind::position,
          jt::DifferenceKind::name, jt::DifferenceKind::field, jt::DifferenceKind::attribute,
          jt::DifferenceKind::property, jt::DifferenceKind::geometry})
      if (const std::size_t at = line.find(std::string(" ") + jt::differenceName(kind));
          at != std::string::npos)
        line.erase(0, at);
  return lines;
}

class Edits : public testing::TestWithParam<Edit> {};

TEST_P(Edits, AreFoundOnceInBothDirections) {
  for (const jt::FileVersion version : {jt::FileVersion{9, 5}, {10, 0}}) {
    MemoryStorage storage;
    Model model;
    model.root->setVersion(version);
    const auto a = storage.open(storage.saved(*model.root));
    Model edited;
    GetParam().apply(edited);
    edited.root->setBounds(*a->bounds());  // the save has worked it out
    const jt::CompareOptions options{GetParam().tolerance, {"Key"}, 1000};
    EXPECT_EQ(Differences(*a, *edited.root, options).lines(), GetParam().expected);
    // Paths are those of the first file, names that differ too.
    EXPECT_EQ(whatOf(Differences(*edited.root, *a, options).lines()), whatOf(GetParam().expected));
  }
}

void turnFirstTriangle(Model& model, float by) {
  auto mesh = makeMesh();
  mesh->corners = {2, 3, 0, 1, 2, 0, 0, 3, 1};
  mesh->positions[3][2] += by;
  const jt::ShapeStatistics before = model.shape->statistics();
  model.shape->setMesh(mesh);
  model.shape->setStatistics(before);
}

const float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr double kHuge = std::numeric_limits<double>::infinity();

INSTANTIATE_TEST_SUITE_P(
    Compare, Edits,
    testing::Values(
        Edit{"nothing", [](Model&) {}, {}},
        Edit{"name", [](Model& m) { Model::name(*m.arm, "Leg"); }, {"/Arm name JT_PROP_NAME"}},
        Edit{"no_name", [](Model& m) { drop(*m.arm, Jt::jtPropName); }, {"/Arm name JT_PROP_NAME"}},
        Edit{"key",
             [](Model& m) { put(*m.arm, "Key", jt::make<JtInt32PropAtom>(9)); },
             {"/Arm property Key"}},
        Edit{"value_type",
             [](Model& m) { put(*m.base, "Weight", "2.5"); },
             {"/Base property Weight"}},
        Edit{"value_beyond_tolerance",
             [](Model& m) { put(*m.base, "Weight", jt::make<JtFloatPropAtom>(2.5001F)); },
             {"/Base property Weight"},
             kHuge},
        Edit{"properties_lost_and_new",
             [](Model& m) {
               drop(*m.base, "Weight");
               put(*m.base, "Colour", "red");
             },
             {"/Base property Colour", "/Base property Weight"}},
        Edit{"property_order",
             [](Model& m) {
               drop(*m.base, "Key");
               put(*m.base, "Key", jt::make<JtInt32PropAtom>(2));
             },
             {}},
        Edit{"late_value",
             [](Model& m) {
               put(*m.base, "Steps", jt::make<JtLateLoadedPropAtom>(jt::make<Steps>(6), 2));
             },
             {"/Base property Steps"}},
        Edit{"late_value_written_again",
             [](Model& m) {
               put(*m.base, "Steps", jt::make<JtLateLoadedPropAtom>(jt::make<Steps>(5), 2));
             },
             {}},
        Edit{"flags",
             [](Model& m) { m.selector->setIgnored(true); },
             {"/Arm/Switch Node field nodeFlags"}},
        Edit{"selected",
             [](Model& m) { m.selector->setSelectedChild(1); },
             {"/Arm/Switch Node field selectedChild"}},
        Edit{"ranges",
             [](Model& m) {
               m.lod->setRangeLimits({1, 2.5F});
             },
             {"/Arm/LOD field rangeLimits"},
             0.4},
        Edit{"ranges_within",
             [](Model& m) {
               m.lod->setRangeLimits({1, 2.5F});
             },
             {},
             0.5},
        Edit{"matrix",
             [](Model& m) {
               m.matrix[12] = 11;
               m.xform->setMatrix(m.matrix);
             },
             {"/Arm attribute Geometric Transform Attribute.matrix"},
             0.5},
        Edit{"matrix_within",
             [](Model& m) {
               m.matrix[12] = 10.4;
               m.matrix[13] = -0.3;  // a value that identity matrices do not store
               m.xform->setMatrix(m.matrix);
             },
             {},
             0.5},
        Edit{"turned_by_more_than_any_tolerance",
             [](Model& m) {
               m.matrix[0] = 0.9;
               m.xform->setMatrix(m.matrix);
             },
             {"/Arm attribute Geometric Transform Attribute.matrix"},
             kHuge},
        Edit{"color_beyond_any_tolerance",
             [](Model& m) { m.material->setDiffuseColor(0.5F, 0.25F, 0.75F, 1); },
             {"/Arm attribute Material Attribute.diffuse"},
             kHuge},
        Edit{"area_beside_geometry",
             [](Model& m) {
               auto statistics = m.shape->statistics();
               statistics.area = 5;
               m.shape->setStatistics(statistics);
             },
             {},
             1e-6},
        Edit{"matrix_not_a_number",
             [](Model& m) {
               m.matrix[12] = kNaN;
               m.xform->setMatrix(m.matrix);
             },
             {"/Arm attribute Geometric Transform Attribute.matrix"},
             kHuge},
        Edit{"shared_material",
             [](Model& m) { m.material->setShininess(7); },
             {"/Arm attribute Material Attribute.shininess"}},
        Edit{"attribute_order",
             [](Model& m) {
               m.arm->removeAttribute(0);
               m.arm->appendAttribute(m.xform.get());
             },
             {}},
        Edit{"attribute_lost",
             [](Model& m) { m.bolt->removeAttribute(0); },
             {"/Arm/Bolt attribute Material Attribute"}},
        Edit{"second_transform",
             [](Model& m) {
               m.arm->removeAttribute(0);
               m.arm->appendAttribute(jt::make<JtXform>().get());
               m.arm->appendAttribute(m.xform.get());
             },
             {"/Arm attribute Geometric Transform Attribute"}},
        Edit{"child_lost", [](Model& m) { m.arm->removeChild(0); }, {"/Arm/LOD node"}},
        Edit{"child_in_front",
             [](Model& m) { m.root->insertChild(0, jt::make<VisPartNode>().get()); },
             {"/Part Node node"}},
        Edit{"unnamed_child_lost",
             [](Model& m) { m.root->removeChild(2); },
             {"/Group Node[#10] node"}},
        Edit{"child_moved",
             [](Model& m) {
               m.root->removeChild(0);
               m.root->addChild(m.arm.get());
             },
             {"/Arm position"}},
        Edit{"type",
             [](Model& m) {
               auto part = jt::make<JtGroup>();
               for (int i = 0; i < 3; ++i) {
                 JtPropAtom* key = nullptr;
                 JtPropAtom* value = nullptr;
                 m.base->getProperty(i, key, value);
                 part->addProperty(key, value, true);
               }
               put(*part, "Steps", jt::make<JtLateLoadedPropAtom>(jt::make<Steps>(5), 2));
               m.root->removeChild(1);
               m.root->insertChild(1, part.get());
             },
             {"/Base type"}},
        Edit{"shared_node", [](Model& m) { put(*m.bolt, "New", "1"); }, {"/Arm/Bolt property New"}},
        Edit{"statistics",
             [](Model& m) {
               auto statistics = m.shape->statistics();
               statistics.box.max[0] = 5;
               m.shape->setStatistics(statistics);
             },
             {"/Arm/LOD/Tri-Strip Set Shape Node field untransformedBoundingBox"}},
        Edit{"mesh_order", [](Model& m) { turnFirstTriangle(m, 0); }, {}},
        Edit{"mesh",
             [](Model& m) { turnFirstTriangle(m, 0.25F); },
             {"/Arm/LOD/Tri-Strip Set Shape Node geometry"},
             0.2},
        Edit{"mesh_within", [](Model& m) { turnFirstTriangle(m, 0.25F); }, {}, 0.25},
        Edit{"mesh_normals",
             [](Model& m) {
               auto mesh = makeMesh();
               mesh->normals = {{0, 1, 0}};
               m.shape->setMesh(mesh);
             },
             {"/Arm/LOD/Tri-Strip Set Shape Node geometry"}}),
    [](const auto& test) { return std::string(test.param.name); });

/// Small triangles with all kinds of normals, so dense that very many lie within a tolerance.
std::shared_ptr<jt::Mesh> makeSoup(bool turned, const jt::Vec3f& by) {
  constexpr std::uint32_t kCount = 1500;
  auto mesh = std::make_shared<jt::Mesh>();
  std::minstd_rand random(7);
  const auto number = [&random] { return static_cast<float>(random() % 10007) / 10007; };
  for (std::uint32_t i = 0; i < kCount; ++i) {
    const jt::Vec3f at{number() + by[0], number() + by[1], 0.1F * number() + by[2]};
    mesh->positions.push_back(at);
    mesh->positions.push_back({at[0] + 0.004F, at[1], at[2]});
    mesh->positions.push_back({at[0], at[1] + 0.003F, at[2]});
    const double angle = 6.28 * static_cast<double>(number());
    mesh->normals.push_back(
        {static_cast<float>(std::cos(angle)), static_cast<float>(std::sin(angle)), 0});
  }
  for (std::uint32_t i = 0; i < kCount; ++i) {
    const std::uint32_t triangle = turned ? i * 7 % kCount : i;
    for (std::uint32_t corner = 0; corner < 3; ++corner) {
      mesh->corners.push_back(3 * triangle + (turned ? corner + 1 : corner) % 3);
      mesh->records.push_back(triangle);
    }
  }
  return mesh;
}

TEST(Compare, TolerancesAreMonotonicAndInMillimetres) {
  struct Case {
    jt::Vec3f by;
    const char* unit;
    double same;  // from this tolerance on, in millimetres
    unsigned bits = 0;
  };
  for (const Case& one : {Case{{0, 0, 0}, "Millimeters", 0},
                          {{0, 0, 0}, "Millimeters", 0.04, 8},
                          {{0.05F, -0.03F, 0.02F}, "Millimeters", 0.06},
                          {{0, 0.5F, 0}, "Inches", 13}}) {
    const auto part = [&one](bool isB) {
      const auto root = jt::make<JtPartition>();
      root->setVersion({9, 5});  // nodes state the bits of their shape
      const auto node = jt::make<VisPartNode>();
      put(*node, Jt::jtPropMeasurementUnits, one.unit);
      node->addChild(jt::makeShape(makeSoup(isB, isB ? one.by : jt::Vec3f{})).get());
      root->addChild(node.get());
      return root;
    };
    MemoryStorage storage;
    const auto a = storage.open(storage.saved(*part(false)));
    jt::SaveOptions options;
    options.shapeEncoding.emplace().positionBits = one.bits;
    const auto b = storage.open(storage.saved(*part(true), options));
    for (const double tolerance : {0.0, 0.04, 0.06, 0.3, 12.0, 13.0, kHuge}) {
      const jt::CompareOptions within{tolerance, {}, 1000};
      EXPECT_EQ(Differences(*a, *b, within).result().isSame(), tolerance >= one.same)
          << one.unit << ' ' << one.by[0] << ' ' << tolerance;
      EXPECT_EQ(Differences(*b, *a, within).result().isSame(), tolerance >= one.same);
    }
  }
}

TEST(Compare, NotANumberEqualsItself) {
  Model a;
  Model b;
  for (Model* model : {&a, &b}) {
    model->matrix[3] = kNaN;
    model->xform->setMatrix(model->matrix);
  }
  EXPECT_EQ(Differences(*a.root, *b.root).lines(), Lines());
}

TEST(Compare, ReportsValuesAndStopsAtTheLimit) {
  Model a;
  Model b;
  Model::name(*b.arm, "Leg");
  b.root->removeChild(1);
  b.lod->setRangeLimits({});
  const Differences all(*a.root, *b.root, {0, {"Key"}, 1000});
  ASSERT_EQ(all.lines(),
            (Lines{"/Base node", "/Arm name JT_PROP_NAME", "/Arm/LOD field rangeLimits"}));
  using Value = jt::ComparedValue;
  EXPECT_EQ(all.all()[0].a, Value("Part Node"));
  EXPECT_EQ(all.all()[0].b, Value());
  EXPECT_EQ(all.all()[1].b, Value("Leg"));
  EXPECT_EQ(all.all()[2].a, Value(std::vector<double>{1, 2}));
  const Differences first(*a.root, *b.root, {0, {"Key"}, 1});
  EXPECT_EQ(first.lines().size(), 1U);
  EXPECT_EQ(first.result().differences, 3U);
}

TEST(Compare, CountsWhatMeshesHave) {
  struct Case {
    const char* name;
    void (*change)(jt::Mesh&);
    std::string counts;
  };
  for (const Case& one :
       {Case{"another triangle",
             [](jt::Mesh& mesh) {
               mesh.positions.push_back({5, 6, 7});
               mesh.corners.insert(mesh.corners.end(), {4, 1, 2});
               mesh.records.insert(mesh.records.end(), 3, 0);
             },
             "triangles 3 4, vertices 4 5, normals 1 1, "},
        Case{"the same triangle twice",
             [](jt::Mesh& mesh) { std::copy_n(mesh.corners.begin(), 3, mesh.corners.begin() + 3); },
             "triangles 3 3, vertices 4 4, normals 1 1, unmatched 1 1, "}}) {
    Model a;
    Model b;
    auto mesh = makeMesh();
    one.change(*mesh);
    b.shape->setMesh(mesh);
    b.shape->setStatistics(a.shape->statistics());
    const Differences found(*a.root, *b.root);
    ASSERT_EQ(found.all().size(), 1U) << one.name;
    std::string counts;
    for (const jt::ComparedCount& count : found.all()[0].counts)
      counts += std::string(count.name) + " " + std::to_string(count.a) + " " +
                std::to_string(count.b) + ", ";
    EXPECT_EQ(counts, one.counts) << one.name;
  }
}

TEST(Compare, NamesRigidMotions) {
  using Matrix = jt::Matrix4;
  const Matrix placed{0, 2, 0, 0, -2, 0,  0,  0,
                      0, 0, 2, 0, 10, 20, 30, 1};  // turned, twice as large
  struct Case {
    const char* name;
    Matrix to;
    bool isRigid;
    std::array<double, 3> translation;
    double degrees;
    std::array<double, 3> axis;
  };
  const double c = std::cos(0.5);
  const double s = std::sin(0.5);
  for (const Case& one :
       {Case{"shifted",
             {0, 2, 0, 0, -2, 0, 0, 0, 0, 0, 2, 0, 10, 21, 28, 1},
             true,
             {0, 25.4, -50.8},
             0,
             {0, 0, 1}},
        // The old placement, then a turn about the parent's x axis.
        Case{"turned",
             {0, 2 * c, 2 * s, 0, -2, 0, 0, 0, 0, -2 * s, 2 * c, 0, 11, 20, 30, 1},
             true,
             {25.4, 0, 0},
             90 / std::acos(0.0) * 0.5,
             {1, 0, 0}},
        Case{"half a turn",
             {0, -2, 0, 0, -2, 0, 0, 0, 0, 0, -2, 0, 10, 20, 30, 1},
             true,
             {0, 0, 0},
             180,
             {1, 0, 0}},
        Case{"scaled", {0, 3, 0, 0, -3, 0, 0, 0, 0, 0, 3, 0, 10, 20, 30, 1}, false, {}, 0, {}},
        Case{
            "mirrored", {0, 2, 0, 0, -2, 0, 0, 0, 0, 0, -2, 0, 10, 20, 30, 1}, false, {}, 0, {}}}) {
    Model a;
    Model b;
    for (Model* model : {&a, &b}) put(*model->arm, Jt::jtPropMeasurementUnits, "Inches");
    a.xform->setMatrix(placed);
    b.xform->setMatrix(one.to);
    const Differences found(*a.root, *b.root);
    ASSERT_EQ(found.all().size(), 1U) << one.name;
    const auto& moved = found.all()[0].moved;
    ASSERT_EQ(moved.has_value(), one.isRigid) << one.name;
    if (!moved) continue;
    EXPECT_NEAR(moved->degrees, one.degrees, 1e-4) << one.name;
    for (std::size_t i = 0; i < 3; ++i) {
      EXPECT_NEAR(moved->translation[i], one.translation[i], 1e-4) << one.name << i;
      EXPECT_NEAR(moved->axis[i], one.axis[i], 1e-4) << one.name << i;
    }
  }
}

TEST(Compare, AFileEqualsItselfInEveryVersion) {
  MemoryStorage storage;
  for (const char* name : kVectors) {
    const auto file = storage.open(testData(name));
    EXPECT_EQ(Differences(*file, *storage.open(testData(name))).lines(), Lines()) << name;
    for (const jt::FileVersion version : {jt::FileVersion{9, 5}, {10, 0}}) {
      jt::SaveOptions options;
      options.version = version;
      const auto converted = storage.open(storage.saved(*file, options));
      const Differences differences(*file, *converted);
      EXPECT_EQ(differences.lines(), Lines()) << name << " as " << version.text();
      // What is not compared is what the conversion could not carry over.
      EXPECT_LE(differences.result().skipped, storage.report().warnings.size())
          << name << " as " << version.text();
    }
  }
  const auto tiny = storage.open(testData("tiny95.jt"));
  for (const char* other : {"tiny81.jt", "tiny95be.jt", "tiny100.jt", "tiny105.jt"})
    EXPECT_EQ(Differences(*tiny, *storage.open(testData(other))).lines(), Lines()) << other;
}

TEST(Compare, MetadataByEntries) {
  MemoryStorage storage;
  const auto a = storage.open(testData("tiny95.jt"));
  const auto b = storage.open(testData("tiny100.jt"));
  auto* part = jt::as<VisMetaDataNode>(b->child(0)->child(0)->child(0));
  ASSERT_TRUE(part && part->ensureMetaData());
  drop(*part, "LAYER");
  const auto saved = storage.open(storage.saved(*b));
  const std::string place = "/Meta Data Node/Cube.part;0;0:/Cube.part;0;0: metadata LAYER::";
  EXPECT_EQ(Differences(*a, *saved).lines(), Lines{place});
}

TEST(Compare, SegmentsThatNothingNamesByBytes) {
  MemoryStorage storage;
  for (const auto& format : allFormats()) {
    const auto file = [&](std::uint32_t number, const char* text) {
      SceneBuilder scene(format);
      scene.partition(1, {}).marker().marker().table({});
      const auto bytes = std::as_bytes(std::span(text, 8));
      return storage.open(FileBuilder(format).scene(scene).packed(number, 30, bytes).build());
    };
    const auto a = file(2, "unknown1");
    const std::string two = " segment " + FileBuilder::id(2).text();
    const std::string three = " segment " + FileBuilder::id(3).text();
    EXPECT_EQ(Differences(*a, *file(2, "unknown1")).lines(), Lines()) << formatText(format);
    EXPECT_EQ(Differences(*a, *file(2, "unknown2")).lines(), Lines{two}) << formatText(format);
    EXPECT_EQ(Differences(*a, *file(3, "unknown1")).lines(), (Lines{two, three}));
    std::string states;
    for (const jt::ComparedSegment& segment : jt::compareSegments(*a, *file(3, "unknown1")))
      states += std::to_string(static_cast<int>(segment.state));
    EXPECT_EQ(states, "032");
  }
}

/// A chain of groups, and at its end a node with a property.
jt::Ref<JtPartition> makeChain(int levels, bool twice, const char* value) {
  const auto root = jt::make<JtPartition>();
  JtGroup* last = root.get();
  for (int i = 0; i < levels; ++i) {
    const auto group = jt::make<JtGroup>();
    last->addChild(group.get());
    if (twice) last->addChild(group.get());
    last = group.get();
  }
  put(*last, "End", value);
  return root;
}

TEST(Compare, DepthAndSharingDoNotMatter) {
  const Differences deep(*makeChain(100000, false, "a"), *makeChain(100000, false, "b"));
  ASSERT_EQ(deep.lines().size(), 1U);
  EXPECT_LT(deep.lines()[0].size(), 2000U);
  const Differences ladder(*makeChain(60, true, "a"), *makeChain(60, true, "b"));
  EXPECT_EQ(ladder.lines().size(), 1U);
  EXPECT_TRUE(Differences(*makeChain(60, true, "a"), *makeChain(60, true, "a")).result().isSame());
}

/// Layers in which every node has all nodes of the next one as children, in an order of its own.
jt::Ref<JtPartition> makeLayers(int layers, int width, int turn) {
  std::vector<jt::Ref<JtGroup>> below;
  for (int layer = 0; layer < layers; ++layer) {
    std::vector<jt::Ref<JtGroup>> made;
    for (int i = 0; i < width; ++i) {
      const auto group = made.emplace_back(jt::make<JtGroup>());
      for (std::size_t j = 0; j < below.size(); ++j)
        group->addChild(below[(j + static_cast<std::size_t>(turn * i)) % below.size()].get());
      if (layer == 0) put(*group, "Leaf", turn == 0 ? "a" : "b");
    }
    below = std::move(made);
  }
  const auto root = jt::make<JtPartition>();
  for (const auto& node : below) root->addChild(node.get());
  return root;
}

TEST(Compare, GivesUpWhereNodesCanBePairedInTooManyWays) {
  const auto a = makeLayers(6, 120, 0);
  const auto b = makeLayers(6, 120, 1);
  EXPECT_EQ(errorCode([&] { Differences(*a, *b); }), "too_complex");
}

}  // namespace
