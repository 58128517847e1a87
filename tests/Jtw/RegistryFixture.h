#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "../Host/TempFolder.h"
#include "ApiDocument.h"
#include "ApiDocumentRef.h"
#include "Jt.h"
#include "JtPartition.h"
#include "JtPropAtom.h"
#include "JtStorageLocation.h"
#include "JtXform.h"
#include "JtwManager.h"
#include "VisMetaDataNode.h"
#include "VisPartNode.h"

/// The libraries started, an empty registry, and a folder for the documents of one test.
class RegistryFixture : public testing::Test {
 protected:
  static void SetUpTestSuite() { JtwManager::init(); }
  static void TearDownTestSuite() { JtwManager::fini(); }
  ~RegistryFixture() override {
    registry().releaseAllRoots();
    registry().removeAllJtPartition();
    registry().setUsingJtViewer(false);
  }

  static JtwManager& registry() { return JtwManager::the(); }

  static ApiDocumentRef documentAt(const std::string& path, int kind = 0) {
    ApiDocumentRef document(std::make_shared<ApiDocument>(path));
    document->setKind(kind);
    return document;
  }

  /// Saves the partition as the JT file of a component folder; gives the folder's document.
  ApiDocumentRef componentOf(JtPartition& partition, const std::string& name = "gear") const {
    const std::string path = folder_.folder(name + ".kpak");
    const auto place = jt::make<JtFSStorageLocation>(JtString(path), JtString(name + ".jt"));
    partition.save(place.get());
    return documentAt(path);
  }

  static JtwRoot* open(const ApiDocumentRef& document,
                       unsigned representation = JtwRoot::JT_LOAD_WITH_UNIT_PROPERTY) {
    auto error = JtwRoot::JT_PATH_NOT_FOUND;
    return registry().computeExistingDocRoot(
        document, static_cast<JtwRoot::JT_LOADING_REPRESENTATION>(representation), error);
  }

  static void setText(JtNode& node, const char* key, const char* value) {
    node.addProperty(jt::make<JtStringPropAtom>(JtString(key)).get(),
                     jt::make<JtStringPropAtom>(JtString(value)).get(), true);
  }
  /// The text under a key; "-" when there is none.
  static std::string text(const JtNode& node, const char* key) {
    const auto* atom = jt::as<JtStringPropAtom>(node.property(JtString(key)));
    return atom ? atom->value().stringToMbs() : "-";
  }
  /// A new child of that class and name.
  template <class Node>
  static Node& add(JtGroup& parent, const char* name) {
    auto node = jt::make<Node>();
    setText(*node, Jt::jtPropName, name);
    parent.addChild(node.get());
    return *node;
  }

  TempFolder folder_;
};
