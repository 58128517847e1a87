#pragma once

#include <unordered_map>
#include <vector>

#include "JtkAssembly.h"
#include "JtkCADImporter.h"
#include "JtkInstance.h"
#include "JtkPart.h"

/// One run of an importer.
class JtkSceneImport {
 public:
  explicit JtkSceneImport(const JtkCADImporter& importer) : importer_(importer) {}

  jt::Ref<JtkHierarchy> run(JtNode* node);

 private:
  /// A node still to be imported, and where it goes; both null: it is the top.
  struct Item {
    jt::Ref<JtNode> node;
    JtkAssembly* assembly = nullptr;
    JtkInstance* instance = nullptr;
    double scale = 1;  ///< millimetres per unit of what is above
  };

  void import(const Item& item);
  void attach(const Item& item, JtkHierarchy* made);
  void pushChildren(const Item& item, JtNode& node, JtkHierarchy* made, double scale);
  jt::Ref<JtkHierarchy> make(JtNode& node, double scale) const;
  void takeValues(JtkHierarchy& made, JtNode& node, double scale) const;
  void takeProperty(JtkHierarchy& made, const JtString& key, JtPropAtom& value) const;
  void takeAttribute(JtkHierarchy& made, JtAttribute& attribute, double scale) const;
  void takePMI(JtkUnitHierarchy& made, JtNode& node, double scale) const;

  const JtkCADImporter& importer_;
  jt::Ref<JtkHierarchy> top_;
  std::vector<Item> open_;
  /// What was made of nodes; a node that was skipped has none.
  std::unordered_map<const JtNode*, jt::Ref<JtkHierarchy>> made_;
};
