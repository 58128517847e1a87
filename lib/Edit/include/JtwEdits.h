#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "ApiProtoKey.h"
#include "JtwExport.h"
#include "JtwNodeEdits.h"
#include "JtwObjects.h"

// Edits of a component by the addresses of its objects and by values as texts. None saves: the
// caller does when all is done. Each checks everything that it can before it changes anything.
// Frame lists are stored by Objects::storeFrames(), once for many edits.

namespace jtw {

/// Changes objects, all in the same way. Everything is checked for all of them before the first is
/// changed. @return their keys, which they get when they had none; null keys for those that cannot
/// get one. Throws EditError as NodeEdits.
JTW_API std::vector<ApiProtoKey> setObjects(Objects& objects, std::span<JtwNode* const> nodes,
                                            std::span<const Setting> settings);

/// A new object.
struct AddRequest {
  std::string kind;             ///< "block", "link", "sub-device", "entity", "frame", "annotation"
  std::string key = "auto";     ///< a number, or the next free one
  std::string parent = "root";  ///< address of a component, block, link or sub-device
  std::string type{};           ///< of an annotation: the name of its type, such as "Note"
  std::string leader{};         ///< of an annotation: x,y,z that it is moved by
  std::vector<Setting> settings{};
};

/// What can be said of a request before a component is opened. Throws EditError "usage".
JTW_API void checkRequest(const AddRequest& request);

/// What was made.
struct AddResult {
  JtwNode* node = nullptr;
  ApiProtoKey key;
  ApiProtoKey parent;
};

/// Makes an object. Throws EditError; when the fault is in the settings,
/// the object is there.
JTW_API AddResult addObject(Objects& objects, const AddRequest& request);

/// What went.
struct RemoveResult {
  std::vector<long> removed;   ///< keys of the object and of what was below it
  std::vector<long> detached;  ///< keys of the objects that were attached to what is gone
  std::size_t count = 0;       ///< of objects that are gone
};

/// Removes objects with everything below them, and ends attachments to what is gone. What is below
/// another one of them counts once. Throws EditError.
JTW_API RemoveResult removeObjects(Objects& objects, std::span<JtwNode* const> nodes);

/// Where an object went.
struct MoveResult {
  ApiProtoKey key;
  ApiProtoKey parent;
  bool unitChanged = false;  ///< it has no unit of its own, and its new parent another one
};

/// Moves an object under another one.
/// @param keepsPlace it stays where it is in the component; else its place relative to its parent
/// stays the same
/// Throws EditError.
JTW_API MoveResult moveObject(Objects& objects, JtwNode& node, const ObjectAddress& parent,
                              bool keepsPlace);

/// Moves objects under another one. What is below another one of them moves with it. All are
/// checked before the first is moved. @return what became of each, in the order of the listing.
/// Throws EditError.
JTW_API std::vector<MoveResult> moveObjects(Objects& objects, std::span<JtwNode* const> nodes,
                                            const ObjectAddress& parent, bool keepsPlace);

/// Copies an entity, beside it. Throws EditError; when the fault is in the settings, the copy is
/// there.
/// @param key a number, or "auto" for the next free one
/// @return the copy
JTW_API JtwNode& cloneObject(Objects& objects, JtwNode& node, const std::string& key,
                             bool withGeometry, std::span<const Setting> settings);

}  // namespace jtw
