// Polylines of annotations and dimensions: what is set comes back.

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <cmath>

#include "JtkwPMIAnnotationData.h"
#include "JtkwPMIDimensionData.h"

namespace {

using Data = JtkwPMIAnnotationData;
using Type = ApiGraphicsPMIAnnotationData::GeomPolylineTypes;

Data::Polylines anyPolylines() {
  const auto number = rc::gen::map(rc::gen::arbitrary<int>(), [](int n) { return n / 8.0; });
  const auto point = rc::gen::construct<RTVec3D>(number, number, number);
  return *rc::gen::container<Data::Polylines>(rc::gen::container<Data::Points>(point));
}

Data::PolylineTypes anyTypes(std::size_t count) {
  return *rc::gen::container<Data::PolylineTypes>(
      count, rc::gen::map(rc::gen::inRange(0, 3), [](int n) { return static_cast<Type>(n); }));
}

RC_GTEST_PROP(PMIPolylines, ComeBackFromEveryStore, ()) {
  const auto lines = anyPolylines();
  const auto polygons = anyPolylines();
  const auto text = anyPolylines();
  const auto types = anyTypes(lines.size());
  Data data;
  RC_ASSERT(data.setGeomPolylineSet(lines, types) && data.setPolygons(polygons) &&
            data.setTextPolylineSet(text));
  RC_ASSERT(data.getGeomPolylineSet() == lines);
  RC_ASSERT(data.types() == types);
  RC_ASSERT(data.getGeomPolygonSet() == polygons);
  RC_ASSERT(data.getTextPolylineSet() == text);

  // The flat sequences say the same.
  Data flat;
  RC_ASSERT(flat.setPolylines(data.vertices(), data.indices(), data.types()) &&
            flat.setPolygons(data.polygonVertices(), data.polygonIndices()) &&
            flat.setTextPolylines(data.textVertices(), data.textIndices()));
  RC_ASSERT(flat.getGeomPolylineSet() == lines);
  RC_ASSERT(flat.getGeomPolygonSet() == polygons);
  RC_ASSERT(flat.getTextPolylineSet() == text);

  for (const Type type : {Type{0}, Type{1}, Type{2}}) {
    Data::Polylines ofType;
    for (std::size_t i = 0; i < lines.size(); ++i)
      if (types[i] == type) ofType.push_back(lines[i]);
    RC_ASSERT(data.getPolylineOfType(type) == ofType);
  }

  JtkwPMIDimensionData dimension;
  RC_ASSERT(dimension.setPolylines(lines));
  RC_ASSERT(dimension.polylines() == lines);
}

RC_GTEST_PROP(PMIPolylines, ReplacingOneLeavesTheOthers, ()) {
  auto lines = anyPolylines();
  RC_PRE(!lines.empty());
  Data data;
  data.setGeomPolylineSet(lines, {});
  const int index = *rc::gen::inRange(0, static_cast<int>(lines.size()));
  auto& line = lines[static_cast<std::size_t>(index)];
  line = anyPolylines().empty() ? data.vertices() : Data::Points(2, RTVec3D(1, 2, 3));
  RC_ASSERT(data.setPolyline(index, line));
  RC_ASSERT(data.getGeomPolylineSet() == lines);
  Data::Points read;
  RC_ASSERT(data.getPolyline(index, read));
  RC_ASSERT(read == line);
}

TEST(PMIPolylines, HaveOneIndexMoreThanPolylines) {
  Data data;
  EXPECT_TRUE(data.indices().empty());
  const RTVec3D p(1, 2, 3);
  ASSERT_TRUE(data.setGeomPolylineSet({{}, {p, p}, {}, {p}}, {}));
  EXPECT_EQ(data.indices(), (Data::Indices{0, 0, 2, 2, 3}));
  int begin = 7;
  int end = 7;
  EXPECT_FALSE(data.findPolylineSeg(-1, begin, end) || data.findPolylineSeg(4, begin, end));
  EXPECT_EQ(begin + end, 14);
  EXPECT_TRUE(data.findPolylineSeg(3, begin, end));
  EXPECT_EQ(begin * 10 + end, 23);
  EXPECT_FALSE(data.setPolyline(4, {p}) || data.setPolyline(-1, {p}));
  ASSERT_TRUE(data.setGeomPolylineSet({}, {}));
  EXPECT_TRUE(data.indices().empty() && data.types().empty());
}

TEST(PMIPolylines, SequencesThatDoNotFitChangeNothing) {
  const RTVec3D p(1, 2, 3);
  Data data;
  ASSERT_TRUE(data.setGeomPolylineSet({{p}}, {Type{5}}));
  const Data::Indices bad[] = {{},        {0},        {0, 1},    {1, 2},  {0, 3},
                               {0, 2, 1}, {0, -1, 2}, {0, 3, 2}, {-2, 2}, {0, 1, 3, 2}};
  for (const auto& indices : bad) {
    EXPECT_FALSE(data.setPolylines({p, p}, indices, {})) << ::testing::PrintToString(indices);
    EXPECT_FALSE(data.setPolygons({p, p}, indices));
    EXPECT_FALSE(data.setTextPolylines({p, p}, indices));
  }
  EXPECT_FALSE(data.setPolylines({p, p}, {0, 2}, {Type{1}, Type{1}}));
  EXPECT_FALSE(data.setGeomPolylineSet({{p}}, {Type{1}, Type{1}}));
  EXPECT_EQ(data.getPolylineOfType(Type{5}), (Data::Polylines{{p}}));
}

TEST(PMIPolylines, LinesWithoutATypeAreGeneralLines) {
  const RTVec3D p(1, 2, 3);
  Data data;
  ASSERT_TRUE(data.setGeomPolylineSet({{p}, {p, p}, {}}, {Type{5}}));
  EXPECT_EQ(data.types(), (Data::PolylineTypes{Type{5}, ApiGraphicsPMIAnnotationData::GENERAL_LINE,
                                               ApiGraphicsPMIAnnotationData::GENERAL_LINE}));
  EXPECT_EQ(data.getGeomPolylineSet(), (Data::Polylines{{p}, {p, p}, {}}));
}

}  // namespace
