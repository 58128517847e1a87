// Annotations on their way into the file and back; what other producers wrote comes through.

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <iterator>
#include <map>
#include <random>

#include "ComponentFixture.h"
#include "JtBufferProperty.h"
#include "JtPMI.h"
#include "JtStorageLocation.h"
#include "JtkEntityFactory.h"
#include "JtkPart.h"
#include "JtkStrokeFont.h"
#include "JtkwPMIAppearanceData.h"
#include "JtkwPMIFrameData.h"
#include "JtkwPMINoteData.h"
#include "JtkwPMIWriter.h"
#include "JtwPMIs.h"
#include "JtwUtils.h"
#include "VisPartNode.h"

namespace {

using Graphics = ApiGraphicsPMIAnnotationData;

/// What the entities of a manager are called, how many are of fixed kinds, and what is linked.
struct PMISummary {
  std::vector<std::string> names;
  std::size_t fixed = 0;
  std::size_t links = 0;
  bool operator==(const PMISummary&) const = default;
  friend void PrintTo(const PMISummary& summary, std::ostream* out) {
    *out << testing::PrintToString(summary.names) << " " << summary.fixed << " " << summary.links;
  }

  static PMISummary of(const PMIDataManager& pmi) {
    PMISummary summary;
    for (const PMITypedID id : pmi.entities())
      summary.names.push_back(pmi.pmiEntity(id).name().stringToMbs());
    summary.fixed = summary.names.size() - pmi.pmiDataGenericArray().size();
    summary.links = pmi.links().size();
    return summary;
  }
};

class PMIWriting : public ComponentFixture {
 protected:
  JtwPMIAnnotation& note(long itsKey, const char* text, ApiPMIType type = API_PMI_NOTE,
                         long parent = 1) {
    JtwPMIAnnotation& made = *root_.createPMIAnnotationNode(key(itsKey), key(parent), at(3, 5, 7));
    made.setName(L"Name " + std::to_wstring(itsKey));
    ApiWmPMIAnnotationData data;
    data.annotationType = type;
    data.textLines = {text};
    data.graphics.textHeight = 2;
    data.graphics.geomPolylineSet = {{{1, 2, 3}, {4, 5, 6}}, {{7, 8, 9}, {1, 0, 2}, {3, 1, 4}}};
    data.graphics.geomPolylineTypes = {Graphics::ARROW, Graphics::GENERAL_LINE};
    made.setAnnotationData(data);
    return made;
  }
  static PMIDataManager* pmiOf(JtwNode& node) {
    return static_cast<VisMetaDataNode&>(*node.jtNode()).pmi();
  }
  static const jt::PMIGenericEntity& entity(JtwNode& node, std::size_t index) {
    return pmiOf(node)->pmiDataGenericArray().at(index);
  }
  /// "name=value;" of each attribute in stored order.
  static std::string attributes(const jt::PMIGenericEntity& entity) {
    std::string all;
    for (const jt::PMIProperty& each : entity.properties)
      all += each.key.text.stringToMbs() + "=" + each.value.text.stringToMbs() + ";";
    return all;
  }
  /// An entity of another producer: a line, a text without strokes, an attribute of its own.
  static void addForeign(JtNode& node, std::uint16_t type, const char* name) {
    auto& holder = static_cast<VisMetaDataNode&>(node);
    if (!holder.pmi()) holder.setPMI(jt::make<PMIDataManager>().get());
    PMIDataManager& pmi = *holder.pmi();
    jt::PMIGenericEntity entity;
    entity.type = type;
    entity.base.frameFlag = 1;
    entity.base.frame = {1.1F, 2.2F, 3.3F, 2.1F, 2.2F, 3.3F, 1.1F, 3.2F, 3.3F};
    entity.lines.indices = {0, 2};
    entity.lines.vertices = {0.1F, 0.2F, 0.3F, 1, 0, 4};
    entity.texts.emplace_back().stringId = pmi.stringId(JtString("foreign text"));
    entity.properties = {{{JtString("Description")}, {JtString(name)}},
                         {{JtString("theirs")}, {JtString("kept")}}};
    pmi.addGenericEntity(entity);
  }
  static JtwNode& nodeOf(JtwRoot& root, long itsKey) {
    JtwNode* node = nullptr;
    root.getNodeByKey(key(itsKey), node);
    EXPECT_NE(node, nullptr) << itsKey;
    return *node;
  }
  static JtwPMIAnnotation& annotation(JtwRoot& root, long itsKey) {
    return static_cast<JtwPMIAnnotation&>(nodeOf(root, itsKey));
  }
  std::string file() const { return contentOf(folder_.folder("gear.kpak") + "/gear.jt"); }
};

TEST_F(PMIWriting, AnAnnotationComesBackWithEverythingTheHostGaveIt) {
  JtwPMIAnnotation& made = note(10, "", API_PMI_GROOVE_WELD);
  made.setAttributes("attr");
  made.setAttachmentParent(key(1), static_cast<AttachmentType>(4));
  made.setGlobalUniqueId(ApiGlobalUniqueId("uid"));
  made.setRelStringId("rel");
  made.setPreserved(true);
  made.setDisplayState(false);
  ApiWmPMIAnnotationData& data = made.annotationData();
  data.layer = 0;
  Graphics& look = data.graphics;
  look.displayPlaneXAxis = {0, 2, 0};
  look.displayPlaneYAxis = {0, 0, 3};
  look.textForegroundColor = ApiGraColor(0, 0, 0);
  look.textBackgroundColor = ApiGraColor(1, 2, 3, 0.29F);
  look.textHasBorder = true;
  look.fontSize = 9;
  look.textInPlane = false;
  look.geomColor = ApiGraColor(0, 0, 255);
  look.geomWidth = 3;
  look.instanceFlags = 0xff;
  data.textLines = {"Müller", "second"};

  JtwRoot& root = reopened();
  JtwPMIAnnotation& again = annotation(root, 10);
  EXPECT_EQ(again.name(), L"Name 10");
  EXPECT_EQ(again.relLoc(), at(3, 5, 7));
  EXPECT_EQ(again.attributes(), "attr");
  EXPECT_EQ(again.relStringId(), "rel");
  EXPECT_EQ(again.globalUniqueId().getAsString(), "uid");
  EXPECT_TRUE(again.isPreserved(false));
  EXPECT_FALSE(again.displayState());
  ApiProtoKey parent;
  auto type = ATTACHMENT_DEFAULT;
  again.getAttachmentParent(parent, type);
  EXPECT_EQ(parent, key(1));
  EXPECT_EQ(type, 4);
  const ApiWmPMIAnnotationData& read = again.annotationData();
  EXPECT_EQ(read.annotationType, API_PMI_GROOVE_WELD);
  EXPECT_EQ(read.textLines, (std::vector<std::string>{"Müller", "second"}));
  EXPECT_EQ(read.layer, 0);
  EXPECT_EQ(read.graphics.geomPolylineSet.size(), 2U);
  EXPECT_EQ(read.graphics.geomPolylineSet[1][2], RTVec3D(3, 1, 4));
  EXPECT_EQ(read.graphics.geomPolylineTypes[0], Graphics::ARROW);
  EXPECT_FALSE(read.graphics.textPolylineSet.empty());
  EXPECT_EQ(read.graphics.displayPlaneXAxis, RTVec3D(0, 2, 0));
  EXPECT_EQ(read.graphics.displayPlaneYAxis, RTVec3D(0, 0, 3));
  EXPECT_EQ(read.graphics.textHeight, 2);
  EXPECT_EQ(read.graphics.instanceFlags, 0xff);
  const std::string stored = attributes(entity(root, 0));
  EXPECT_EQ(stored.substr(0, stored.find("KrPMIText")),
            "PMITextForegroundColor=0000000000;PMITextBackgroundColor=0x00030201;"
            "PMITextBackgroundOpacity=28;PMITextShowBorder=1;PMITextSize=9;PMITextInPlane=0;"
            "PMIGeometryColor=0x00ff0000;PMIGeometryWidth=3;Description=Name 10;Layer=0;"
            "JTTK MULTICAD VISIBILITY=FALSE;KrGmProtoKey=10;KrGmAttributes=attr;"
            "KrWmAttachmentParent=1;KrWmAttachmentType=4;KrGlobalUniqueId=uid;"
            "KrGmNotUnitedEntity=1;KrRelStringId=rel;");
}

TEST_F(PMIWriting, ASecondWriteChangesNoByteAndChangesAreSeen) {
  block(2);
  note(10, "first");
  note(11, "second", API_PMI_DIMENSION, 2);
  note(12, "third");
  JtwRoot& opened = reopened();
  annotation(opened, 10).setName(L"other");
  ASSERT_TRUE(opened.write(false)) << jt::lastError();
  const std::string once = file();
  ASSERT_TRUE(opened.write(false));
  EXPECT_TRUE(file() == once);
  EXPECT_EQ(annotation(opened, 12).id(), 1);

  opened.deleteNode(key(10));
  annotation(opened, 12).setName(L"changed");
  ASSERT_TRUE(opened.write(false)) << jt::lastError();
  registry().releaseRoot(document_);
  JtwRoot& root = *open(document_);
  ASSERT_TRUE(jtw::loadWrappers(root));
  EXPECT_EQ(pmiOf(root)->pmiDataGenericArray().size(), 1U);
  EXPECT_EQ(annotation(root, 12).name(), L"changed");
  EXPECT_EQ(annotation(root, 11).collection()->key(), key(2));
  const std::string read = file();
  ASSERT_TRUE(root.write(false));
  EXPECT_TRUE(file() == read);

  // Moved to another collection, and gone from the old one.
  ASSERT_TRUE(annotation(root, 12).setParent(key(2)));
  ASSERT_TRUE(jtw::writePMIs(root)) << jt::lastError();
  EXPECT_EQ(pmiOf(root), nullptr);
  EXPECT_EQ(pmiOf(nodeOf(root, 2))->pmiDataGenericArray().size(), 2U);
}

TEST_F(PMIWriting, PMIOfOthersComesThrough) {
  addForeign(*root_.jtNode(), 0x0100, "their note");
  addForeign(*root_.jtNode(), 0x0112, "of no kind of ours");
  addForeign(*root_.jtNode(), 0x0104, "their axes");
  JtwEntity& part = ComponentFixture::entity(5);
  addForeign(*part.jtNode(), 0x0082, "on a part");
  note(10, "ours");
  // Nobody has gathered: nothing may be written, and nothing is lost.
  EXPECT_FALSE(root_.write(false));
  EXPECT_NE(jt::lastError().find("gathered"), std::string::npos);
  EXPECT_EQ(pmiOf(root_)->pmiDataGenericArray().size(), 3U);

  ASSERT_TRUE(jtw::loadWrappers(root_));
  const std::string before = attributes(entity(root_, 0));
  JtwRoot& root = reopened();
  ASSERT_EQ(pmiOf(root)->pmiDataGenericArray().size(), 4U);
  EXPECT_EQ(attributes(entity(root, 0)), before);
  EXPECT_EQ(entity(root, 0).texts.size(), 1U);
  // Two annotations of theirs, the one on the part hangs on the collection above it.
  std::map<std::wstring, JtwPMI*> listed;
  for (JtwPMI* pmi : root.PMIs()) listed[pmi->name()] = pmi;
  ASSERT_EQ(listed.size(), 3U);
  EXPECT_TRUE(listed.at(L"their note")->key().isNull());
  EXPECT_EQ(listed.at(L"on a part")->originJtNode(), nodeOf(root, 5).jtNode());
  const auto& data = static_cast<JtwPMIAnnotation*>(listed.at(L"their note"))->annotationData();
  EXPECT_EQ(data.textLines, std::vector<std::string>{"foreign text"});

  // A changed one keeps what the host does not know.
  listed.at(L"their note")->setName(L"renamed");
  ASSERT_TRUE(jtw::writePMIs(root));
  EXPECT_EQ(attributes(entity(root, 0)), "Description=renamed;theirs=kept;");
  EXPECT_EQ(entity(root, 0).lines.vertices[2], 0.3F);
  EXPECT_EQ(entity(root, 0).texts.size(), 1U);
}

// Entities of 8.x and 9.x that are no generic ones: listed, left alone, made generic by an edit.
TEST_F(PMIWriting, EntitiesOfFixedKindsAreListedAndKept) {
  for (const char* name : {"typed81", "typed95"}) {
    SCOPED_TRACE(name);
    const std::string path = folder_.at(std::string(name) + ".jt");
    std::filesystem::copy_file(std::string(JTW_TEST_DATA "/") + name + ".jt", path);
    const ApiDocumentRef document = documentAt(path);
    JtwRoot* root = nullptr;
    JtwCollection* carrier = nullptr;
    std::map<std::string, JtwPMI*> byText;
    const auto openAgain = [&] {
      registry().releaseRoot(document);
      root = open(document);
      ASSERT_TRUE(root && jtw::loadWrappers(*root));
      byText.clear();
      for (const jtw::TreeEntry& entry : jtw::tree(*root, *root)) {
        if (entry.node->type() != JtwNode::JT_PMI_ANNOTATION_NODE) continue;
        auto& each = static_cast<JtwPMIAnnotation&>(*entry.node);
        const auto& lines = each.annotationData().textLines;
        byText[lines.empty() ? JtwUtilsGetRWWStringAsJtString(each.name()).stringToMbs()
                             : lines[0]] = &each;
        carrier = each.collection();
      }
    };
    openAgain();
    ASSERT_EQ(byText.size(), 12U);
    const PMISummary before = PMISummary::of(*pmiOf(*carrier));
    EXPECT_EQ(before.fixed, 13U);
    EXPECT_EQ(byText.at("a note")->id(), 12);
    EXPECT_EQ(jtw::otherPMIs(*carrier, *carrier).size(), 3U);
    ASSERT_TRUE(root->write(false));
    const std::string untouched = contentOf(path);

    // Another annotation: theirs are stored as they were, and follow it.
    ASSERT_TRUE(carrier->setKey(key(50)));
    auto* added = root->createPMIAnnotationNode(key(60), key(50), at(3, 5, 7));
    added->annotationData().textLines = {"ours"};
    added->annotationData().annotationType = API_PMI_NOTE;
    ASSERT_TRUE(root->write(false)) << jt::lastError();
    EXPECT_EQ(added->id(), 2);
    EXPECT_EQ(byText.at("a note")->id(), 13);
    openAgain();
    PMISummary expected = before;
    expected.names.insert(expected.names.begin() + 2, "Note");
    EXPECT_EQ(PMISummary::of(*pmiOf(*carrier)), expected);
    const std::string once = contentOf(path);
    ASSERT_TRUE(root->write(false));
    EXPECT_TRUE(contentOf(path) == once);

    // An edit of one of theirs, and one of them deleted: the others keep what they are.
    byText.at("a note")->setName(L"renamed");
    ASSERT_TRUE(byText.at("a dimension")->setKey(key(70)) && root->deleteNode(key(70)));
    ASSERT_TRUE(root->write(false)) << jt::lastError();
    expected.fixed = 0;
    std::erase(expected.names, "a dimension");
    std::ranges::replace(expected.names, std::string("a note"), std::string("renamed"));
    openAgain();
    EXPECT_EQ(PMISummary::of(*pmiOf(*carrier)), expected);
    EXPECT_EQ(byText.at("a note")->name(), L"renamed");
    const auto& changed = entity(*carrier, static_cast<std::size_t>(byText.at("a note")->id()));
    EXPECT_EQ(pmiOf(*carrier)->string(changed.typeNameId)->stringToMbs(), "Note");
    EXPECT_EQ(changed.lines.vertices.size(), 15U);
    registry().releaseRoot(document);
  }
}

TEST_F(PMIWriting, AnAnnotationThatASaveDividesIsOneAnnotationAgain) {
  auto& data = note(10, "text").annotationData();
  auto& line = data.graphics.geomPolylineSet.emplace_back();
  for (int i = 0; i < 40000; ++i) line.emplace_back(i, 2 * i, i % 7);
  data.graphics.geomPolylineTypes.clear();
  for (const jt::FileVersion version : {jt::FileVersion{8, 2}, {9, 5}}) {
    ASSERT_TRUE(jtw::writePMIs(root_)) << jt::lastError();
    jt::SaveOptions options;
    options.version = version;
    const std::string path = folder_.at("long" + version.text() + ".jt");
    const auto location = jt::make<JtFSStorageLocation>(JtString(), JtString(path));
    root_.partition()->save(location.get(), options);
    const ApiDocumentRef document = documentAt(path);
    JtwRoot& root = *open(document);
    ASSERT_TRUE(jtw::loadWrappers(root));
    ASSERT_EQ(root.PMIs().size(), 1U);
    const auto& read = static_cast<JtwPMIAnnotation*>(root.PMIs()[0])->annotationData().graphics;
    ASSERT_EQ(read.geomPolylineSet.size(), 3U);
    EXPECT_TRUE(read.geomPolylineSet[2] == line);
    registry().releaseRoot(document);
  }
}

TEST_F(PMIWriting, PMIThatCannotBeReadAreKeptAndNotWritten) {
  auto content = jt::make<JtBufferProperty>();
  content->setData("no PMI");
  const auto late = jt::make<JtLateLoadedPropAtom>(content, 3);
  root_.jtNode()->addProperty(jt::make<JtStringPropAtom>(JtString("JT_LLPROP_PMI")).get(),
                              late.get(), true);
  EXPECT_TRUE(jtw::loadWrappers(root_));
  EXPECT_TRUE(root_.write(false)) << jt::lastError();
  note(10, "text");
  const std::string before = file();
  EXPECT_FALSE(root_.write(false));
  EXPECT_NE(jt::lastError(), "");
  EXPECT_TRUE(file() == before);
  root_.deleteNode(key(10));
  EXPECT_TRUE(root_.write(false)) << jt::lastError();
  EXPECT_EQ(root_.jtNode()->property(JtString("JT_LLPROP_PMI")), late.get());
}

TEST_F(PMIWriting, PMIOfADeletedPartStaysInPlace) {
  JtwEntity& part =
      *root_.createEntityNode(key(5), key(1), RTTran3D::fromPlacement(10, 20, 30, 0, 0, 90));
  addForeign(*part.jtNode(), 0x0082, "on a part");
  ASSERT_TRUE(jtw::loadWrappers(root_));
  ASSERT_EQ(root_.PMIs().size(), 1U);
  const RTVec3D place = root_.PMIs()[0]->absLoc().getTranslation();
  EXPECT_NEAR(place.x, 10 - 2.2, 1e-5);
  EXPECT_NEAR(place.y, 20 + 1.1, 1e-5);
  root_.deleteNode(key(5));
  ASSERT_TRUE(jtw::writePMIs(root_)) << jt::lastError();
  const jt::PMIGenericEntity& moved = entity(root_, 0);
  EXPECT_NE(attributes(moved).find("theirs=kept"), std::string::npos);
  EXPECT_NEAR(moved.base.frame[0], place.x, 1e-5);
  EXPECT_NEAR(moved.base.frame[3] - moved.base.frame[0], 0, 1e-5);
  EXPECT_NEAR(moved.base.frame[4] - moved.base.frame[1], 1, 1e-5);
  EXPECT_NEAR(moved.lines.vertices[0], 10 - 0.2, 1e-5);
  EXPECT_NEAR(moved.lines.vertices[1], 20 + 0.1, 1e-5);
}

TEST_F(PMIWriting, PMIOfAMovedPartStaysInItsCollection) {
  block(2);
  JtwEntity& part = ComponentFixture::entity(5);
  addForeign(*part.jtNode(), 0x0082, "on a part");
  ASSERT_TRUE(jtw::loadWrappers(root_));
  ASSERT_EQ(root_.PMIs().size(), 1U);
  ASSERT_EQ(root_.PMIs()[0]->originJtNode(), part.jtNode());
  ASSERT_TRUE(part.setParent(key(2)));
  ASSERT_EQ(root_.PMIs().size(), 1U);
  EXPECT_EQ(root_.PMIs()[0]->originJtNode(), root_.jtNode());
}

TEST_F(PMIWriting, ACopiedPartHasPMIWithoutKeys) {
  addForeign(*ComponentFixture::entity(5).jtNode(), 0x0100, "theirs");
  auto& stored = *pmiOf(nodeOf(root_, 5))->editGenericEntity(0);
  stored.properties.push_back({{JtString("KrGmProtoKey")}, {JtString("30")}});
  JtwEntity* copy = root_.cloneEntityNode(key(5), true);
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(attributes(entity(*copy, 0)), "Description=theirs;theirs=kept;");
  EXPECT_EQ(attributes(entity(nodeOf(root_, 5), 0)),
            "Description=theirs;theirs=kept;KrGmProtoKey=30;");
}

TEST_F(PMIWriting, AnExistingEntityKeepsItsGeometryUnlessItIsRenewed) {
  note(10, "text").annotationData().graphics.instanceFlags = Graphics::FONT_SIZE;
  ASSERT_TRUE(root_.write(false));
  JtwPMIAnnotation& made = annotation(root_, 10);
  const std::vector<float> lines = entity(root_, 0).lines.vertices;
  Graphics& look = made.annotationData().graphics;
  look.geomPolylineSet = {{{9, 9, 9}, {8, 8, 8}}};
  look.geomPolylineTypes.clear();
  look.textForegroundColor = ApiGraColor(255, 0, 0);
  look.geomColor = ApiGraColor(0, 255, 0);
  look.instanceFlags = Graphics::FOREGROUND_COLOR | Graphics::GEOM_COLOR;
  made.setRelLoc(at(30, 50, 70));
  ASSERT_TRUE(jtw::writePMIs(root_));
  EXPECT_EQ(entity(root_, 0).lines.vertices, lines);
  EXPECT_EQ(entity(root_, 0).base.frame[1], 50);
  std::string stored = attributes(entity(root_, 0));
  EXPECT_NE(stored.find("PMITextForegroundColor=0x000000ff"), std::string::npos);
  EXPECT_EQ(stored.find("PMIGeometryColor"), std::string::npos);

  made.renew();
  ASSERT_TRUE(jtw::writePMIs(root_));
  EXPECT_EQ(entity(root_, 0).lines.vertices[0], 9);
  stored = attributes(entity(root_, 0));
  EXPECT_NE(stored.find("PMIGeometryColor=0x0000ff00"), std::string::npos);
  EXPECT_EQ(stored.find("PMITextSize"), std::string::npos);
  EXPECT_EQ(stored.find("KrGmProtoKey"), stored.rfind("KrGmProtoKey"));
}

TEST_F(PMIWriting, UnitsDoNotDrift) {
  ASSERT_TRUE(root_.setMeasurementUnitRatio(25.4F));
  root_.forgetCached();
  note(10, "text");
  ASSERT_TRUE(root_.write(false));
  EXPECT_EQ(entity(root_, 0).base.frame[0], static_cast<float>(3 / 25.4));
  const auto* stored = pmiOf(root_);
  for (int i = 0; i < 1000; ++i) {
    annotation(root_, 10).setName(L"name " + std::to_wstring(i));
    annotation(root_, 10).renew();
    ASSERT_TRUE(jtw::writePMIs(root_));
  }
  const jt::Ref<PMIDataManager> first(pmiOf(root_));
  EXPECT_NE(first.get(), stored);
  EXPECT_EQ(first->pmiDataGenericArray().size(), 1U);
  JtwRoot& root = reopened();
  const std::vector<float> lines = entity(root, 0).lines.vertices;
  annotation(root, 10).renew();
  ASSERT_TRUE(jtw::writePMIs(root));
  EXPECT_EQ(entity(root, 0).lines.vertices, lines);
  EXPECT_EQ(entity(root, 0).base.frame, first->pmiDataGenericArray()[0].base.frame);
}

TEST_F(PMIWriting, FramesBesideAnnotationsHaveCoordinateSystems) {
  JtwFrame& made = *root_.createFrameNode(key(7), key(1), at(1, 2, 3));
  made.setName(L"axes");
  root_.storeFrames();
  ASSERT_TRUE(jtw::writePMIs(root_));
  EXPECT_EQ(pmiOf(root_), nullptr);  // the list keeps it
  note(10, "text");
  JtwRoot& root = reopened();
  auto& again = static_cast<JtwFrame&>(nodeOf(root, 7));
  ASSERT_EQ(again.id(), 0);
  EXPECT_EQ(entity(root, 0).type, 0x0104);
  EXPECT_EQ(entity(root, 0).base.frame, (std::array<float, 9>{1, 2, 3, 2, 2, 3, 1, 3, 3}));
  again.setRelLoc(at(4, 2, 3));
  ASSERT_TRUE(jtw::writePMIs(root));
  EXPECT_EQ(entity(root, 0).base.frame[0], 4);
  root.deleteNode(key(7));
  root.deleteNode(key(10));
  ASSERT_TRUE(jtw::writePMIs(root));
  EXPECT_EQ(pmiOf(root), nullptr);
}

TEST_F(PMIWriting, RecordsOfTheHostBecomeEntities) {
  const auto part = jt::Ref<JtkPart>(JtkEntityFactory::createPart("p", 0, -1));
  JtkwPMIWriter writer;
  JtkwPMIAppearanceData look;
  look.setFontSize(7);
  JtkwPMINoteData note;
  note.setDisplayName("n");
  note.setRelLoc(at(5), nullptr);
  note.setText("one");
  note.setText("two");
  note.setLanguage("KOR");
  note.setAppearanceData(&look);
  JtkPMIEntity* made = nullptr;
  ASSERT_TRUE(writer.writePMI(note, NwObj::NOTE, part.get(), made, nullptr));
  EXPECT_TRUE(made->isOfType(JtkEntity::PMI_NOTE));
  EXPECT_EQ(made->data().base.textHeight, 50);
  ASSERT_EQ(made->data().texts.size(), 2U);
  EXPECT_EQ(made->data().texts[1].box[1], -75);
  EXPECT_EQ(made->data().texts[1].box[5], -25);
  EXPECT_EQ(attributes(made->data()),
            "JTTK MULTICAD NAME=n;PMITextBackgroundOpacity=-1;PMITextSize=7;PMITextInPlane=0;"
            "VELOR_PMI_LOCALE=104;Description=n;");
  // The type has to fit; name and layer are written even then.
  JtkwPMIFrameData frame;
  frame.setDisplayName("f");
  frame.setLayer(0);
  EXPECT_FALSE(writer.writePMI(frame, NwObj::FRAME, part.get(), made, nullptr));
  EXPECT_NE(attributes(made->data()).find("Description=f;Layer=0;"), std::string::npos);
  JtkPMIEntity* none = nullptr;
  EXPECT_FALSE(writer.writePMI(frame, NwObj::FRAME, nullptr, none, nullptr));
  EXPECT_TRUE(writer.writePMI(frame, static_cast<NwObj::Type>(5), part.get(), none, nullptr));
  EXPECT_EQ(none, nullptr);
  EXPECT_EQ(part->numChildren(), 1);
}

// Random edits and saves beside a plain model of what the annotations are.
TEST_F(PMIWriting, RandomEditsAndSavesKeepWhatTheModelSays) {
  struct Model {
    std::wstring name;
    std::string text;
    int layer = -1;
    double x = 0;
    ApiPMIType type = API_PMI_NOTE;
    long parent = 1;
    bool operator==(const Model&) const = default;
  };
  const jt::FileVersion versions[] = {{8, 2}, {9, 5}, {10, 0}, {10, 2}};
  for (unsigned seed = 1; seed <= 8; ++seed) {
    std::mt19937 random(seed);
    const auto below = [&random](unsigned n) { return static_cast<long>(random() % n); };
    const auto document = documentAt(folder_.folder("r" + std::to_string(seed) + ".kpak"));
    JtwRoot* root = registry().computeNewDocRoot(document);
    root->setKey(key(1));
    root->setMeasurementUnitRatio(std::array{1.0F, 25.4F, 1000.0F}[seed % 3]);
    root->createBlockNode(key(2), key(1), at(5));
    addForeign(*nodeOf(*root, 2).jtNode(), 0x0100, "theirs");
    ASSERT_TRUE(jtw::loadWrappers(*root));
    std::map<long, Model> model;
    long next = 10;
    const auto some = [&] {
      return std::next(model.begin(), below(static_cast<unsigned>(model.size())));
    };
    const auto check = [&] {
      std::map<long, Model> read;
      for (const auto& [itsKey, node] : root->getAllNodes()) {
        if (node->type() != JtwNode::JT_PMI_ANNOTATION_NODE) continue;
        auto& each = static_cast<JtwPMIAnnotation&>(*node);
        const ApiWmPMIAnnotationData& data = each.annotationData();
        read[itsKey.getAsLong()] = {
            each.name(),         data.textLines.empty() ? "" : data.textLines[0],
            data.layer,          std::round(each.relLoc().getTranslation().x * 1000) / 1000,
            data.annotationType, each.parent().getAsLong()};
      }
      EXPECT_TRUE(read == model) << "seed " << seed;
      ASSERT_GE(pmiOf(nodeOf(*root, 2))->pmiDataGenericArray().size(), 1U);
      EXPECT_EQ(attributes(entity(nodeOf(*root, 2), 0)), "Description=theirs;theirs=kept;");
    };
    for (int step = 0; step < 40; ++step) {
      const long choice = below(9);
      if (choice < 3 || model.empty()) {
        const Model made{L"n" + std::to_wstring(next),
                         "t",
                         below(5) == 0 ? 3 : -1,
                         0.25,
                         std::array{API_PMI_NOTE, API_PMI_DIMENSION,
                                    API_PMI_CLINCH_WELD}[static_cast<std::size_t>(below(3))],
                         1 + below(2)};
        auto& node = *root->createPMIAnnotationNode(key(next), key(made.parent), at(made.x));
        node.setName(made.name);
        node.annotationData().annotationType = made.type;
        node.annotationData().textLines = {made.text};
        node.annotationData().layer = made.layer;
        model[next++] = made;
      } else if (choice == 3) {
        const auto gone = some();
        root->deleteNode(key(gone->first));
        model.erase(gone);
      } else if (choice < 7) {
        auto& [itsKey, changed] = *some();
        JtwPMIAnnotation& node = annotation(*root, itsKey);
        changed.name += L"*";
        node.setName(changed.name);
        changed.x = static_cast<double>(below(1000)) / 4;
        node.setRelLoc(at(changed.x));
        if (choice == 4) {
          changed.text = "text " + std::to_string(step);
          node.annotationData().textLines = {changed.text};
          node.annotationData().graphics.textPolylineSet.clear();
          node.renew();
        }
      } else {
        ASSERT_TRUE(jtw::writePMIs(*root)) << jt::lastError();
        jt::SaveOptions options;
        options.version = versions[below(4)];
        root->partition()->save(nullptr, options);
        registry().releaseRoot(document);
        root = open(document);
        ASSERT_NE(root, nullptr);
        ASSERT_TRUE(jtw::loadWrappers(*root));
      }
      check();
    }
    registry().releaseRoot(document);
  }
}

TEST(StrokeFont, HasLatin1AndComesBackFromItsFile) {
  const JtkStrokeFont& font = JtkStrokeFont::builtIn();
  for (char32_t c = 0x21; c < 0x100; ++c) {
    if (c >= 0x7f && c <= 0xa0) continue;
    ASSERT_TRUE(font.glyphs().contains(c)) << static_cast<int>(c);
    EXPECT_FALSE(font.glyphs().at(c).strokes.empty()) << static_cast<int>(c);
  }
  JtkStrokeFont own;
  own.setGlyph(U'A', {2, {{{0, 0}, {1, 3}}}});
  std::vector<std::byte> bytes = own.toBytes();
  const auto read = JtkStrokeFont::fromBytes(bytes);
  ASSERT_TRUE(read);
  EXPECT_EQ(read->width(JtString("AA"), 10), 40);
  const auto strokes = read->layOut(JtString("AA"), 10);
  ASSERT_EQ(strokes.size(), 2U);
  EXPECT_EQ(strokes[1][1], (JtkStrokeFont::Point{30, 30}));
  EXPECT_FALSE(read->layOut(JtString("\xe6\xbc\xa2"), 1).empty());  // a box
  for (std::size_t size = 0; size < bytes.size(); ++size)
    EXPECT_FALSE(JtkStrokeFont::fromBytes(std::span(bytes).first(size))) << size;
  bytes.push_back(std::byte{0});
  EXPECT_FALSE(JtkStrokeFont::fromBytes(bytes));
}

TEST(PMIAppearance, ColorsAreReadAsTheyAreWritten) {
  JtkwPMIAppearanceData::ColorText text;
  for (const ApiGraColor& color :
       {ApiGraColor(255, 0, 0), ApiGraColor(0, 0, 0), ApiGraColor(1, 2, 3)}) {
    JtkwPMIAppearanceData::setGraColor(color, text);
    EXPECT_EQ(text->size(), 10U);
    ApiGraColor read(9, 9, 9);
    JtkwPMIAppearanceData::getGraColor(text->c_str(), read);
    EXPECT_EQ(read, color);
  }
  JtkwPMIAppearanceData look;
  for (const auto& [alpha, percent] : {std::pair(0.5F, 50), {0.999F, 99}, {0.29F, 28}}) {
    look.setTransparency(alpha);
    EXPECT_EQ(look.textBackgroundOpacity(), percent);
  }
}

}  // namespace
