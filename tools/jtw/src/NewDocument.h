#pragma once

#include <string>

#include "ApiDocumentRef.h"
#include "Component.h"
#include "JtPartition.h"
#include "JtRefCounted.h"
#include "JtwRoot.h"

namespace tool {

/// A DOC that a command makes: an empty component with the key 1 and the name of the document.
/// Nothing is on disk before save().
class NewDocument {
 public:
  /// @param document of that name, see openHostDocument()
  /// @param replace take the place of a component that is there already
  /// @param unitRatio millimetres in its unit of length
  /// @pre the library is started, and is for as long as this lives
  /// Throws Failure: "exists", "not_a_file", "not_a_folder", "usage".
  NewDocument(DocumentName name, const ApiDocumentRef& document, bool replace,
              float unitRatio = 1.0F);

  JtwRoot& root() const noexcept { return *root_; }
  /// Path of the JT file that save() writes.
  const std::string& file() const noexcept { return file_; }
  /// Throws Failure; a folder or file that was made for it is gone again then.
  jt::SaveReport save(jt::SaveOptions options);

 private:
  DocumentName name_;
  std::string file_;
  bool exists_ = false;
  JtwRoot* root_ = nullptr;
};

/// The first key of a component: its own.
inline constexpr long kComponentKey = 1;

}  // namespace tool
