#pragma once

#include <optional>
#include <string>
#include <vector>

#include "ApiDocumentRef.h"
#include "JtAssembly.h"
#include "JtwObjects.h"
#include "JtwRoot.h"

class JtExportRoot;

namespace tool {

class Session;

/// The library, started for as long as one of these lives. Errors that it reports to the host go to
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
  std::string text;  ///< as it was given
  std::string path;
  bool isStream = false;  ///< was given as stream:FILE
  bool isFolder = false;  ///< a component folder, .kpak, .co or .cor
  bool isJt = false;      ///< one of these, or a file whose name ends in .jt

  explicit DocumentName(const std::string& text);
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

  /// Its objects.
  jtw::Objects& objects() noexcept { return *objects_; }
  const jtw::Objects& objects() const noexcept { return *objects_; }
  /// The index of an object. Throws as jtw::Objects::find.
  std::size_t find(const jtw::ObjectAddress& address) const { return objects_->find(address); }

  /// Saves to where it came from.
  jt::SaveReport save(bool dryRun);

 private:
  std::string text_;
  Library library_;
  ApiDocumentRef document_;
  JtwRoot* root_ = nullptr;
  std::optional<jtw::Objects> objects_;
};

/// The document behind a name. Throws Failure "bad_document".
ApiDocumentRef openHostDocument(const DocumentName& name);
/// Reports why a document's JT file cannot be opened: the library's operations say only that.
/// Throws Failure.
[[noreturn]] void failToOpen(const ApiDocumentRef& document, const DocumentName& name);

}  // namespace tool
