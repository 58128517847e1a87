#pragma once

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "ApiApproxJtExportData.h"
#include "JtDrawing.h"
#include "JtMesh.h"
#include "JtkwComponentExportRoot.h"
#include "JtkwEntityCreationData.h"
#include "RegistryFixture.h"

/// Parts with triangles, and short ways to export and to read what was exported.
class ToolkitExport : public RegistryFixture {
 protected:
  static std::shared_ptr<const jt::Mesh> triangles(float size, int count = 2) {
    auto mesh = std::make_shared<jt::Mesh>();
    for (int i = 0; i < count; ++i) {
      const auto first = static_cast<std::uint32_t>(mesh->positions.size());
      const auto z = static_cast<float>(i);
      mesh->positions.insert(mesh->positions.end(),
                             {{0, 0, z}, {size, 0, z}, {0, 2 * size, z + size}});
      mesh->corners.insert(mesh->corners.end(), {first, first + 1, first + 2});
    }
    return mesh;
  }
  static jt::Ref<VisPartNode> part(const char* name, float size, int count = 2) {
    const auto node = jt::make<VisPartNode>();
    if (*name) setText(*node, Jt::jtPropName, name);
    node->addChild(jt::makeShape(triangles(size, count)).get());
    return node;
  }
  static JtkwEntityCreationData data(const wchar_t* name, JtNode* node, long key = 0) {
    JtkwEntityCreationData made(key != 0, ApiKey(key), node);
    made.setDisplayName(name);
    return made;
  }
  std::string pathOf(const std::string& name) const { return folder_.at(name); }
  jt::Ref<JtPartition> reopened(const std::string& path) const {
    const auto place = jt::make<JtFSStorageLocation>(JtString(), JtString(path));
    JtPartition* raw = nullptr;
    JtPartition::openPartition(place.get(), nullptr, raw);
    auto top = jt::Ref<JtPartition>::adopt(raw);
    EXPECT_TRUE(JtPartition::openAllPartitions(raw, true)) << jt::lastError();
    return top;
  }
  /// Saves nodes side by side in a file, and opens that.
  jt::Ref<JtPartition> stored(const std::string& name, const std::vector<jt::Ref<JtNode>>& nodes,
                              jt::FileVersion version = {10, 0}) const {
    const auto made = jt::make<JtPartition>();
    made->setVersion(version);
    for (const auto& node : nodes) made->addChild(node.get());
    made->save(jt::make<JtFSStorageLocation>(JtString(), JtString(pathOf(name))).get());
    return reopened(pathOf(name));
  }
  /// "(0 0 0)-(3 6 5)" of everything that is drawn.
  static std::string extent(JtPartition& top) {
    jt::Box box;
    jt::visitDrawnShapes(top, {}, [&](const jt::DrawnShape& drawn) {
      for (const jt::Vec3f& p : drawn.shape->mesh()->positions)
        for (std::size_t axis = 0; axis < 3; ++axis) {
          const jt::Matrix4& m = *drawn.toRoot;
          const auto value =
              static_cast<float>(double(p[0]) * m[axis] + double(p[1]) * m[4 + axis] +
                                 double(p[2]) * m[8 + axis] + m[12 + axis]);
          box.min[axis] = std::min(box.min[axis], value);
          box.max[axis] = std::max(box.max[axis], value);
        }
      return true;
    });
    char text[200];
    std::snprintf(text, sizeof text, "(%g %g %g)-(%g %g %g)", double(box.min[0]),
                  double(box.min[1]), double(box.min[2]), double(box.max[0]), double(box.max[1]),
                  double(box.max[2]));
    return text;
  }
  template <class Node>
  static Node* find(JtNode& top, const std::string& name) {
    std::vector<JtNode*> open{&top};
    for (std::size_t i = 0; i < open.size(); ++i) {
      auto* node = jt::as<Node>(open[i]);
      if (node && Jt::name(node) == JtString(name)) return node;
      for (int c = 0; c < open[i]->numChildren(); ++c) open.push_back(open[i]->child(c));
    }
    return nullptr;
  }
  static constexpr int kPartFiles = 0;
  static constexpr int kOneFile = 1;
  static bool write(JtkwExportRoot& root, int format,
                    std::uint32_t version = ApiApproxJtExportData::NO_VERSION,
                    bool isExact = false) {
    ApiApproxJtExportData wishes;
    wishes.setTargetJtFormat(format);
    wishes.setJtVersion(version);
    wishes.setIncludeExactGeom(isExact);
    return root.write(wishes);
  }
  /// Imports a node with what is below it, and writes that.
  bool writeImported(JtkwComponentExportRoot& root, JtNode& node, const std::string& name,
                     int format, std::uint32_t version = ApiApproxJtExportData::NO_VERSION,
                     bool isExact = false) const {
    root.initImporter();
    root.initializeJtkRoot(ApiKey(1), L"x", pathOf(name));
    EXPECT_TRUE(root.importHierarchy(ApiKey(2), ApiKey(1), &node));
    const bool isWritten = write(root, format, version, isExact);
    root.deleteImporter();
    return isWritten;
  }
};
