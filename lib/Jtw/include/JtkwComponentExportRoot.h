#pragma once

#include "JtkwExportRoot.h"

class JtkProperty;

/// An export root that can also take over what a JT file holds. One import runs at a time in a
/// process.
class JTW_API JtkwComponentExportRoot : public JtkwExportRoot {
 public:
  /// Makes the importer of the process; nothing when there is one.
  void initImporter();
  void deleteImporter();
  /// Adds a node, and what is below it, under the parent, and maps `key` to it unless that is the
  /// parent's key. Geometry follows when the root is written. The names of nodes get the toolkit's
  /// extensions, ".part;;:" and ".asm;;:", in the scene graph; the exported ones do not. Parts
  /// without name get one, "entity1" and so on. Properties of the host ("Kr...") are left out.
  /// False without importer, when nothing comes of the node, and when it cannot be attached.
  bool importHierarchy(const ApiKey& key, const ApiKey& parentKey, JtNode* node);

  /// True when the name of a part or an assembly ends in the toolkit's extension for it.
  static bool hasJtkExtension(JtNode* node);

  // --- Callbacks of the importer

  /// Names a node before it is imported. @return 0 to skip it, 2 to go on
  static int preActionCB(JtNode*& node);
  /// @return 0 for a property of the host, which is dropped; 1 for others
  static int propertiesCB(JtkProperty* property, JtkHierarchy* hierarchy);
  /// Lets a part take its geometry from the node later. @return 2
  static int postActionCB(JtNode* node, JtkHierarchy* hierarchy, JtkRefCounted*& entity);
};
