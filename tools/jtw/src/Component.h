#pragma once

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "ApiDocumentRef.h"
#include "ApiProtoKey.h"
#include "JtAssembly.h"
#include "JtwRoot.h"
#include "JtwTree.h"
#include "NodeView.h"

class JtExportRoot;

namespace tool {

class Session;

/// The library, started for as long as the object lives. Errors that it reports to the host go to
/// standard error as warnings.
class Library {
 public:
  explicit Library(Session& session);
  ~Library();
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;
};

/// A DOC as the command line names it.
struct DocumentName {
  std::string path;
  bool isStream = false;  ///< was given as stream:FILE
  bool isFolder = false;  ///< a component folder, .kpak, .co or .cor
  bool isJt = false;      ///< one of these, or a file whose name ends in .jt

  explicit DocumentName(const std::string& text);
};

/// An object as the command line names it: a key, "root" for the component itself, or "#ID" with
/// the object id of its node. "#A/B/ID" is node ID below node B below node A: where A or B stands
/// for a part file, the ids that follow are those of that file. "#ID:KEY" is the frame with that
/// key of the collection. These are the addresses that `tree` shows for objects that their key
/// alone does not name.
struct ObjectName {
  std::string text;
  ApiProtoKey key;                    ///< of the object, or of a frame; null where none is named
  std::vector<std::int32_t> nodeIds;  ///< the last one is that of the object's node

  /// Throws Failure "usage".
  explicit ObjectName(const std::string& text);
};

/// A DOC opened through the host's own way, with every object in it.
class Component {
 public:
  /// @param forWriting a stream is opened for writing too
  /// Throws Failure.
  Component(Session& session, const std::string& document, bool forWriting);
  ~Component();
  Component(const Component&) = delete;
  Component& operator=(const Component&) = delete;

  JtwRoot& root() const noexcept { return *root_; }
  /// The same root, as one that exports.
  JtExportRoot& exportRoot() const;
  const std::string& document() const noexcept { return text_; }
  /// "component with host data" or not, as the registry has it: 0 or 1; nothing when it is unknown.
  std::optional<int> structure() const;

  /// Path of the JT file that it was opened from; of a stream, the name of that.
  std::string file() const;
  /// The part files that it refers to.
  std::vector<jt::PartFile> partFiles() const { return jt::partFilesOf(*root_->partition()); }

  /// All objects, parents before children.
  const std::vector<jtw::TreeEntry>& entries() const noexcept { return entries_; }
  /// Index in entries() of an object. Throws Failure "unknown_key".
  std::size_t find(const ObjectName& name) const;
  /// What names the entry on the command line; empty for a frame without key.
  std::string address(std::size_t index) const;
  /// In how many places of the component the entry's object is shown.
  std::uint64_t placeCount(std::size_t index) const;
  /// The entry and everything that is listed below it, each object once.
  std::vector<ListedObject> listing(std::size_t index) const;
  /// All places of all objects; see jtw::treePlaces.
  std::vector<ListedObject> allPlaces() const;
  /// Gives the object the next free key when it has none: files from elsewhere have no keys. False
  /// when the model refuses.
  /// @param reserved a key that it must not take
  bool ensureKey(std::size_t index, const ApiProtoKey& reserved = ApiProtoKey());
  /// The same for an object that is edited by its key: refused when that key also names an object
  /// of another file. Throws Failure "key_in_use".
  bool ensureOwnKey(std::size_t index, const ApiProtoKey& reserved = ApiProtoKey());
  /// The object under which that entry is listed; null for the component itself.
  JtwNode* listedParent(std::size_t index) const;
  /// Its index; nothing for the component.
  std::optional<std::size_t> listedParentIndex(std::size_t index) const;
  /// One past the last entry that is listed below that one.
  std::size_t endOfSubtree(std::size_t index) const;
  /// Lists the objects anew, after some were made, moved or removed.
  void relist();

  /// The index of an object that others can hang on; it has a key from then on, not the
  /// reserved one. Throws Failure "unknown_key", "not_a_collection", "no_free_key".
  std::size_t findCollection(const ObjectName& name, const ApiProtoKey& reserved = ApiProtoKey());
  /// The key for a new object: a number, or "auto" for the next free one. Throws Failure "usage",
  /// "key_in_use", "no_free_key".
  ApiProtoKey newKey(const std::string& text) const;

  /// Saves to where it came from.
  jt::SaveReport save(bool dryRun);

 private:
  std::string text_;
  Library library_;
  ApiDocumentRef document_;
  JtwRoot* root_ = nullptr;
  std::vector<jtw::TreeEntry> entries_;
  std::unordered_map<long, std::size_t> firstOfKey_;
};

/// The document behind a name. Throws Failure "bad_document".
ApiDocumentRef openHostDocument(const DocumentName& name);
/// Tells why a document's JT file cannot be opened: the library's operations say only that. Throws
/// Failure.
[[noreturn]] void failToOpen(const ApiDocumentRef& document, const DocumentName& name);
/// The key that a text names. Throws Failure "usage".
ApiProtoKey parseKey(const std::string& text);

}  // namespace tool
