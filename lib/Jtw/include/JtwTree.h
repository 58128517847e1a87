#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "ApiProtoKey.h"
#include "JtwExport.h"
#include "JtwNode.h"
#include "RTTran3D.h"
#include "RWClassic.h"

class JtNode;
class JtPartition;
class JtwRoot;

// The component as a tree of wrappers, for listings. The wrappers must have been made before: by a
// walk (JtwTraverse), or jtw::loadWrappers.

namespace jtw {

/// While one lives, the root remembers what walks up the graph find, so that an object of a deep
/// component is listed as soon as another one. Nothing of the component may be changed meanwhile,
/// and they do not nest.
class JTW_API Reading {
 public:
  /// Begins remembering; ends with the object.
  explicit Reading(JtwRoot& root);
  ~Reading();
  Reading(const Reading&) = delete;
  Reading& operator=(const Reading&) = delete;

 private:
  JtwRoot& root_;
};

/// One line of a listing.
struct TreeEntry {
  JtwNode* node = nullptr;
  int depth = 0;  ///< 0 for the start
};

/// Walks the whole component so that every object has its wrapper, and reads all frame lists. False
/// when the root has no JT node or the graph cannot be read.
JTW_API bool loadWrappers(JtwRoot& root);

/// `start` and everything below it: parents before children, children in scene graph order and
/// then the frames and annotations in list order. A wrapper is under the nearest wrapper above
/// it on the first path; each occurs once, whether it has a key or not.
JTW_API std::vector<TreeEntry> tree(JtwRoot& root, JtwNode& start);

/// One place of an object in the component.
struct TreePlace {
  JtwNode* node = nullptr;
  int depth = 0;          ///< 0 for the component
  std::size_t first = 0;  ///< index in the list of the object's first place; its own for that
  /// Object ids that lead to the object's JT node in this place: of the partitions that represent
  /// the files on the way, of nodes where a further place begins, and at last its own. For a frame
  /// or annotation, to the collection's. Empty when one of the nodes has no id.
  std::vector<std::int32_t> ids{};
  /// In a further place: relative to the object that it is listed under, in millimetres.
  RTTran3D relLoc{};
  /// In a further place of an object that has its name from where it is placed.
  RWClassicWString name{};
  /// JT nodes from below that of the object above down to its own, in this place; empty for the
  /// component, for a frame and for an annotation.
  std::vector<JtNode*> nodes{};
};

/// All places of all objects: as tree(), and where a node is met again, on another path, it and
/// everything below it once more. Once the list has `most` entries, what is met again is listed
/// without what is below it, so that an assembly of assemblies stays within bounds.
JTW_API std::vector<TreePlace> treePlaces(JtwRoot& root, std::size_t most);

/// The direct children of a node in the order of tree().
JTW_API std::vector<JtwNode*> children(JtwRoot& root, JtwNode& node);

/// Placement of a node relative to another one, in millimetres: that of a listing whose parent is
/// not the component parent. For a singular placement of `parent`: the absolute placement.
JTW_API RTTran3D placement(JtwNode& node, JtwNode& parent);

/// Places a node relative to its component parent, the translation in millimetres whatever the
/// node's unit is, and forgets its cached location.
JTW_API void setPlacement(JtwNode& node, const RTTran3D& millimetres);

/// A new object as the creator of its kind in JtwRoot makes it, but placed in millimetres whatever
/// unit its parent has. Null, changing nothing, where that creator returns null and for
/// JT_ROOT_NODE.
JTW_API JtwNode* createNode(JtwRoot& root, JtwNode::JT_NODE_TYPE type, const ApiProtoKey& key,
                            const ApiProtoKey& parentKey, const RTTran3D& millimetres);

/// Name of the property that holds the prototype key of an object.
JTW_API const char* keyProperty() noexcept;

/// The first JT node below a partition that carries that key; null when none does.
JTW_API JtNode* nodeOfKey(JtPartition& partition, const ApiProtoKey& key);

/// The key for the next new object: one above every key in use and above every one that a PMI ever
/// had; 1 for a component without keys.
JTW_API ApiProtoKey nextFreeKey(const JtwRoot& root);

/// Marks an entity or block as preserved or not, whatever mark it has; as the node's own operation
/// for other kinds.
JTW_API void setPreserved(JtwNode& node, bool preserved);

/// Name of the unit with that ratio of millimetres, such as "Millimeters"; null when there is none.
JTW_API const char* unitName(float ratio);
/// Ratio of millimetres of the unit with that name (letter case counts); 0 when there is none.
JTW_API float unitRatio(const char* name);

}  // namespace jtw
