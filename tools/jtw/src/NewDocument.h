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
  /// @param unitRatio millimetres in its unit of length
  /// @param replace take the place of a component that is there already
  /// Throws Failure: "exists", "not_a_file", "not_a_folder", "usage", "bad_document".
  NewDocument(Session& session, const std::string& document, bool replace, float unitRatio = 1.0F);

  JtwRoot& root() const noexcept { return *root_; }
  /// Throws Failure; a folder or file that was made for it is gone again then.
  jt::SaveReport save(jt::SaveOptions options);

 private:
  std::string text_;
  DocumentName name_;
  Library library_;
  std::string file_;  // that the JT data goes to
  bool exists_ = false;
  JtwRoot* root_ = nullptr;
};

/// The first key of a component: its own.
inline constexpr long kComponentKey = 1;

}  // namespace tool
