// Keys, ids, colors, object types: the small values that go into files.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <type_traits>

#include "ApiGlobalUniqueId.h"
#include "ApiGraColor.h"
#include "ApiGraJtVersionData.h"
#include "ApiGraMaterial.h"
#include "ApiKey.h"
#include "ApiObjType.h"
#include "ApiPMIType.h"
#include "ApiProtoKey.h"
#include "DbDatabaseVersion.h"
#include "RWClassic.h"

TEST(ApiProtoKey, OrderNullStepAndUseInTables) {
  EXPECT_TRUE(ApiProtoKey().isNull());
  EXPECT_FALSE(ApiProtoKey(-1).isNull());
  EXPECT_LT(ApiProtoKey(-1), ApiProtoKey(3));
  ApiProtoKey key(7);
  EXPECT_EQ((++key).getAsLong(), 8);
  EXPECT_EQ((key++).getAsLong(), 8);
  EXPECT_EQ(key.getAsLong(), 9);
  ApiProtoKey last(std::numeric_limits<long>::max());
  EXPECT_EQ((++last).getAsLong(), std::numeric_limits<long>::min());

  RWClassicTValHashDictionary<ApiProtoKey, int> table(64);
  table[ApiProtoKey(5)] = 50;
  EXPECT_EQ(table.at(ApiProtoKey(5)), 50);
  static_assert(!std::is_convertible_v<long, ApiProtoKey>);
  static_assert(!std::is_convertible_v<ApiProtoKey, ApiKey>);
}

TEST(ApiGlobalUniqueId, NewIdsAreRandomVersionFour) {
  const RWCRegexp shape("^[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}$");
  RWClassicTValHashSet<ApiGlobalUniqueId> ids;
  for (int i = 0; i < 100; ++i) {
    const ApiGlobalUniqueId id = ApiGlobalUniqueId::create();
    EXPECT_TRUE(shape.isFoundIn(id.getAsString())) << id.getAsString();
    EXPECT_TRUE(ids.insert(id).second);
  }
  EXPECT_TRUE(ApiGlobalUniqueId("").isNull());
  EXPECT_EQ(ApiGlobalUniqueId("Any Text").getAsString(), "Any Text");
}

TEST(ApiGraColor, EveryByteSurvivesTheWayThroughUnitNumbers) {
  for (int i = 0; i < 256; ++i) {
    const auto byte = static_cast<std::uint8_t>(i);
    const ApiGraColor color(byte, 0, byte, 0.25F);
    float r = -1;
    float g = -1;
    float b = -1;
    color.getRGB(r, g, b);
    EXPECT_EQ(ApiGraColor::fromUnit(r, g, b, color.getAlpha()), color);
  }
}

TEST(ApiGraColor, OddNumbersAreClamped) {
  const float nan = std::nanf("");
  EXPECT_EQ(ApiGraColor::fromUnit(-1, 2, nan, 7), ApiGraColor(0, 255, 0, 1));
  EXPECT_EQ(ApiGraColor::fromUnit(0, 0, 0, nan).getAlpha(), 0);
  EXPECT_EQ(ApiGraColor(), ApiGraColor(0, 0, 0, 1));
}

TEST(ApiObjType, StoredNamesGoBothWays) {
  for (const char* text : {"KrComponent", "KrBlock", "KrLink", "KrKinDevice"}) {
    const auto type = ApiObjType::fromKrObjType(text);
    ASSERT_TRUE(type) << text;
    EXPECT_EQ(type->text(), text);
  }
  EXPECT_EQ(ApiObjType::fromKrObjType("KrComponent"), ApiObjType(1));
  EXPECT_TRUE(ApiObjType(230).isOfType(ApiObjType(ApiObjType::ANNOTATION)));
  EXPECT_FALSE(ApiObjType(1).isOfType(ApiObjType(2)));
  for (const char* text : {"", "krcomponent", "KrComponent ", "KrFrame"}) {
    EXPECT_FALSE(ApiObjType::fromKrObjType(text)) << text;
  }
  EXPECT_EQ(ApiObjType(ApiObjType::FRAME).text(), "");
}

// The numbers are in files and tables; the names must not slide against them.
TEST(ApiPMIType, NumbersOfSomeNames) {
  EXPECT_EQ(API_PMI_MODEL_VIEW_LABEL, 3);
  EXPECT_EQ(API_PMI_SPOT_WELD_ENTITIES, 14);
  EXPECT_EQ(API_PMI_LOCATOR_ENTITIES, 27);
  EXPECT_EQ(API_PMI_DIMENSION, 32);
  EXPECT_EQ(API_PMI_ORGANISATION, API_PMI_TYPE_COUNT - 1);
}

TEST(HostSettings, LabelsAndVersionAreWhatTheHostSet) {
  using Version = ApiGraJtVersionData;
  EXPECT_EQ(Version::configuredLabels(Version::JT_VERSION_9_5), ApiGraJtReleaseLabels());
  Version::setConfiguredLabels(Version::JT_VERSION_9_5, {"two", "one"});
  EXPECT_EQ(Version::configuredLabels(Version::JT_VERSION_9_5).label2, "two");
  EXPECT_EQ(Version::configuredLabels(Version::JT_VERSION_10_0).label2, "");
  const Version record(Version::JT_VERSION_9_5, "9.5", "two", "one");
  EXPECT_EQ(record.releaseLabel1(), "one");
  Version::setConfiguredLabels(Version::JT_VERSION_9_5, {});

  ApiDocumentVersionData version;
  DbDatabaseVersion::setVersionData(ApiDocumentVersionData("7.3"));
  EXPECT_TRUE(DbDatabaseVersion::getVersionData(version));
  EXPECT_EQ(version.versionString(), "7.3");
}
