#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "ApiProtoKey.h"
#include "JtwExport.h"
#include "JtwNode.h"
#include "JtwTree.h"
#include "RTTran3D.h"

class JtwCollection;
class JtwRoot;

namespace jtw {

/// What names an object of a component.
///
/// | text | names |
/// |---|---|
/// | `7` | the first object with that key |
/// | `root`, `/` | the component itself |
/// | `#12` | the object of node 12 of the component's own file |
/// | `#12/5` | that of node 5 below node 12; where 12 represents a part file, of node 5 in that |
/// | `#12/5:7` | the frame with key 7 of the object `#12/5` |
/// | `/Robot/Arm[2]/Gripper` | names from the component down; `[2]` is the second of that name |
/// | `/Robot/Arm[key 7]`, `/Robot/Arm[#12]` | the one of that name with key 7, or of node 12 |
/// | `Gripper` | the only object of that name |
///
/// In a path a backslash takes the special meaning from the character behind it: `\/`, `\[`, `\\`;
/// jt::escapedStep() is the inverse. A path that no objects have may also be that of a node of the
/// scene graph, as jt::NodePaths and jt::compare() make it; it names the object of that node.
class JTW_API ObjectAddress {
 public:
  /// One name of a path.
  struct Step {
    std::string name;
    std::optional<std::size_t> number{};  ///< among siblings of that name, from 1 on
    ApiProtoKey key{};                    ///< null: any
    std::int32_t nodeId = 0;              ///< in its file; 0: any
  };

  /// Throws EditError "usage" for a text that is no address.
  explicit ObjectAddress(std::string_view text);

  /// As it was given.
  const std::string& text() const noexcept { return text_; }
  bool isRoot() const noexcept { return text_ == "root" || text_ == "/"; }
  /// The key of the object, or of a frame below nodeIds(); null where none is named.
  const ApiProtoKey& key() const noexcept { return key_; }
  /// Object ids, the last one that of the object's node; empty where none is named.
  const std::vector<std::int32_t>& nodeIds() const noexcept { return nodeIds_; }
  /// The names of a path; empty for other addresses.
  const std::vector<Step>& path() const noexcept { return path_; }
  /// The name of an object that is named by nothing else; empty for other addresses.
  const std::string& name() const noexcept { return name_; }

 private:
  void readIds();
  void readPath();
  std::size_t readWhich(std::size_t open, Step& step) const;

  std::string text_;
  ApiProtoKey key_;
  std::vector<std::int32_t> nodeIds_;
  std::vector<Step> path_;
  std::string name_;
};

/// The key that a text names. Throws EditError "usage" for what is no whole number of 32 bits.
JTW_API ApiProtoKey parseKey(const std::string& text);

/// A line of a listing: an object in one of its places.
struct ListedObject {
  JtwNode* node = nullptr;
  JtwNode* parent = nullptr;     ///< under which it is listed; null for the component itself
  int depth = 0;                 ///< 0 for the start of the listing
  std::string address{};         ///< see ObjectAddress; empty for a frame without key
  std::vector<JtNode*> nodes{};  ///< of a list of all places: see TreePlace
  // Of a place where an object is listed again:
  std::string sameAs{};              ///< its address in the first place; empty for that
  std::optional<RTTran3D> relLoc{};  ///< relative to `parent`, in millimetres
  std::string name{};                ///< when it has its name from where it is placed
};

class ObjectNames;

/// The objects of an opened component, in the order of a listing and by their addresses. Looks at
/// the root and its wrappers, and owns neither. Indices hold until objects are made, moved or
/// removed; the list is made anew when somebody asks for it after changed().
class JTW_API Objects {
 public:
  /// Lists all objects, parents before children. @pre the root's wrappers are made, see
  /// loadWrappers() @param document what messages call the component
  Objects(JtwRoot& root, std::string document);
  ~Objects();
  Objects(const Objects&) = delete;
  Objects& operator=(const Objects&) = delete;

  /// The root whose objects they are.
  JtwRoot& root() const noexcept { return root_; }
  /// What messages call the component.
  const std::string& document() const noexcept { return document_; }
  /// All objects, each once, parents before children.
  const std::vector<TreeEntry>& entries() const { return current().entries; }
  /// The object of that index.
  JtwNode& node(std::size_t index) const { return *entries()[index].node; }
  /// The objects of these indices.
  std::vector<JtwNode*> nodes(std::span<const std::size_t> indices) const;
  /// To be called when objects were made, moved or removed.
  void changed() noexcept;
  /// To be called when changes were rolled back or undone: frame lists are as they were, and all
  /// wrappers have gone. They are made anew when somebody asks for an object.
  void forgetChanges() noexcept;
  /// To be called when an object got another name: names are looked up anew.
  void forgetNames() noexcept;

  /// Index of an object. Throws EditError "unknown_key", or "ambiguous" when a name or a path is
  /// that of several.
  std::size_t find(const ObjectAddress& address) const;
  /// The object itself. By its key it is found without a list. Throws as find().
  JtwNode& object(const ObjectAddress& address) const;
  /// The index of a listed object. Throws EditError "unknown_key".
  std::size_t indexOf(const JtwNode& node) const;
  /// The shortest address of an object that needs no names; empty for a frame without key.
  std::string address(std::size_t index) const;
  /// Its name in UTF-8.
  const std::string& name(std::size_t index) const;
  /// Its address by names: "/Robot/Arm[2]/Gripper".
  std::string path(std::size_t index) const;
  /// In how many places of the component the object is shown.
  std::uint64_t placeCount(std::size_t index) const;
  /// Index of the object under which that one is listed; nothing for the component.
  std::optional<std::size_t> parentOf(std::size_t index) const;
  /// That object; null for the component itself.
  JtwNode* listedParent(std::size_t index) const;
  /// The same for an object that need not be in the list yet: the next one above it.
  JtwNode* parentOf(JtwNode& node) const;
  /// One past the last entry that is listed below that one.
  std::size_t endOfSubtree(std::size_t index) const;
  /// The object as a line of a listing that starts with it.
  ListedObject listed(std::size_t index) const;
  /// The object and everything that is listed below it, each once.
  std::vector<ListedObject> listing(std::size_t index) const;
  /// All places of all objects, up to 200,000; see treePlaces().
  std::vector<ListedObject> allPlaces() const;

  /// Gives the object the next free key when it has none: files from elsewhere have no keys. False
  /// when the model refuses. @param reserved a key that it must not take
  bool ensureKey(JtwNode& node, const ApiProtoKey& reserved = ApiProtoKey());
  /// The same for an object that is edited by its key. Throws EditError "key_in_use" when that key
  /// also names an object of another file.
  bool ensureOwnKey(JtwNode& node, const ApiProtoKey& reserved = ApiProtoKey());
  /// An object that others can hang on; it has a key from then on, not the reserved one. Throws
  /// EditError "unknown_key", "not_a_collection", "no_free_key".
  JtwNode& collection(const ObjectAddress& address, const ApiProtoKey& reserved = ApiProtoKey());
  /// The key for a new object: a number, or "auto" for the next free one. Throws EditError "usage",
  /// "key_in_use", "no_free_key".
  ApiProtoKey newKey(const std::string& text);

  /// To be called when a frame of that collection was added, changed or removed (null: nothing).
  /// Throws EditError of the kind "input", "bad_frames", when the stored list cannot be read: its
  /// frames would be lost.
  void framesChanged(JtwCollection* collection);
  /// Stores the frame lists that changed, each in the form in which the file has it. Throws
  /// EditError.
  void storeFrames();

 private:
  JtNode* findNode(JtNode& start, std::int32_t id) const;
  const JtNode* follow(const std::vector<std::int32_t>& ids) const;
  std::optional<std::size_t> findByIds(const ObjectAddress& address) const;
  std::size_t findByPath(const ObjectAddress& address) const;
  std::size_t findByNodePath(const ObjectAddress& address) const;
  std::vector<std::size_t> stepDown(std::size_t parent, const ObjectAddress::Step& step) const;
  const std::unordered_map<const JtNode*, std::size_t>& objectsOfNodes() const;
  [[noreturn]] void failUnknown(const ObjectAddress& address) const;
  [[noreturn]] void failAmbiguous(const ObjectAddress& address,
                                  const std::vector<std::size_t>& candidates) const;
  /// What a listing has.
  struct Listing {
    std::vector<TreeEntry> entries;
    std::vector<std::size_t> parents;  // index of each entry's parent; of the component its own
    std::unordered_map<long, std::size_t> firstOfKey;
    // Made when somebody asks:
    std::unordered_map<const JtwNode*, std::size_t> indices;
    std::unordered_map<const JtNode*, std::size_t> firstOfNode;  // objects that are nodes
    std::unordered_map<const JtNode*, std::unordered_map<std::int32_t, JtNode*>> nodesOfFiles;
    std::unique_ptr<ObjectNames> names;
  };
  const Listing& current() const;
  const ObjectNames& names() const;
  ApiProtoKey freeKey();

  JtwRoot& root_;
  std::string document_;
  std::unordered_set<JtwCollection*> changedFrames_;
  ApiProtoKey freeKey_;  // the next one; null: to be looked for
  mutable bool needsWrappers_ = false;
  mutable std::optional<Listing> listing_;
};

/// Throws EditError of the kind "input": the stored frame list of an object cannot be read;
/// jt::lastError() has the reason.
[[noreturn]] JTW_API void failUnreadableFrames(const Objects& objects, JtwNode& collection);

// --- What is shown of an object

/// "component", "block", "link", "sub-device", "entity", "frame" or "annotation".
JTW_API const char* kindName(JtwNode& node);
/// The object id of its node, for a new object that in the file that it was saved to; 0 for a frame
/// or annotation, and for a node that no file has.
JTW_API std::int32_t nodeIdOf(JtwNode& node);
/// Its key, "#ID" where it has none, "-" where it has neither: what names it in a single file.
JTW_API std::string objectText(JtwNode& node);
/// The object's name in UTF-8.
JTW_API std::string nameOf(JtwNode& node);
/// Its unit of length; null when it has none.
JTW_API const char* unitOf(JtwNode& node);
/// Its place relative to the object that it is listed under, in millimetres.
JTW_API RTTran3D listedLocation(JtwNode& node, JtwNode* parent);
/// A key as a number; nothing for the null key.
JTW_API std::optional<long> keyNumber(const ApiProtoKey& key);
/// The key of what an object is attached to; null for nothing.
JTW_API ApiProtoKey attachmentOf(JtwNode& node);

}  // namespace jtw
