#include <functional>

#include "ComponentFixture.h"

namespace {

class Properties : public ComponentFixture {
 protected:
  /// A value of the component's objects: how it is given, and how it is read as text.
  struct Value {
    const char* name;
    std::function<void()> set;
    std::function<std::string(JtwRoot&)> get;
    const char* expected;
  };

  template <class Node = JtwNode>
  static Node& node(JtwRoot& root, long itsKey) {
    JtwNode* found = nullptr;
    EXPECT_TRUE(root.getNodeByKey(key(itsKey), found)) << itsKey;
    return dynamic_cast<Node&>(*found);
  }

  static std::string attachment(JtwNode& node) {
    ApiProtoKey parent(-1);
    auto type = static_cast<AttachmentType>(-1);
    node.getAttachmentParent(parent, type);
    return std::to_string(parent.getAsLong()) + " " + std::to_string(static_cast<int>(type));
  }
  static std::string colorOf(JtwLeaf& leaf) {
    bool isDefault = true;
    const ApiGraColor& color = leaf.color(isDefault);
    return std::to_string(color.red()) + " " + std::to_string(color.green()) + " " +
           std::to_string(color.blue()) + " " + std::to_string(color.getAlpha()) +
           (isDefault ? " default" : "");
  }
  static std::string placement(JtwNode& node) {
    const RTVec3D at = node.absLoc().getTranslation();
    return std::to_string(at.x) + " " + std::to_string(at.y) + " " + std::to_string(at.z);
  }
  static std::string bytes(JtwRoot& root, JtwRoot::JT_BUFFER buffer) {
    unsigned version = 0;
    unsigned size = 0;
    bool found = false;
    const RTAutoPtr<char> data = root.getBuffer(buffer, version, found, size);
    return found ? std::to_string(version) + " " + std::string(data.get(), size) : "none";
  }
};

TEST_F(Properties, ComeBackAfterSavingAndOpening) {
  JtwEntity& part = entity(2);
  JtwBlock& group = block(3);
  JtwBlock& other = block(4);
  const Value values[] = {
      {"name", [&] { part.setName(L"bolt \u00e9"); },
       [](JtwRoot& r) { return node(r, 2).name() == L"bolt \u00e9" ? "same" : "other"; }, "same"},
      {"attributes", [&] { group.setAttributes("a=1;b"); },
       [](JtwRoot& r) { return node(r, 3).attributes(); }, "a=1;b"},
      {"relative string id", [&] { part.setRelStringId("rel/7"); },
       [](JtwRoot& r) { return node(r, 2).relStringId(); }, "rel/7"},
      {"unique id",
       [&] { group.setGlobalUniqueId(ApiGlobalUniqueId("12345678-9abc-def0-1234-56789abcdef1")); },
       [](JtwRoot& r) { return node(r, 3).globalUniqueId().getAsString(); },
       "12345678-9abc-def0-1234-56789abcdef1"},
      {"attachment", [&] { part.setAttachmentParent(key(4), static_cast<AttachmentType>(1)); },
       [](JtwRoot& r) { return attachment(node(r, 2)); }, "4 1"},
      {"placement", [&] { group.setRelLoc(at(5, -6, 7)); },
       [](JtwRoot& r) { return placement(node(r, 3)); }, "5.000000 -6.000000 7.000000"},
      {"color",
       [&] {
         part.setColor({10, 20, 30, 0.5F}, false, true);
       },
       [](JtwRoot& r) { return colorOf(node<JtwLeaf>(r, 2)); }, "10 20 30 0.500000"},
      {"display state", [&] { part.setDisplayState(false); },
       [](JtwRoot& r) { return node<JtwLeaf>(r, 2).displayState() ? "shown" : "hidden"; },
       "hidden"},
      {"preserved part", [&] { part.setPreserved(true); },
       [](JtwRoot& r) { return node(r, 2).isPreserved(false) ? "kept" : "free"; }, "kept"},
      {"preserved block", [&] { other.setPreserved(true); },
       [](JtwRoot& r) { return node(r, 4).isPreserved(false) ? "kept" : "free"; }, "kept"},
      {"preserved PMI", [&] { group.setHasPreservedPMI(true); },
       [](JtwRoot& r) { return node<JtwBlock>(r, 3).hasPreservedPMI() ? "kept" : "free"; }, "kept"},
      {"approximation to be computed", [&] { part.setShouldCalculateApx(true); },
       [](JtwRoot& r) { return node<JtwEntity>(r, 2).shouldCalculateApx() ? "yes" : "no"; }, "yes"},
      {"unit of length", [&] { other.setMeasurementUnitRatio(25.4F); },
       [](JtwRoot& r) { return std::to_string(node(r, 4).measurementUnitRatio()); }, "25.400000"},
      {"greatest key of PMI", [&] { root_.setPMIMaxProtoKey(key(77)); },
       [](JtwRoot& r) { return std::to_string(r.PMIMaxProtoKey().getAsLong()); }, "77"},
      {"kinematics", [&] { root_.setBuffer(JtwRoot::JT_KIN_BUFFER, "ab\0c", 4); },
       [](JtwRoot& r) {
         return bytes(r, JtwRoot::JT_KIN_BUFFER) == std::string("2 ab\0c", 6) ? "same" : "other";
       },
       "same"},
      {"logic", [&] { root_.setBuffer(JtwRoot::JT_PLC_LOGIC_BLOCK, "xyz", 3); },
       [](JtwRoot& r) { return bytes(r, JtwRoot::JT_PLC_LOGIC_BLOCK); }, "2 xyz"},
      {"no other buffer", [] {}, [](JtwRoot& r) { return bytes(r, JtwRoot::JT_MOP_BUFFER); },
       "none"},
  };
  for (const Value& value : values) value.set();
  JtwRoot& root = reopened();
  for (const Value& value : values) EXPECT_EQ(value.get(root), value.expected) << value.name;
}

}  // namespace
