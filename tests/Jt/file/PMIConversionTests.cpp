// PMI on its way into other versions and byte orders: entities of fixed kinds, CAD tags, entities
// that are too long for 16-bit indices.

#include <gtest/gtest.h>

#include "codec/packet/Packets.h"
#include "file/pmi/PMIFields.h"
#include "file/pmi/PMIGeneric.h"
#include "file/pmi/PMITags.h"
#include "file/segments/SegmentObjects.h"
#include "support/Differences.h"
#include "support/PMIBodies.h"

namespace {

using namespace jt::file;
using jt::PMIData;

constexpr Format kForms[] = {{8, 1, false}, {9, 5, false}, {10, 0, false}, {10, 5, false},
                             {8, 1, true},  {9, 5, true},  {10, 0, true},  {10, 5, true}};

/// Content as it is read back from a file of another form. @param body takes the stored bytes
PMIData stored(const PMIData& data, const Format& format, jt::codec::Report& losses,
               Bytes* body = nullptr) {
  ByteSink out;
  writePMI(out, data, format, losses);
  if (body) *body = {out.bytes().begin(), out.bytes().end()};
  return readPMI(out.bytes(), format, 0);
}

std::string nameOf(const PMIDataManager& manager, PMITypedID id) {
  const PMIEntity entity = manager.pmiEntity(id);
  return entity.isValid() ? entity.name().stringToMbs() : "face " + std::to_string(id.index());
}

/// The associations whose ends are there, as "source>destination".
std::vector<std::string> linksOf(const PMIData& data) {
  const auto manager = PMIAccess::make(data);
  std::vector<std::string> lines;
  for (const PMIDataManager::Link& link : manager->links())
    if (link.source && link.destination)
      lines.push_back(nameOf(*manager, *link.source) + ">" + nameOf(*manager, *link.destination));
  return lines;
}

Bytes comparable(const PMIData& data) {
  ByteSink out;
  writeComparablePMI(out, data);
  return {out.bytes().begin(), out.bytes().end()};
}

// --- Entities of fixed kinds

constexpr std::array<float, 9> kFrame{10, 20, 30, 10, 22, 30, 10, 20, 35};  // x is y, y is z

/// One entity of each kind, each with a text or name of its own.
PMIData typedContent() {
  PMIData data;
  data.layout = jt::PMILayout::typed9;
  const auto text = [&] {
    data.strings.emplace_back("text " + std::to_string(data.strings.size()));
    return static_cast<std::int32_t>(data.strings.size() - 1);
  };
  for (auto& kind : data.flat) {
    jt::PMI2DEntity& entity = kind.emplace_back();
    entity.base = {static_cast<std::int32_t>(data.strings.size()) + 100, 1, kFrame, 3.5F, 1};
    entity.texts.emplace_back().stringId = text();
    entity.lines = {{0, 2}, {7}, {}, {3, 4, 5, 7}};
  }
  std::int16_t dimensionality = 2;
  for (auto& kind : data.solid) {
    jt::PMI3DEntity& entity = kind.emplace_back();
    entity.base.frame = kFrame;
    entity.base.frameFlag = dimensionality == 2 ? 1 : 0;
    entity.stringId = text();
    entity.dimensionality = dimensionality;
    entity.indices = {0, 2};
    entity.vertices = {3, 4, 5, 7, 8, 9};
    if (dimensionality == 2) entity.vertices.resize(4);
    entity.vectors = {1, 2.5F, 3, 0, 0, 1, 0, 1, 0, 1, 0, -0.1F};
    dimensionality = 3;
  }
  data.coordinateSystems.push_back({text(), {5, 6, 7, 5, 9, 7, 5, 6, 8}});
  data.flat[PMIData::note][0].urlFlag = 1;
  return data;
}

TEST(PMIConversion, EntitiesOfFixedKindsBecomeGenericOnes) {
  jt::codec::Report losses;
  PMIData data = typedContent();
  ensureTags(data);
  // The numbers of fixed kinds are not known, but the tag leads to the entity: to the note.
  const auto note = *PMITagPlaces(data).first(PMIKind::note);
  data.associations.push_back({0x87000000U | static_cast<std::uint32_t>(note), 0x90000005U, 10});
  const auto visible = PMIAccess::make(data);
  const std::vector<PMITypedID> ids = visible->entities();
  const PMIData generic = stored(data, {10, 0, false}, losses);
  const auto manager = PMIAccess::make(generic);
  EXPECT_TRUE(losses.warnings.empty());
  struct Case {
    const char* text;
    std::uint16_t type;
    std::uint16_t parent;
    const char* typeName;
  };
  const Case cases[] = {{"text 5", 0x0008, 0x0002, "Line Weld"},
                        {"text 8", 0x0004, 0x0002, "Spot Weld"},
                        {"text 6", 0x0041, 0x0001, "Surface Finish"},
                        {"text 9", 0x0042, 0x0001, "Measurement Point"},
                        {"text 10", 0x0111, 0x0108, "Reference Axis"},
                        {"text 3", 0x0088, 0x0080, "Datum Target"},
                        {"text 4", 0x0081, 0x0080, "Feature Control Frame"},
                        {"text 7", 0x0044, 0x0001, "Datum Locator"},
                        {"text 0", 0x0082, 0x0080, "Dimension"},
                        {"text 2", 0x0084, 0x0080, "Datum Feature Symbol"},
                        {"text 1", 0x0100, 0x0001, "Notes"},
                        {"text 11", 0x0104, 0x0001, "Coordinate Systems"}};
  ASSERT_EQ(generic.genericEntities.size(), std::size(cases));
  ASSERT_EQ(ids.size(), std::size(cases));
  for (std::size_t i = 0; i < std::size(cases); ++i) {
    SCOPED_TRACE(cases[i].typeName);
    for (const PMIEntity& entity :
         {visible->pmiEntity(ids[i]), manager->pmiEntity(typedID(PMIKind::genericEntity, i))}) {
      EXPECT_EQ(entity.name(), JtString(cases[i].text));
      EXPECT_EQ(entity.typeCode(), cases[i].type);
      EXPECT_EQ(entity.typeName(), JtString(cases[i].typeName));
      EXPECT_EQ(entity.asGeneric().lines.vertices, generic.genericEntities[i].lines.vertices);
    }
    EXPECT_EQ(generic.genericEntities[i].parentType, cases[i].parent);
  }
  const auto entity = [&](std::size_t i) -> const jt::PMIGenericEntity& {
    return generic.genericEntities[i];
  };
  // Origin + 3 y + 4 z and so on.
  EXPECT_EQ(entity(10).lines.vertices, (std::vector<float>{10, 23, 34, 10, 25, 37}));
  EXPECT_EQ(entity(10).lines.types, std::vector<std::int16_t>{7});
  EXPECT_EQ(entity(10).base.frame, kFrame);
  EXPECT_EQ(entity(10).base.userLabel, 101);
  EXPECT_EQ(*findProperty(entity(10).properties, "URLFlag"), JtString("1"));
  EXPECT_EQ(entity(1).lines.vertices, (std::vector<float>{10, 23, 34, 10, 25, 37}));
  EXPECT_EQ(*findProperty(entity(1).properties, "WeldPoint"), JtString("1 2.5 3"));
  EXPECT_EQ(*findProperty(entity(1).properties, "NormalVector"), JtString("1 0 -0.1"));
  EXPECT_EQ(entity(3).lines.vertices, (std::vector<float>{3, 4, 5, 7, 8, 9}));
  EXPECT_EQ(*findProperty(entity(3).properties, "CoordinateDirection"), JtString("0 1 0"));
  EXPECT_EQ(entity(3).base.frame, (std::array<float, 9>{1, 2.5F, 3, 2, 2.5F, 3, 1, 3.5F, 3}))
      << "a place for an entity without frame";
  EXPECT_EQ(entity(11).base.frame, data.coordinateSystems[0].frame);
  EXPECT_EQ(entity(11).lines.vertices,
            (std::vector<float>{5, 6, 7, 5, 9, 7, 5, 6, 7, 5, 6, 8, 5, 6, 7, 8, 6, 7}));
  EXPECT_EQ(linksOf(generic), std::vector<std::string>{"text 1>face 5"});
  EXPECT_EQ(linksOf(data), linksOf(generic));
  // Back as generic entities, which show the same.
  const PMIData back = stored(generic, {8, 1, false}, losses);
  EXPECT_EQ(back.genericEntities.size(), std::size(cases));
  EXPECT_EQ(back.genericEntities[10].lines.vertices, entity(10).lines.vertices);
  EXPECT_TRUE(losses.warnings.empty());
}

TEST(PMIConversion, AFrameOfZerosOrWithoutDirectionsIsThePlaneOfXAndY) {
  for (const std::array<float, 9>& frame : {std::array<float, 9>{}, {1, 2, 3, 1, 2, 3, 1, 2, 3}}) {
    PMIData data = typedContent();
    jt::PMI2DEntity& note = data.flat[PMIData::note][0];
    note.base.frame = frame;
    data.coordinateSystems[0].frame = frame;
    EXPECT_EQ(genericForm(data, PMIKind::note, 0).lines.vertices,
              (std::vector<float>{frame[0] + 3, frame[1] + 4, frame[2], frame[0] + 5, frame[1] + 7,
                                  frame[2]}));
    EXPECT_TRUE(genericForm(data, PMIKind::coordinateSystem, 0).lines.vertices.empty());
  }
}

// --- CAD tags

TEST(PMIConversion, TagsAndLinksComeThroughEveryVersionAndByteOrder) {
  for (const bool hasWide : {false, true}) {
    const auto made = jt::make<PMIDataManager>();
    const auto view = made->addModelView({});
    std::vector<std::string> links;
    for (int i = 0; i < 7; ++i) {  // more than the first four values, which are stored plain
      jt::PMIGenericEntity entity;
      entity.typeNameId = made->stringId(JtString("e" + std::to_string(i)));
      made->addAssociation(made->addGenericEntity(entity), view, 98);
      links.push_back("e" + std::to_string(i) + ">");
    }
    PMIData data(made->data());
    (*data.cadTags.tags)[3].number = -70000;
    if (hasWide) (*data.cadTags.tags)[2] = {0x123456789abcLL, true};
    if (hasWide) (*data.cadTags.tags)[5] = {4, true};
    data.associations.push_back({0x92000003U, 0x90000006U, 10});
    links.push_back("e2>face 6");
    for (const Format& from : kForms) {
      jt::codec::Report losses;
      const PMIData read = stored(data, from, losses);
      for (const Format& to : kForms) {
        SCOPED_TRACE(formatText(from) + " to " + formatText(to) + (hasWide ? " wide" : ""));
        PMIData again = stored(read, to, losses);
        EXPECT_EQ(linksOf(again), links);
        ASSERT_TRUE(decodeCadTags(again));
        EXPECT_EQ(*again.cadTags.tags, *data.cadTags.tags);
      }
      EXPECT_TRUE(losses.warnings.empty());
    }
  }
}

TEST(PMIConversion, TagsOf8MayBeCodedInSeveralWays) {
  const std::vector<std::int32_t> types(6, 1);
  const std::vector<std::int32_t> numbers{9, 12, 5, 40, 41, 7};
  using jt::codec::PacketKind;
  using jt::codec::Predictor;
  for (const auto& [kind, predictor] : {std::pair{PacketKind::mk1, Predictor::lag1},
                                        {PacketKind::mk1, Predictor::none},
                                        {PacketKind::mk2, Predictor::lag1}}) {
    PMIData data;
    data.layout = jt::PMILayout::typed8;
    jt::codec::append(data.cadTags.coded, 1, false);
    jt::codec::append(data.cadTags.coded, 6, false);
    for (const auto* values : {&types, &numbers})
      jt::codec::encodePacket(kind, data.cadTags.coded, false, *values, predictor);
    ASSERT_TRUE(decodeCadTags(data));
    for (std::size_t i = 0; i < numbers.size(); ++i)
      EXPECT_EQ((*data.cadTags.tags)[i], jt::PMICadTag{numbers[i]});
  }
}

TEST(PMIConversion, WhatIsNotUnderstoodCostsNoEntity) {
  PMIData tags = readPMI(kDim105.body(), kDim105.format, 0);
  tags.associations.push_back({0x92000001U, 0x90000001U, 10});
  tags.cadTags.coded.back() ^= std::byte{0x55};  // 64-bit tags that are not there
  PMIData opaque = readPMI(genericBody({10, 5, false}, true, false, false), {10, 5, false}, 0);
  opaque.associations.push_back({0x92000001U, 0x90000001U, 10});
  for (const Format& to : kForms) {
    SCOPED_TRACE(formatText(to));
    jt::codec::Report losses;
    const bool isKept = to.has(Feature::genericPMI) && !to.bigEndian;
    const PMIData known = stored(tags, to, losses);
    EXPECT_EQ(known.genericEntities.size(), 1U);
    EXPECT_EQ(linksOf(known).at(0), "Linear Dimension (1)>Top");
    if (to != kDim105.format) {
      EXPECT_EQ(known.associations.size(), 1U) << "a face has lost its number";
    }
    const PMIData rest = stored(opaque, to, losses);
    EXPECT_EQ(rest.genericEntities.size(), 1U);
    EXPECT_EQ(rest.associations.size(), isKept ? 2U : 1U);
    EXPECT_EQ(rest.form.opaqueRest, isKept);
  }
}

// --- Entities that are too long

TEST(PMIConversion, LongEntitiesAreDividedAndComeBackWhole) {
  const auto made = jt::make<PMIDataManager>();
  const PMITypedID view = made->addModelView({});
  jt::PMIGenericEntity entity;
  entity.typeNameId = made->stringId(JtString("short"));
  made->addGenericEntity(entity);
  entity.typeNameId = made->stringId(JtString("long"));
  entity.base.userLabel = 7;
  entity.properties = {{{"LAYER"}, {"3"}}, {{"KrGmProtoKey"}, {"9"}}};
  entity.lines.indices = {0};
  for (const int length : {20000, 20000, 70000, 5}) {
    entity.lines.types.push_back(static_cast<std::int16_t>(length % 251));
    entity.lines.indices.push_back(entity.lines.indices.back() + length);
  }
  for (int i = 0; i < 3 * entity.lines.indices.back(); ++i)
    entity.lines.vertices.push_back(static_cast<float>(i));
  entity.texts.resize(2);
  jt::PMIText& text = entity.texts[0];
  text.stringId = entity.typeNameId;
  text.indices = {0, 10, 40000};
  for (int i = 0; i < 2 * 40000; ++i) text.vertices.push_back(static_cast<float>(-i));
  entity.texts[1].stringId = 0;
  made->addAssociation(made->addGenericEntity(entity), view, 98);
  for (const Format& format : {kForms[0], kForms[2], kForms[5]}) {
    SCOPED_TRACE(formatText(format));
    jt::codec::Report losses;
    Bytes body;
    const PMIData read = stored(made->data(), format, losses, &body);
    ASSERT_EQ(read.genericEntities.size(), 2U);
    const jt::PMIGenericEntity& whole = read.genericEntities[1];
    EXPECT_EQ(whole.lines.indices, entity.lines.indices);
    EXPECT_EQ(whole.lines.types, entity.lines.types);
    EXPECT_TRUE(whole.lines.vertices == entity.lines.vertices);
    ASSERT_EQ(whole.texts.size(), 2U);
    EXPECT_EQ(whole.texts[0].indices, text.indices);
    EXPECT_TRUE(whole.texts[0].vertices == text.vertices);
    EXPECT_EQ(read.associations.size(), 1U);
    Bytes again;
    stored(read, format, losses, &again);
    EXPECT_TRUE(again == body) << "divided in the same way";

    // A program that does not know of continuations sees all parts in the view.
    PMIData parts;
    parts.form = read.form;
    Reader reader(body, format, 0);
    PMIFields::run(reader, parts);
    const std::size_t count = format.has(Feature::genericPMI) ? 2 : 6;
    ASSERT_EQ(parts.genericEntities.size(), count);
    EXPECT_EQ(parts.associations.size(), count - 1);
    EXPECT_EQ(parts.cadTags.indices.size(), count + 1);
    EXPECT_EQ(parts.genericEntities[1].texts.size(), 4U);
    for (std::size_t i = 2; i < count; ++i) {
      const auto& properties = parts.genericEntities[i].properties;
      EXPECT_EQ(*findProperty(properties, "LAYER"), JtString("3"));
      EXPECT_EQ(findProperty(properties, "KrGmProtoKey"), nullptr) << "there is one object";
      EXPECT_LE(parts.genericEntities[i].lines.indices.back(), 32767);
    }
    EXPECT_TRUE(losses.warnings.empty());
  }
}

TEST(PMIConversion, IndicesThatLeadNowhereFailNoSave) {
  PMIData data;
  jt::PMIGenericEntity& entity = data.genericEntities.emplace_back();
  entity.lines = {{0, 2, -70000, 1, 70000}, {1, 2, 3, 4}, {}, {1, 2, 3, 4, 5, 6, 7, 8, 9}};
  entity.texts.emplace_back().indices = {5, 70000};
  jt::codec::Report losses;
  const PMIData read = stored(data, {9, 5, false}, losses);
  EXPECT_EQ(read.genericEntities.at(0).lines.indices, (std::vector<std::int32_t>{0, 2, 3, 5}));
  EXPECT_EQ(read.genericEntities.at(0).lines.types, (std::vector<std::int16_t>{1, 3, 4}));
  EXPECT_EQ(read.genericEntities.at(0).texts.size(), 1U);
}

// --- Files

TEST(PMIConversion, PMIOf105HasTheFlagsOf100There) {
  MemoryStorage storage;
  Fields content(kDim105.format);
  content.raw(metaDataElement(kDim105.format, {"keep", "drop"})).raw(kDim105.content());
  for (const bool isEdited : {false, true}) {
    const auto root = storage.open(pmiFile(kDim105.format, content.bytes(), true));
    if (isEdited) {
      ASSERT_TRUE(pmiNode(*root).ensureMetaData());
      ASSERT_TRUE(
          pmiNode(*root).deleteProperty(jt::make<JtStringPropAtom>(JtString("drop")).get()));
    }
    jt::SaveOptions options;
    options.version = jt::FileVersion{10, 0};
    const auto saved = storage.open(storage.saved(*root, options));
    EXPECT_TRUE(storage.report().warnings.empty());
    EXPECT_EQ(storage.report().segments.at(1).kind, jt::SegmentAction::Kind::rewritten);
    ASSERT_NE(pmiNode(*saved).pmi(), nullptr) << jt::lastError();
    const jt::PMIForm& form = pmiNode(*saved).pmi()->data().form;
    EXPECT_FALSE(form.byteFlags);
    EXPECT_TRUE(form.guardedText);
    ASSERT_TRUE(pmiNode(*saved).ensureMetaData());
    EXPECT_EQ(pmiNode(*saved).metaData()->entries().size(), isEdited ? 1U : 2U);
    if (!isEdited) {
      EXPECT_EQ(Differences(*root, *saved).lines(), std::vector<std::string>{});
    }
  }
  const auto bare = pmiFile(kDim105.format, metaDataElement(kDim105.format, {"keep"}), true);
  jt::SaveOptions options;
  options.version = jt::FileVersion{10, 0};
  storage.saved(*storage.open(bare), options);
  EXPECT_EQ(storage.report().segments.at(1).kind, jt::SegmentAction::Kind::copied);
}

/// The fields of a PMI element in order, but for those that count or code what was added.
class FieldLines : public FieldListener {
 public:
  void field(std::size_t, std::size_t, const char* name, const char*,
             const std::string& value) override {
    for (const char* changed : {"pmiVersionNumber", "genericEntityCount", "cadTagIndex",
                                "cadTagDataLength", "compressedCadTags", "surplus"})
      if (std::string_view(name).starts_with(changed)) return;
    lines_.push_back(std::string(name) + "=" + value);
  }
  const std::vector<std::string>& lines() const { return lines_; }

 private:
  std::vector<std::string> lines_;
};

std::vector<std::string> fieldLines(const JtPartition& root) {
  const Container& container = *root.container();
  const SegmentContent content = container.load(container.toc()[1]);
  FieldLines lines;
  tracePMI(segmentElements(content.bytes, container.format()).at(0).body, container.format(), 0,
           lines);
  return lines.lines();
}

std::vector<std::pair<std::string, Bytes>> foreignFiles() {
  std::vector<std::pair<std::string, Bytes>> files;
  for (const PMIVector& vector : {kNote8, kNote9, kDim9, kDim105})
    files.emplace_back(vector.name, pmiFile(vector.format, vector.content()));
  for (const Format& format : kForms)
    for (int pmiVersion = 2; pmiVersion <= 8; ++pmiVersion) {
      if (format.major == 10 && pmiVersion > 5) continue;  // 4 forms
      const Bytes body = format.major == 10
                             ? genericBody(format, pmiVersion % 2 == 0, pmiVersion / 2 == 1)
                             : TypedBody(format, format.major - 7, pmiVersion).bytes();
      files.emplace_back(formatText(format) + " " + std::to_string(pmiVersion),
                         pmiFile(format, pmiContent(format, body)));
    }
  return files;
}

TEST(PMIConversion, AddedEntitiesLeaveForeignPMIAsItIs) {
  MemoryStorage storage;
  for (const auto& [name, file] : foreignFiles()) {
    SCOPED_TRACE(name);
    const auto before = storage.open(file);
    const auto root = storage.open(file);
    PMIDataManager* pmi = pmiNode(*root).pmi();
    ASSERT_NE(pmi, nullptr) << jt::lastError();
    EXPECT_TRUE(storage.saved(*root) == file);
    const std::size_t count = pmi->entities().size();
    jt::PMIGenericEntity added;
    added.typeNameId = 1;
    added.properties.push_back({{"Description"}, {"burr"}});
    const PMITypedID id = pmi->addGenericEntity(added);
    for (int more = 0; more < 2; ++more) pmi->addGenericEntity(added);
    const auto again = storage.open(storage.saved(*root));
    PMIDataManager* saved = pmiNode(*again).pmi();
    ASSERT_NE(saved, nullptr) << jt::lastError();
    EXPECT_EQ(saved->entities().size(), count + 3);
    EXPECT_EQ(saved->pmiEntity(id).name(), JtString("burr"));
    EXPECT_EQ(Differences(*before, *again).lines().size(), 3U) << "what was added";
    // Every field that was there is there, in order.
    const std::vector<std::string> now = fieldLines(*again);
    auto at = now.begin();
    for (const std::string& line : fieldLines(*before)) {
      at = std::find(at, now.end(), line);
      ASSERT_NE(at, now.end()) << line;
      ++at;
    }
    if (saved->data().cadTags.flag == 1) continue;  // whose list keeps the tag
    const int removed[] = {id.index() + 1, -1,         id.index(),
                           id.index() + 3, id.index(), id.index() + 2};
    EXPECT_EQ(saved->removeGenericEntities(removed), 3);
    EXPECT_TRUE(comparable(saved->data()) == comparable(pmiNode(*before).pmi()->data()));
  }
}

TEST(PMIConversion, ForeignPMIMeansTheSameInEveryVersion) {
  MemoryStorage storage;
  for (const auto& [name, file] : foreignFiles()) {
    const auto root = storage.open(file);
    const std::size_t count = pmiNode(*root).pmi()->entities().size();
    for (const jt::FileVersion version : {jt::FileVersion{8, 2}, {9, 5}, {10, 0}, {10, 2}}) {
      SCOPED_TRACE(name + " to " + version.text());
      jt::SaveOptions options;
      options.version = version;
      const auto saved = storage.open(storage.saved(*root, options));
      PMIDataManager* pmi = pmiNode(*saved).pmi();
      ASSERT_NE(pmi, nullptr) << jt::lastError();
      EXPECT_EQ(pmi->entities().size(), count);
      EXPECT_EQ(linksOf(pmi->data()), linksOf(pmiNode(*root).pmi()->data()));
      if (!storage.report().warnings.empty()) continue;  // widths, areas and fonts
      EXPECT_EQ(Differences(*root, *saved).lines(), std::vector<std::string>{});
    }
  }
}

}  // namespace
