// The element "PMI Manager Meta Data": layouts, gates and forms, against bytes that are put
// together here or by hand, field by field.

#include <gtest/gtest.h>

#include "file/pmi/PMIConversion.h"
#include "file/pmi/PMIFields.h"
#include "file/pmi/PMITags.h"
#include "support/PMIBodies.h"
#include "support/Survival.h"

namespace {

using namespace jt::file;
using jt::PMIData;

Bytes written(const PMIData& data, const Format& format) {
  ByteSink out;
  jt::codec::Report losses;
  writePMI(out, data, format, losses);
  return {out.bytes().begin(), out.bytes().end()};
}

/// Every byte of a body must be reported, in order.
class Coverage : public FieldListener {
 public:
  void field(std::size_t offset, std::size_t size, const char* name, const char*,
             const std::string&) override {
    EXPECT_EQ(offset, end) << name;
    end = offset + size;
  }
  std::size_t end = 0;
};

void expectReadToldAndWrittenBack(const Bytes& body, const Format& format, PMIData& data) {
  data = readPMI(body, format, 0);
  EXPECT_EQ(written(data, format), body);
  Coverage coverage;
  tracePMI(body, format, 0, coverage);
  EXPECT_EQ(coverage.end, body.size());
}

TEST(PMI, HandMadeElementsHoldWhatWasPutInAndAreWrittenBack) {
  for (const PMIVector& vector : {kNote8, kNote9}) {
    SCOPED_TRACE(vector.name);
    PMIData data;
    expectReadToldAndWrittenBack(vector.body(), vector.format, data);
    ASSERT_EQ(data.flat[PMIData::note].size(), 1U);
    const jt::PMI2DEntity& note = data.flat[PMIData::note][0];
    EXPECT_EQ(note.base.textHeight, 3.5F);
    EXPECT_EQ(data.strings.at(static_cast<std::size_t>(note.texts.at(0).stringId)),
              JtString("Check burr"));
    EXPECT_EQ(note.lines.vertices, (std::vector<float>{0, 0, 10, 0}));
    ASSERT_EQ(data.coordinateSystems.size(), 1U);
    EXPECT_EQ(data.coordinateSystems[0].frame[3], 6.0F);
    EXPECT_EQ(data.strings.at(1), JtString("CSYS1"));
  }
  for (const PMIVector& vector : {kDim9, kDim105}) {
    SCOPED_TRACE(vector.name);
    PMIData data;
    expectReadToldAndWrittenBack(vector.body(), vector.format, data);
    const auto manager = PMIAccess::make(data);
    const PMIEntity entity = manager->pmiEntity(PMIDataManager::constructPMITypedID(18, 0));
    ASSERT_TRUE(entity.isValid());
    EXPECT_EQ(entity.name(), JtString("Linear Dimension (1)"));
    EXPECT_EQ(*entity.property("value"), JtString("50"));
    EXPECT_EQ(manager->pmiEntity(PMIDataManager::constructPMITypedID(17, 0)).name(),
              JtString("Top"));
    EXPECT_FALSE(manager->pmiEntity(PMIDataManager::constructPMITypedID(18, 1)).isValid());
    EXPECT_EQ(data.genericEntities[0].type, 0x82);
    EXPECT_EQ(data.genericEntities[0].lines.vertices.size(), 18U);
    EXPECT_EQ(data.associations.at(0).source, 0x92000001U);
    EXPECT_EQ(data.associations.at(0).destination, 0x91000000U);
    EXPECT_EQ(data.associations.at(0).reason, 98);
    ASSERT_TRUE(decodeCadTags(data));
    EXPECT_EQ(*data.cadTags.tags, (std::vector<jt::PMICadTag>{{1000}, {1001}}));
    EXPECT_EQ(written(data, vector.format), vector.body()) << "tags are coded again";
  }
}

TEST(PMI, EveryVersionOfTheTypedLayoutHasItsOwnFields) {
  for (const int major : {8, 9})
    for (int elementVersion = 1; elementVersion <= major - 7; ++elementVersion)
      for (int pmiVersion = 2; pmiVersion <= 8; ++pmiVersion)
        for (const bool big : {false, true}) {
          const Format format{major, major == 8 ? 1 : 5, big};
          SCOPED_TRACE(formatText(format) + " element " + std::to_string(elementVersion) + " PMI " +
                       std::to_string(pmiVersion));
          PMIData data;
          expectReadToldAndWrittenBack(TypedBody(format, elementVersion, pmiVersion).bytes(),
                                       format, data);
          EXPECT_TRUE(data.trailingBytes.empty());
          std::vector<std::size_t> counts;
          for (const auto& kind : data.flat) counts.push_back(kind.size());
          for (const auto& kind : data.solid) counts.push_back(kind.size());
          EXPECT_EQ(counts, (std::vector<std::size_t>{1, 2, 3, 4, 5, 6, 8, 10, 7, 9, 11}));
          EXPECT_EQ(data.designGroups.size(), 12U);
          EXPECT_EQ(data.coordinateSystems.size(), 13U);
          EXPECT_EQ(data.flat[PMIData::note][1].urlFlag, pmiVersion > 5 ? 1U : 0U);
          EXPECT_EQ(data.solid[PMIData::measurementPoint][0].vectors[11],
                    pmiVersion >= 4 ? 12.0F : 0.0F);
          EXPECT_EQ(data.associations[0].destination, 0x11000004U);
          EXPECT_EQ(data.associations[0].sourceOwner, pmiVersion > 5 ? 1 : -1);
          EXPECT_EQ(data.strings.at(1), JtString("\u00e9b")) << "no UTF-8, so Latin-1";
          if (pmiVersion > 6) {
            EXPECT_EQ(data.genericEntities.at(0).properties[0].key.hidden, 1U);
          }
          if (elementVersion > 1) {
            EXPECT_EQ(data.fonts.at(0).polygons.filled.at(0).colors, std::vector<float>{4});
          }
        }
}

TEST(PMI, TheFormsOfTheGenericLayoutAreDistinguished) {
  for (const Format& format : allFormats()) {
    if (format.major < 10) continue;
    for (const bool byteFlags : {false, true})
      for (const bool guarded : {false, true})
        for (const bool knownEnd : {false, true}) {
          SCOPED_TRACE(formatText(format) + (byteFlags ? " byte" : " word") +
                       (guarded ? " guarded" : " always") + (knownEnd ? "" : " odd end"));
          PMIData data;
          expectReadToldAndWrittenBack(genericBody(format, byteFlags, guarded, knownEnd), format,
                                       data);
          EXPECT_EQ(data.form, (jt::PMIForm{byteFlags, guarded, false, false, !knownEnd}));
          EXPECT_EQ(data.associations[0].sourceOwner, 1);
          EXPECT_EQ(data.associations[0].destination, 0x11000004U);
          EXPECT_EQ(data.genericEntities.at(0).lines.indices.at(1), 70000);
          EXPECT_EQ(data.strings.at(1), JtString("\u4e2d"));
          if (knownEnd) {
            EXPECT_EQ(data.polygons.filled.at(0).colors, std::vector<float>{7});
          }
          EXPECT_EQ(data.trailingBytes.size(), knownEnd ? 16U : 45U);
        }
  }
}

TEST(PMI, OwnersMayBeInOldContentAndLengthsMayCountFromTheVersion) {
  PMIData data;
  const Format format{9, 5, false};
  Fields owners(format);
  owners.put(std::int16_t{1}).put(std::int16_t{5}).put(std::int16_t{0}).zeros(52);
  owners.i32(1).i32(1).i32(2).i32(3).i32(-1).i32(-1).i32(0).i32(0);
  expectReadToldAndWrittenBack(owners.bytes(), format, data);
  EXPECT_TRUE(data.form.ownersAlways);

  Bytes tags = kDim9.body();
  const std::size_t at = tags.size() - (4 + 4 + 4 + 13 + 17);  // length, inner version, count
  ASSERT_EQ(jt::loadScalar<std::int32_t>(&tags[at], false), static_cast<int>(tags.size() - at));
  tags[at] = std::byte(std::to_integer<int>(tags[at]) + 2);
  expectReadToldAndWrittenBack(tags, format, data);
  EXPECT_TRUE(data.form.lengthAtOnce);
  EXPECT_TRUE(decodeCadTags(data));
}

TEST(PMI, WhatCannotBeReadIsCarriedAndLeavesTheFileUsable) {
  struct Case {
    const char* what;
    PMIVector vector;
    std::size_t offset;  // in the body
    std::uint8_t byte;
  };
  // Offsets of dim105: design groups 3, associations 7, strings 35, views 123, generic 207.
  const Case cases[] = {
      {"design groups", kDim105, 6, 0x7f},       {"negative count", kDim105, 10, 0xff},
      {"owner without text", kDim105, 15, 0x04}, {"string count", kDim105, 37, 0x01},
      {"length of a string", kDim105, 41, 0x10}, {"name of a view", kDim105, 199, 0x04},
      {"entity count", kDim105, 208, 0x01},      {"dimension count", kNote9, 9, 0x7f},
      {"text of the note", kNote9, 64, 0x02}};
  MemoryStorage storage;
  for (const Case& each : cases) {
    SCOPED_TRACE(each.what);
    Bytes body = each.vector.body();
    body[each.offset] = std::byte{each.byte};
    const Bytes file = pmiFile(each.vector.format, pmiContent(each.vector.format, body));
    const auto root = storage.open(file);
    EXPECT_FALSE(pmiNode(*root).ensurePMI());
    EXPECT_EQ(pmiNode(*root).pmi(), nullptr);
    for (const char* word : {"PMI", "opened"})
      EXPECT_NE(jt::lastError().find(word), std::string::npos) << jt::lastError();
    const auto notes = jt::verify(MemoryLocation("opened"));
    ASSERT_EQ(notes.size(), 1U);
    EXPECT_EQ(notes[0].code, "unreadable_pmi");
    EXPECT_FALSE(notes[0].isError);
    EXPECT_TRUE(survive(storage, file).empty());
    pmiNode(*root).setIgnored(true);
    const auto again = storage.open(storage.saved(*root));
    EXPECT_TRUE(std::ranges::equal(again->container()->segmentBytes(again->container()->toc()[1]),
                                   root->container()->segmentBytes(root->container()->toc()[1])));
  }
}

/// Offset of the first field of a name.
class FirstField : public FieldListener {
 public:
  explicit FirstField(std::string_view name) : name_(name) {}
  void field(std::size_t offset, std::size_t, const char* name, const char*,
             const std::string&) override {
    if (at == 0 && name == name_) at = offset;
  }
  std::size_t at = 0;

 private:
  std::string_view name_;
};

TEST(PMI, TheRestIsOpaqueWhereAFieldOfItIsWrong) {
  struct Case {
    const char* field;
    Bytes body;
    Format format;
    std::int32_t value;
    const char* said;  // in the usual form; a reader tries the others, and then carries the rest
    std::size_t kept = ~std::size_t{0};  // bytes behind the value
  };
  constexpr Format k95{9, 5, false};
  constexpr Format k100{10, 0, true};
  const Bytes generic = genericBody(k100, false, true);
  const Case cases[] = {
      {"vertexCounts", TypedBody(k95, 2, 8).bytes(), k95, 2, "1 polygon elements do not fit", 23},
      {"elementCount", generic, k100, 1, "expected 1 vertexCounts, found 2"},
      {"bindings", generic, k100, 0, "expected 3 bindings, found 0"},
      {"dimensions", generic, k100, 0, "expected 1 dimensions, found 0"},
      {"cadTagsFlag", kDim9.body(), kDim9.format, 2, "the flag is 0 or 1, found 2"},
      {"cadTagIndex", kDim9.body(), kDim9.format, 1,
       "expected 2 indices, one for each entity, found 1"},
      {"cadTagDataLength", kDim105.body(), kDim105.format, 3, "expected at least 4, found 3"}};
  for (const Case& each : cases) {
    SCOPED_TRACE(each.field);
    FirstField field(each.field);
    tracePMI(each.body, each.format, 0, field);
    Bytes body = each.body;
    const Fields value = Fields(each.format).i32(each.value);
    std::ranges::copy(value.bytes(), body.begin() + static_cast<std::ptrdiff_t>(field.at));
    body.resize(field.at + 4 + std::min(each.kept, body.size() - field.at - 4));
    PMIData data;
    data.form = usualPMIForm(each.format);
    Reader reader(body, each.format, 0);
    EXPECT_EQ(errorText([&] { PMIFields::run(reader, data); }), each.said);
    EXPECT_TRUE(readPMI(body, each.format, 0).form.opaqueRest);
  }
}

TEST(PMI, ANumberThatAFormHasNoRoomForIsRefused) {
  constexpr Format k95{9, 5, false};
  PMIData data = readPMI(TypedBody(k95, 2, 8).bytes(), k95, 0);
  const auto said = [&](std::int32_t index) {
    data.solid[PMIData::spotWeld].at(0).indices.at(1) = index;
    ByteSink out;
    Writer writer(out, k95);
    return errorText([&] { PMIFields::run(writer, data); });
  };
  for (const std::int32_t index : {-32768, 32767}) EXPECT_EQ(said(index), "");
  for (const std::int32_t index : {-32769, 32768})
    EXPECT_EQ(said(index), "polylineSegmentIndex cannot be " + std::to_string(index) +
                               " in this version of the format");
}

TEST(PMI, ShortenedElementsAreRefusedOrReadInPart) {
  for (const PMIVector& vector : {kNote8, kNote9, kDim9, kDim105}) {
    const Bytes body = vector.body();
    for (std::size_t size = 0; size < body.size(); ++size) {
      const std::string code = errorCode([&] {
        const PMIData data = readPMI(std::span(body).first(size), vector.format, 0);
        EXPECT_EQ(written(data, vector.format).size(), size);
      });
      EXPECT_TRUE(code.empty() || code == "bad_pmi") << vector.name << size << code;
    }
  }
}

}  // namespace
