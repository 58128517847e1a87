#include <gtest/gtest.h>

#include <climits>
#include <memory>

#include "JtkwPMIAnnotationData.h"
#include "JtkwPMIDimensionData.h"
#include "JtkwPMIFrameData.h"
#include "JtkwPMINoteData.h"

namespace {

/// At (1, 2, 3), turned by 90 degrees about z: x goes to y, y to -x.
const RTTran3D kPlace = RTTran3D::fromPlacement(1, 2, 3, 0, 0, 90);
const RTTran3D kShift = RTTran3D::fromTranslation({10, 0, 0});
/// At (0, 0, 5), turned by 180 degrees about x.
const RTTran3D kFlip = RTTran3D::fromPlacement(0, 0, 5, 180, 0, 0);

std::unique_ptr<JtkwPMIData> record(char kind) {
  switch (kind) {
    case 'A':
      return std::make_unique<JtkwPMIAnnotationData>();
    case 'F':
      return std::make_unique<JtkwPMIFrameData>();
    case 'N':
      return std::make_unique<JtkwPMINoteData>();
    case 'D':
      return std::make_unique<JtkwPMIDimensionData>();
    default:
      return std::make_unique<JtkwPMIData>();
  }
}

void expectNear(const RTVec3D& is, const RTVec3D& wanted) {
  EXPECT_LE((is - wanted).length(), 1e-12) << is.x << " " << is.y << " " << is.z << ", not "
                                           << wanted.x << " " << wanted.y << " " << wanted.z;
}

TEST(PMIData, EachKindTakesItsOwnPartOfALocation) {
  const struct {
    char kind;
    const RTTran3D* reference;
    RTVec3D origin, pointOnX, pointOnY;
  } rows[] = {
      {'A', nullptr, {1, 2, 3}, {7, 7, 7}, {8, 8, 8}},
      {'A', &RTTran3D::unit, {1, 2, 3}, {7, 7, 7}, {8, 8, 8}},
      {'A', &kFlip, {1, -2, 2}, {7, 7, 7}, {8, 8, 8}},  // the flip is its own inverse
      {'F', nullptr, {1, 2, 3}, {0, 1, 0}, {-1, 0, 0}},
      {'F', &kFlip, {1, -2, 2}, {0, -1, 0}, {-1, 0, 0}},
      {'N', &kFlip, {1, 2, 3}, {2, 3, 3}, {1, 2, 4}},  // no reference, no unit steps
      {'D', &kFlip, {1, 2, 3}, {1, 2, 3}, {1, 2, 3}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.kind);
    const auto data = record(row.kind);
    data->setPointOnXDirection({7, 7, 7});
    data->setpointOnYDirection({8, 8, 8});
    data->setRelLoc(kPlace, row.reference);
    expectNear(data->origin(), row.origin);
    expectNear(data->pointOnXDirection(), row.pointOnX);
    expectNear(data->pointOnYDirection(), row.pointOnY);
  }
}

TEST(PMIData, EachKindGivesTheLocationBackInItsOwnOrder) {
  const struct {
    char kind;
    RTTran3D reference, wanted;
  } rows[] = {
      {'A', RTTran3D::unit, RTTran3D::fromPlacement(1, 2, 3, 0, 0, 180)},
      {'A', kShift, RTTran3D::fromPlacement(11, 2, 3, 0, 0, 180)},
      {'N', RTTran3D::unit, RTTran3D::fromPlacement(1, 2, 3, 0, 0, 180)},
      {'N', kShift, RTTran3D::fromPlacement(-9, 2, 3, 0, 0, 180)},  // the reference acts first
      {'F', RTTran3D::unit, kPlace},
      {'F', kShift, kShift * kPlace},
      {'D', RTTran3D::unit, RTTran3D::fromPlacement(1, 2, 3, 0, 0, 180)},
      {'D', kShift, RTTran3D::fromPlacement(11, 2, 3, 0, 0, 180)},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.kind);
    const auto data = record(row.kind);
    data->setRelLoc(kPlace, nullptr);
    RTTran3D location = RTTran3D::fromPlacement(50, 60, 70, 0, 0, 180);  // keeps its rotation
    data->getRelLoc(row.reference, location);
    expectNear(location.getTranslation(), row.wanted.getTranslation());
    expectNear(location.xAxis(), row.wanted.xAxis());
    expectNear(location.yAxis(), row.wanted.yAxis());
    expectNear(location.zAxis(), row.wanted.zAxis());
  }
}

TEST(PMIData, AFrameIsReadWithDirectionsOfLengthOne) {
  JtkwPMIFrameData frame;
  const double origin[] = {1, 2, 3};
  const double x[] = {0, 4, 0};
  const double y[] = {-5, 0, 0};
  frame.setReferenceFrame(origin, x, y, 1);
  RTTran3D location;
  frame.getRelLoc(RTTran3D::unit, location);
  EXPECT_EQ(location, kPlace);
}

TEST(PMIData, PlanarOrientationIsStoredAsPointsAndReadAsDirections) {
  JtkwPMIAnnotationData data;
  data.setOrigin({1, 1, 1});
  data.setPlanarOrientation({2, 0, 0}, {0, 3, 0});
  EXPECT_EQ(data.pointOnXDirection(), RTVec3D(3, 1, 1));
  RTVec3D x, y;
  data.getPlanarOrientation(x, y);
  EXPECT_EQ(x, RTVec3D(1, 0, 0));
  EXPECT_EQ(y, RTVec3D(0, 1, 0));
  data.setPlanarOrientation({}, {0, 3, 0});
  data.getPlanarOrientation(x, y);
  EXPECT_EQ(x, RTVec3D());
}

TEST(PMIData, NamesLayersAndFrames) {
  JtkwPMIData data;
  RWClassicWString wide = L"old";
  data.getRWWDisplayName(wide);
  EXPECT_EQ(data.displayName(), nullptr);
  EXPECT_EQ(wide, L"");
  data.setRWWDisplayName(L"Ma\u00df \u4e2d");
  EXPECT_STREQ(data.displayName(), "Ma\xc3\x9f \xe4\xb8\xad");
  data.setDisplayName(data.displayName() + 5);
  data.getRWWDisplayName(wide);
  EXPECT_EQ(wide, L"\u4e2d");
  const JtkwPMIData copy = data;
  data.setDisplayName(nullptr);
  EXPECT_EQ(data.displayName(), nullptr);
  EXPECT_STREQ(copy.displayName(), "\xe4\xb8\xad");

  EXPECT_STREQ(data.layer(), "-1");
  for (const int layer : {0, INT_MIN, INT_MAX}) {
    data.setLayer(layer);
    EXPECT_EQ(data.layer(), std::to_string(layer));
  }
  const double origin[] = {1000, 2000, 3000}, x[] = {4000, 0, 0}, y[] = {0, -5000, 0};
  data.setReferenceFrame(origin, x, y, 0.001);
  expectNear(data.origin(), {1, 2, 3});
  expectNear(data.pointOnXDirection(), {4, 0, 0});
  expectNear(data.pointOnYDirection(), {0, -5, 0});
}

TEST(PMIData, LeaderAndPolylineDataAreOneFlag) {
  JtkwPMIAnnotationData data;
  EXPECT_EQ(data.annotationBaseType(), 97);
  EXPECT_EQ(data.annotationSubType(), -1);
  for (const bool on : {true, false}) {
    data.setShouldRenderLeader(on);
    EXPECT_EQ(data.shouldWritePolylineData(), on);
    data.setShouldWritePolylineData(!on);
    EXPECT_EQ(data.shouldRenderLeader(), !on);
    data.setLeaderDragPoint({1, 2, 3}, on);
    EXPECT_EQ(data.shouldRenderLeader(), on);
  }
}

TEST(PMIData, TheExtendedLineOfANoteTurnsWithIt) {
  JtkwPMINoteData note;
  EXPECT_FALSE(note.hasExtendedLine());
  EXPECT_TRUE(note.shouldDrawExtendedLine());
  note.setRelLoc(kPlace, nullptr);
  note.setExtendedLine({4, 0, 0});
  expectNear(note.extendedLine(), {0, 4, 0});
  EXPECT_TRUE(note.hasExtendedLine());
  for (const char* line : {"one", "", "two"}) note.setText(line);
  note.setText(nullptr);
  EXPECT_EQ(note.text(), (RWClassicTValOrderedVector<RWClassicCString>{"one", "", "two"}));
}

TEST(PMIData, TheShapeColorTextComesBackAsTheColor) {
  JtkwPMIFrameData frame;
  const std::string ambient = "0.200000,0.200000,0.200000,1.000000,";
  const std::string black = "0.000000,0.000000,0.000000,1.000000,";
  EXPECT_EQ(frame.shapeColorStr(), ambient + black + black + black + "15.000000");
  frame.setGraShapeColor(ApiGraColor(255, 51, 0, 0.5F));
  EXPECT_EQ(frame.shapeColorStr(),
            ambient + "1.000000,0.200000,0.000000,0.500000," + black + black + "15.000000");

  JtkwPMIFrameData read;
  for (int byte = 0; byte < 256; ++byte) {
    frame.setGraShapeColor(ApiGraColor(static_cast<std::uint8_t>(byte), 9, 7, 0.25F));
    ASSERT_TRUE(read.setShapeColor(frame.shapeColorStr()));
    EXPECT_EQ(read.getGraShapeColor(), frame.getGraShapeColor());
  }
  const ApiGraColor last = read.getGraShapeColor();
  for (const char* text : {static_cast<const char*>(nullptr), "", "1,2,3,4,0.5,0.5,0.5", "a,b",
                           "0,0,0,0,1,1,x,1", "0,0,0,0,1,,1,1", "0,0,0,0,1,1 1,1,1"})
    EXPECT_FALSE(read.setShapeColor(text)) << (text ? text : "null");
  EXPECT_EQ(read.getGraShapeColor(), last);
  EXPECT_TRUE(read.setShapeColor("0,0,0,0, 1 ,0,0,9,rest"));
  EXPECT_EQ(read.getGraShapeColor(), ApiGraColor(255, 0, 0, 1.0F));
}

}  // namespace
