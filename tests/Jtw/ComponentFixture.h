#pragma once

#include <string>
#include <vector>

#include "JtInstance.h"
#include "JtMaterial.h"
#include "JtwBlock.h"
#include "JtwEntity.h"
#include "JtwFrame.h"
#include "JtwLink.h"
#include "JtwPMIAnnotation.h"
#include "JtwRoot.h"
#include "JtwSubDevice.h"
#include "JtwTraverse.h"
#include "JtwTree.h"
#include "RegistryFixture.h"

/// A new component with the key 1, and short ways to fill it.
class ComponentFixture : public RegistryFixture {
 protected:
  ComponentFixture()
      : document_(documentAt(folder_.folder("gear.kpak"))),
        root_(*registry().computeNewDocRoot(document_)) {
    root_.setKey(ApiProtoKey(1));
  }

  static ApiProtoKey key(long value) { return ApiProtoKey(value); }
  static RTTran3D at(double x, double y = 0, double z = 0) {
    return RTTran3D::fromTranslation({x, y, z});
  }
  JtwEntity& entity(long itsKey, long parent = 1) {
    return *root_.createEntityNode(key(itsKey), key(parent), RTTran3D::unit);
  }
  JtwBlock& block(long itsKey, long parent = 1) {
    return *root_.createBlockNode(key(itsKey), key(parent), RTTran3D::unit);
  }
  JtwFrame& frame(long itsKey, long parent = 1) {
    return *root_.createFrameNode(key(itsKey), key(parent), RTTran3D::unit);
  }
  JtwNode* find(long itsKey) {
    JtwNode* node = nullptr;
    root_.getNodeByKey(key(itsKey), node);
    return node;
  }
  JtGroup& component() { return *jt::as<JtGroup>(root_.jtNode()); }

  static void setNumber(JtNode& node, const char* property, int value) {
    node.addProperty(jt::make<JtStringPropAtom>(JtString(property)).get(),
                     jt::make<JtInt32PropAtom>(value).get(), true);
  }
  static void paint(JtNode& node, float red) {
    const auto material = jt::make<JtMaterial>();
    material->setDiffuseColor(red, 0, 0);
    node.appendAttribute(material.get());
  }
  static void move(JtNode& node, double x) {
    auto matrix = jt::kIdentity;
    matrix[12] = x;
    node.appendAttribute(jt::make<JtXform>(matrix).get());
  }
  static JtInstance& instance(JtGroup& parent, JtNode& child, const char* name = "") {
    const auto made = jt::make<JtInstance>();
    setText(*made, Jt::jtPropName, name);
    made->setChild(&child);
    parent.addChild(made.get());
    return *made;
  }
  /// Saves, closes and opens the component again.
  JtwRoot& reopened() {
    EXPECT_TRUE(root_.write(false)) << jt::lastError();
    registry().releaseRoot(document_);
    JtwRoot& root = *open(document_);
    EXPECT_TRUE(jtw::loadWrappers(root));
    return root;
  }
  /// "kind key name" of each object with its children in brackets.
  static std::string listing(JtwRoot& root) {
    std::string text;
    int depth = -1;
    for (const auto& [node, itsDepth] : jtw::tree(root, root)) {
      for (; depth >= itsDepth; --depth) text += ")";
      depth = itsDepth;
      const RWClassicWString name = node->name();
      text += "(" + std::to_string(node->type()) + " " + std::to_string(node->key().getAsLong()) +
              " " + std::string(name.begin(), name.end());
    }
    return text + std::string(static_cast<std::size_t>(depth + 1), ')');
  }

  ApiDocumentRef document_;
  JtwRoot& root_;
};
