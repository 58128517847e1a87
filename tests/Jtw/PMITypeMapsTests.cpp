#include <gtest/gtest.h>

#include "JtkwPMITypeMaps.h"

namespace {

using Types = JtkwPMITypeMaps::ApiPMITypes;
const JtkwPMITypeMaps& maps() { return JtkwPMITypeMaps::the(); }

ApiPMIType type(int number) { return static_cast<ApiPMIType>(number); }
JtkEntity::TypeID jtk(int number) { return static_cast<JtkEntity::TypeID>(number); }

std::string numbers(const Types& types) {
  std::string text;
  for (const ApiPMIType t : types) text += std::to_string(t) + " ";
  return text;
}

TEST(PMITypeMaps, EachTypeHasItsPlaceInTheHierarchyAndItsToolkitTypes) {
  const struct {
    int type, parent, jtkType, subType;
    const char* name;
  } rows[] = {{0, -1, 117, -1, "Note Entities"},
              {1, 0, 117, 256, "Note"},
              {3, -1, 97, 258, "Model View Label"},  // only its sub-type leads to it
              {4, 0, 118, 565, "Balloon"},           // a member with a type of its own
              {6, 5, 112, 8, "Line Weld"},
              {11, 5, 112, 33, "Resistance Seam Weld"},
              {19, 14, 111, 64, "Clinch Weld"},
              {24, 20, 119, 290, "Hole/Slot/Stud Vector"},
              {29, 27, 120, 280, "Measurement Locator"},
              {30, -1, 107, -1, "Surface Finish"},
              {32, -1, 105, -1, "Dimension"},
              {38, -1, 123, -1, "Coordinate Note"},
              {40, -1, 116, -1, "Organisation"},
              {-1, -1, 97, -1, ""},
              {41, -1, 97, -1, ""}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.type);
    JtkEntity::TypeID jtkType{};
    int subType = 0;
    maps().getJtTkFromApiPMIType(type(row.type), jtkType, subType);
    EXPECT_EQ(jtkType, row.jtkType);
    EXPECT_EQ(subType, row.subType);
    EXPECT_EQ(maps().getParentApiPMIType(type(row.type)), row.parent);
    EXPECT_EQ(maps().getBaseApiPMIType(type(row.type)), row.parent < 0 ? row.type : row.parent);
    EXPECT_EQ(maps().getPMITypeName(type(row.type)), row.name);
    EXPECT_EQ(maps().getPMITypeName(row.subType), row.subType > 0 ? row.name : "");
  }
}

TEST(PMITypeMaps, GroupsAndMembersAreInTableOrder) {
  EXPECT_EQ(numbers(maps().getAllBaseApiPMIType()),
            "0 5 14 20 27 30 31 32 33 34 35 36 37 38 39 40 ");
  const std::pair<int, const char*> rows[] = {{0, "1 2 4 "},
                                              {5, "6 7 8 9 10 11 12 13 "},
                                              {14, "15 16 17 18 19 "},
                                              {20, "21 22 23 24 25 26 "},
                                              {27, "28 29 "},
                                              {3, ""},
                                              {32, ""},
                                              {-1, ""}};
  for (const auto& [parent, children] : rows) {
    EXPECT_EQ(numbers(maps().getChildrenApiPMIType(type(parent))), children) << parent;
    EXPECT_EQ(maps().doesTypeHaveChildren(type(parent)), *children != 0) << parent;
  }
}

TEST(PMITypeMaps, EveryTypeComesBackFromItsToolkitTypes) {
  for (int number = 0; number < API_PMI_TYPE_COUNT; ++number) {
    JtkEntity::TypeID jtkType{};
    int subType = 0;
    maps().getJtTkFromApiPMIType(type(number), jtkType, subType);
    EXPECT_EQ(maps().getApiPMITypeFromJtTk(jtkType, subType), number);
    EXPECT_TRUE(maps().isPMITypeOfObjType(type(number), ApiObjType(230))) << number;
  }
}

TEST(PMITypeMaps, SubTypesWinOverToolkitTypesOnlyWhenKnown) {
  const struct {
    int jtkType, subType, type;
  } rows[] = {{117, 256, 1}, {117, 9999, 0}, {117, 0, 0},  {117, -1, 0},
              {97, 258, 3},  {97, 9999, -1}, {97, -1, -1}, {112, 256, 1},
              {106, -1, -1}, {118, -1, 4},   {98, 0, -1},  {138, -1, -1}};
  for (const auto& row : rows)
    EXPECT_EQ(maps().getApiPMITypeFromJtTk(jtk(row.jtkType), row.subType), row.type)
        << row.jtkType << " " << row.subType;
  EXPECT_EQ(maps().getPMITypeName(9999), "");
}

TEST(PMITypeMaps, AncestorsAndObjectTypes) {
  const struct {
    int type, ancestor;
    bool is;
  } rows[] = {{7, 5, true}, {5, 5, true},  {5, 7, false},  {7, 8, false},
              {4, 0, true}, {3, 0, false}, {7, -1, false}, {-1, -1, true}};
  for (const auto& row : rows)
    EXPECT_EQ(maps().isAncestorOfType(type(row.type), type(row.ancestor)), row.is)
        << row.type << " " << row.ancestor;

  EXPECT_FALSE(maps().isPMITypeOfObjType(type(1), ApiObjType(229)));
  EXPECT_FALSE(maps().isPMITypeOfObjType(type(41), ApiObjType(230)));
  EXPECT_TRUE(maps().isPMITypeOfObjType(jtk(105), ApiObjType(230)));
  EXPECT_FALSE(maps().isPMITypeOfObjType(jtk(97), ApiObjType(230)));
  EXPECT_FALSE(maps().isPMITypeOfObjType(jtk(138), ApiObjType(230)));
}

TEST(PMITypeMaps, AnEntityIsOfItsTypeAndAllPMIIsPMI) {
  struct Entity : JtkEntity {
    explicit Entity(TypeID type) : type_(type) {}
    TypeID typeID() const noexcept override { return type_; }
    TypeID type_;
  };
  for (const int number : {29, 35, 36, 97, 98, 105, 128, 138, 139}) {
    const auto entity = jt::make<Entity>(jtk(number));
    EXPECT_EQ(entity->isOfType(jtk(number)), number != 97) << number;
    EXPECT_EQ(entity->isOfType(JtkEntity::PMI_ENTITY), number >= 98 && number <= 138) << number;
    EXPECT_FALSE(entity->isOfType(JtkEntity::PMI_NOTE));
  }
}

}  // namespace
