#pragma once

// Paths of nodes by their names, as messages and reports print them: "/Hall/Cell[#12]/Bolt".

#include <string>
#include <string_view>
#include <unordered_map>

#include "JtExport.h"
#include "JtNode.h"

namespace jt {

/// A name as a step of a path: a backslash takes the special meaning from '/', '[' and '\'. What
/// reads a path takes it away again.
JT_API std::string escapedStep(std::string_view name);

/// What a node is called in a path, not escaped: its name in UTF-8, or that of its element.
JT_API std::string stepName(const JtNode& node);

/// Makes paths of nodes. Keeps the names of the children of each node that it was asked about, so
/// that it is of use until nodes are named, added or removed.
class JT_API NodePaths {
 public:
  /// @param keyProperty key of the property whose whole number or text identifies a node among its
  /// siblings; may be empty
  explicit NodePaths(std::string_view keyProperty = {});

  /// Names from the root down, by first parents. What represents or holds a file has no step of its
  /// own; the root of all is "/".
  std::string path(const JtNode& node);
  /// The step of a child, without '/'. Where siblings share a name, "[key 7]", "[#12]" (object id)
  /// or "[child 3]" follows.
  std::string step(const JtNode& parent, const JtNode& child);
  /// The same with the value of the key, if there is one.
  std::string step(const JtNode& parent, const JtNode& child, const JtPropAtom* key);

 private:
  bool isRepeated(const JtNode& parent, const std::string& name);

  JtString keyProperty_;
  // Names of children, by parent: the child, or null where several have the name.
  std::unordered_map<const JtNode*, std::unordered_map<std::string, const JtNode*>> names_;
};

}  // namespace jt
