// PMI of nodes: loaded on demand, changed, merged, taken away, saved.

#include <gtest/gtest.h>

#include "JtBaseDataStream.h"
#include "JtInspect.h"
#include "file/pmi/PMITags.h"
#include "support/PMIFiles.h"

namespace {

using namespace jt::file;
using jt::PMIData;

Bytes fileOf(const PMIVector& vector) { return pmiFile(vector.format, vector.content()); }

jt::PMIGenericEntity entityNamed(PMIDataManager& manager, const char* name) {
  jt::PMIGenericEntity entity;
  entity.typeNameId = manager.stringId(JtString("Notes"));
  entity.parentTypeNameId = manager.stringId(JtString("PMI"));
  entity.type = 0x0100;
  entity.properties.push_back({{JtString("Description")}, {JtString(name)}});
  entity.lines.indices = {0, 2};
  entity.lines.vertices = {0, 0, 0, 1, 1, 1};
  return entity;
}

/// Names of the generic entities, and the ends of associations as "entity>view" by name.
std::vector<std::string> summaryOf(const PMIDataManager& manager) {
  jt::PMIData data(manager.data());
  std::vector<std::string> lines;
  const auto nameOf = [&](int kind, int index) {
    return manager.pmiEntity(PMIDataManager::constructPMITypedID(kind, index)).name().stringToMbs();
  };
  const auto endName = [&](std::uint32_t end) {
    const PMITypedID id{end};
    int index = id.index();
    if ((end & PMITypedID::kIndirect) != 0) {  // views come first, then entities: no other kinds
      const auto found = std::ranges::find(data.cadTags.indices, index);
      index = static_cast<int>(found - data.cadTags.indices.begin());
      if (id.kind() == PMIKind::genericEntity) index -= static_cast<int>(data.modelViews.size());
    }
    return nameOf(static_cast<int>(id.kind()), index);
  };
  for (int i = 0; i < static_cast<int>(data.genericEntities.size()); ++i)
    lines.push_back(nameOf(18, i));
  for (const jt::PMIAssociation& link : data.associations)
    lines.push_back(endName(link.source) + ">" + endName(link.destination));
  return lines;
}
using Lines = std::vector<std::string>;
constexpr const char* kDimension = "Linear Dimension (1)";

TEST(PMIEdit, LoadingIsNoChangeAndAChangeIsSavedInPlace) {
  for (const PMIVector& vector : {kNote8, kNote9, kDim9, kDim105}) {
    SCOPED_TRACE(vector.name);
    MemoryStorage storage;
    const Bytes file = fileOf(vector);
    const auto root = storage.open(file);
    PMIDataManager* pmi = pmiNode(*root).pmi();
    ASSERT_NE(pmi, nullptr) << jt::lastError();
    EXPECT_EQ(storage.saved(*root), file);
    Lines expected = summaryOf(*pmi);
    expected.insert(expected.begin() + (expected.empty() ? 0 : 1), "burr");
    pmi->addGenericEntity(entityNamed(*pmi, "burr"));
    const auto again = storage.open(storage.saved(*root));
    ASSERT_NE(pmiNode(*again).pmi(), nullptr) << jt::lastError();
    EXPECT_EQ(summaryOf(*pmiNode(*again).pmi()), expected);
    EXPECT_EQ(pmiNode(*again).pmi()->data().strings.back(), JtString("PMI"));
  }
}

TEST(PMIEdit, AChangeBelowAnUntouchedPartFileIsSaved) {
  MemoryStorage storage;
  const auto naming = [](const char* part) {
    SceneBuilder scene(kDim9.format);
    scene.partition(1, {2, 3}).partition(2, {}, part).partition(3, {}, part);
    return FileBuilder(kDim9.format).scene(scene.marker().marker().table({})).build();
  };
  storage["top"] = naming("middle");
  const Bytes middle = storage["middle"] = naming("leaf");
  storage["leaf"] = fileOf(kDim9);
  const auto root = storage.open("top");
  ASSERT_TRUE(JtPartition::openAllPartitions(root.get(), true));
  auto* leaf = jt::as<JtPartition>(root->child(0)->child(0)->child(1)->child(0));
  ASSERT_NE(leaf, nullptr);
  EXPECT_EQ(leaf->numParents(), 2);
  EXPECT_FALSE(leaf->isContentModified());
  PMIDataManager& pmi = *pmiNode(*leaf).pmi();
  pmi.addGenericEntity(entityNamed(pmi, "burr"));
  EXPECT_TRUE(leaf->isContentModified());
  root->save();
  EXPECT_EQ(storage["middle"], middle);
  const auto again = storage.open("leaf");
  EXPECT_EQ(summaryOf(*pmiNode(*again).pmi()), summaryOf(pmi));
}

/// The file of a node whose metadata and PMI are in one segment.
Bytes fileOfMetaDataAndPMI() {
  Fields content(kDim9.format);
  content.raw(metaDataElement(kDim9.format, {"keep", "drop"})).raw(kDim9.content());
  return pmiFile(kDim9.format, content.bytes(), true);
}

/// Removes one entry of its metadata and adds an entity.
void changeMetaDataAndPMI(VisMetaDataNode& node) {
  ASSERT_TRUE(node.ensureMetaData() && node.pmi()) << jt::lastError();
  ASSERT_TRUE(node.deleteProperty(jt::make<JtStringPropAtom>(JtString("drop")).get()));
  node.pmi()->addGenericEntity(entityNamed(*node.pmi(), "burr"));
}

TEST(PMIEdit, MetaDataAndPMIOfOneSegmentAreSavedTogether) {
  MemoryStorage storage;
  const auto root = storage.open(fileOfMetaDataAndPMI());
  VisMetaDataNode& node = pmiNode(*root);
  ASSERT_NO_FATAL_FAILURE(changeMetaDataAndPMI(node));
  const auto again = storage.open(storage.saved(*root));
  VisMetaDataNode& saved = pmiNode(*again);
  ASSERT_TRUE(saved.ensureMetaData() && saved.pmi()) << jt::lastError();
  EXPECT_EQ(saved.metaData()->entries().size(), 1U);
  EXPECT_EQ(summaryOf(*saved.pmi()), summaryOf(*node.pmi()));
}

TEST(PMIEdit, ACopyOfANodeHasTheChangesOfMetaDataAndPMI) {
  MemoryStorage storage;
  const auto root = storage.open(fileOfMetaDataAndPMI());
  VisMetaDataNode& node = pmiNode(*root);
  ASSERT_NO_FATAL_FAILURE(changeMetaDataAndPMI(node));
  const jt::Ref<JtBase> copied = node.clone();
  auto& copy = *jt::as<VisMetaDataNode>(copied.get());
  ASSERT_TRUE(copy.ensureMetaData() && copy.pmi());
  EXPECT_EQ(copy.metaData()->entries().size(), 1U);
  EXPECT_EQ(summaryOf(*copy.pmi()), summaryOf(*node.pmi()));
}

TEST(PMIEdit, AnEntityLeavesWithItsAssociationsAndItsTag) {
  for (const PMIVector& vector : {kDim9, kDim105}) {
    SCOPED_TRACE(vector.name);
    MemoryStorage storage;
    const auto root = storage.open(fileOf(vector));
    PMIDataManager& pmi = *pmiNode(*root).pmi();
    const PMITypedID view = PMIDataManager::constructPMITypedID(17, 0);
    pmi.addAssociation(pmi.addGenericEntity(entityNamed(pmi, "b")), view, 98);
    pmi.addAssociation(pmi.addGenericEntity(entityNamed(pmi, "c")), view, 98);
    EXPECT_FALSE(pmi.removeGenericEntity(3));
    ASSERT_TRUE(pmi.removeGenericEntity(1));
    const auto again = storage.open(storage.saved(*root));
    PMIDataManager* saved = pmiNode(*again).pmi();
    ASSERT_NE(saved, nullptr) << jt::lastError();
    EXPECT_EQ(summaryOf(*saved),
              (Lines{kDimension, "c", std::string(kDimension) + ">Top", "c>Top"}));
    EXPECT_EQ(saved->data().cadTags.indices, (std::vector<std::int32_t>{0, 1, 3}));
  }
}

TEST(PMIEdit, DirectEndsAreRenumbered) {
  const auto pmi = jt::make<PMIDataManager>();
  for (const char* name : {"a", "b", "c"}) pmi->addGenericEntity(entityNamed(*pmi, name));
  const auto id = [](int index) { return PMIDataManager::constructPMITypedID(18, index); };
  pmi->addAssociation(id(0), id(2), 10);
  pmi->addAssociation(id(2), id(1), 10);
  ASSERT_TRUE(pmi->removeGenericEntity(1));
  EXPECT_EQ(summaryOf(*pmi), (Lines{"a", "c", "a>c"}));
}

TEST(PMIEdit, NewManagersNameTheirEntitiesByTag) {
  for (const Format& format : allFormats()) {
    SCOPED_TRACE(formatText(format));
    const auto made = jt::make<PMIDataManager>();
    std::vector<PMITypedID> entities;
    entities.push_back(made->addGenericEntity(entityNamed(*made, "a")));
    const auto view = [&](const char* name) {
      jt::PMIModelView view;
      view.nameId = made->stringId(JtString(name));
      return made->addModelView(view);
    };
    const PMITypedID front = view("Front");
    entities.push_back(made->addGenericEntity(entityNamed(*made, "b")));
    const PMITypedID top = view("\"Top\"");  // behind entities that have tags
    made->editModelView(1)->isActive = 1;
    EXPECT_EQ(made->editModelView(2), nullptr);
    made->addAssociation(entities[1], front, 98);
    made->addAssociation(entities[0], top, 98);
    ByteSink body;
    jt::codec::Report losses;
    writePMI(body, made->data(), format, losses);
    const auto saved = PMIAccess::make(readPMI(body.bytes(), format, 0));
    EXPECT_EQ(summaryOf(*saved), (Lines{"a", "b", "b>Front", "a>Top"}));
    for (const jt::PMIAssociation& link : saved->data().associations)
      EXPECT_TRUE((link.source & link.destination & PMITypedID::kIndirect) != 0);
    EXPECT_EQ(saved->data().modelViews.at(1).isActive, 1);
    EXPECT_EQ(saved->links().at(0).destination, front);
  }
}

TEST(PMIEdit, TextsAndTagsAreFoundInWhatWasRead) {
  MemoryStorage storage;
  const auto root = storage.open(fileOf(kDim9));
  PMIDataManager& pmi = *pmiNode(*root).pmi();
  EXPECT_EQ(pmi.stringId(JtString("50")), 1);
  EXPECT_EQ(pmi.stringId(JtString("new")), 4);
  const auto other = jt::make<PMIDataManager>();
  other->addGenericEntity(entityNamed(*other, "merged"));
  pmi.merge(*other);
  EXPECT_EQ(pmi.stringId(JtString("new")), 4);
  EXPECT_EQ(pmi.stringId(JtString("Top")), 0);
  pmi.addGenericEntity(entityNamed(pmi, "added"));
  const auto tags = *pmi.data().cadTags.tags;
  ASSERT_EQ(tags.size(), 4U);
  EXPECT_EQ(tags[3].number, 1002) << "the first that is free";
}

TEST(PMIEdit, MergedPMIKeepItsNamesAndLinks) {
  const auto made = jt::make<PMIDataManager>();
  const PMITypedID mine = made->addGenericEntity(entityNamed(*made, "mine"));
  made->addAssociation(mine, mine, 10);
  const std::string link = std::string(kDimension) + ">Top";
  for (const auto& [to, from] : {std::pair{kDim9, kDim105}, {kDim105, kDim9}, {kDim9, kDim9}}) {
    SCOPED_TRACE(std::string(from.name) + " into " + to.name);
    MemoryStorage storage;
    const auto other = storage.open(fileOf(from));
    const auto root = storage.open(fileOf(to));
    PMIDataManager& pmi = *pmiNode(*root).pmi();
    pmi.merge(*pmiNode(*other).pmi());
    pmi.merge(*made);
    const auto again = storage.open(storage.saved(*root));
    PMIDataManager* saved = pmiNode(*again).pmi();
    ASSERT_NE(saved, nullptr) << jt::lastError();
    EXPECT_EQ(summaryOf(*saved), (Lines{kDimension, kDimension, "mine", link, link, "mine>mine"}));
    EXPECT_EQ(std::ranges::count(saved->data().strings, JtString("Top")), 1);
  }
  // Each end of a link moves by its own kind: faces of precise geometry keep their numbers.
  const auto face = PMIDataManager::constructPMITypedID(static_cast<int>(PMIKind::brepFace), 5);
  const auto onFace = jt::make<PMIDataManager>();
  onFace->addAssociation(onFace->addGenericEntity(entityNamed(*onFace, "on a face")), face, 20);
  made->merge(*onFace);
  EXPECT_EQ(made->links().back().source->index(), 1);
  EXPECT_EQ(made->links().back().destination, face);
}

TEST(PMIEdit, MergedListsFollowTheOwnOnes) {
  PMIData to;
  PMIData from;
  to.layout = from.layout = jt::PMILayout::typed9;
  to.strings = {JtString("own"), JtString("both")};
  from.strings = {JtString("both"), JtString("theirs")};
  to.coordinateSystems = {{0, {1, 2, 3}}};
  from.coordinateSystems = {{0, {4, 5, 6}}, {1, {7, 8, 9}}};
  to.genericEntities.resize(2);
  from.genericEntities.resize(1);
  from.polygons.vertexCounts = {3};
  from.polygons.filled.resize(1);
  from.polygons.filled[0].vertices = {0.5F, 0.25F, 4, 5, 6, 7, 8, 9, 10};
  mergePMI(to, from);
  EXPECT_EQ(to.strings, (std::vector{JtString("own"), JtString("both"), JtString("theirs")}));
  std::vector<std::pair<std::int32_t, float>> systems;
  for (const auto& system : to.coordinateSystems)
    systems.emplace_back(system.nameId, system.frame[0]);
  EXPECT_EQ(systems, (decltype(systems){{0, 1}, {1, 4}, {2, 7}}));
  EXPECT_EQ(to.polygons.vertexCounts, (std::vector{0, 0, 3})) << "the own entities have no area";
  ASSERT_EQ(to.polygons.filled.size(), 1U);
  EXPECT_EQ(to.polygons.filled[0].vertices, from.polygons.filled[0].vertices);
}

TEST(PMIEdit, EntitiesOfFixedKindsAreMergedAsGenericOnes) {
  MemoryStorage storage;
  const auto nine = storage.open(fileOf(kNote9));
  const auto ten = storage.open(fileOf(kDim105));
  PMIDataManager& pmi = *pmiNode(*ten).pmi();
  pmi.merge(*pmiNode(*nine).pmi());
  const auto again = storage.open(storage.saved(*ten));
  EXPECT_EQ(summaryOf(*pmiNode(*again).pmi()),
            (Lines{kDimension, "Check burr", "CSYS1", std::string(kDimension) + ">Top"}));
  PMIDataManager& typed = *pmiNode(*nine).pmi();
  const PMITypedID note = typed.entities().at(0);
  EXPECT_EQ(note.kind(), PMIKind::note);
  EXPECT_EQ(errorCode([&] { typed.addAssociation(note, note, 10); }), "not_editable");
  typed.makeGeneric();
  EXPECT_EQ(summaryOf(typed), (Lines{"Check burr", "CSYS1"}));
}

TEST(PMIEdit, NodesGetAndLoseTheirPMI) {
  for (const PMIVector& vector : {kNote8, kNote9, kDim105}) {
    SCOPED_TRACE(vector.name);
    MemoryStorage storage;
    const auto root = storage.open(fileOf(vector));
    pmiNode(*root).setPMI(nullptr);
    EXPECT_EQ(pmiNode(*root).pmi(), nullptr);
    const auto bare = storage.open(storage.saved(*root));
    EXPECT_EQ(bare->container()->toc().size(), 1U) << "the segment goes with it";
    EXPECT_TRUE(pmiNode(*bare).ensurePMI());
    EXPECT_EQ(pmiNode(*bare).pmi(), nullptr);

    const auto made = jt::make<PMIDataManager>();
    made->addGenericEntity(entityNamed(*made, "\u4e2d new"));
    pmiNode(*bare).setPMI(made.get());
    const auto again = storage.open(storage.saved(*bare));
    ASSERT_NE(pmiNode(*again).pmi(), nullptr) << jt::lastError();
    EXPECT_EQ(summaryOf(*pmiNode(*again).pmi()), Lines{"\u4e2d new"});
    EXPECT_EQ(again->container()->toc()[1].type(), vector.format.major < 10 ? 4 : 3);
    EXPECT_TRUE(jt::verify(MemoryLocation("opened")).empty());
  }
}

TEST(PMIEdit, GenericEntitiesGoIntoOtherVersions) {
  const struct {
    PMIVector from;
    jt::FileVersion to;
  } cases[] = {{kDim9, {10, 0}}, {kDim105, {9, 5}}, {kDim105, {10, 0}}};
  for (const auto& [from, to] : cases) {
    SCOPED_TRACE(std::string(from.name) + " to " + to.text());
    MemoryStorage storage;
    const auto root = storage.open(fileOf(from));
    jt::SaveOptions options;
    options.version = to;
    const auto again = storage.open(storage.saved(*root, options));
    PMIDataManager* saved = pmiNode(*again).pmi();
    ASSERT_NE(saved, nullptr) << jt::lastError();
    EXPECT_EQ(summaryOf(*saved), (Lines{kDimension, std::string(kDimension) + ">Top"}));
    JtBaseDataStream before;
    JtBaseDataStream after;
    EXPECT_TRUE(pmiNode(*root).pmi()->serialize(before) && saved->serialize(after));
    EXPECT_EQ(before.written(), after.written());
    EXPECT_TRUE(storage.report().warnings.empty());
  }
}

TEST(PMIEdit, WhatAnotherVersionHasNoPlaceForIsReportedOrRefused) {
  PMIData data = readPMI(kDim105.body(), kDim105.format, 0);
  data.genericEntities[0].lines.widths = {1, 1, 1};
  data.modelViews[0].properties.push_back({{JtString("k")}, {JtString("v")}});
  data.fonts.emplace_back();
  jt::codec::Report losses;
  ByteSink out;
  writePMI(out, data, {9, 5, false}, losses);
  EXPECT_EQ(losses.warnings.size(), 3U);
}

TEST(PMIEdit, TheNameOfAnEntity) {
  const auto pmi = jt::make<PMIDataManager>();
  jt::PMIGenericEntity entity;
  entity.typeNameId = pmi->stringId(JtString("type"));
  const PMITypedID id = pmi->addGenericEntity(entity);
  const auto name = [&] { return pmi->pmiEntity(id).name().stringToMbs(); };
  EXPECT_EQ(name(), "type");
  pmi->editGenericEntity(0)->texts.emplace_back().stringId = pmi->stringId(JtString("text"));
  EXPECT_EQ(name(), "text");
  pmi->editGenericEntity(0)->properties.push_back({{JtString("name")}, {JtString("name")}});
  EXPECT_EQ(name(), "name");
  pmi->editGenericEntity(0)->properties.push_back({{JtString("Description")}, {JtString("D")}});
  EXPECT_EQ(name(), "D");
}

}  // namespace
