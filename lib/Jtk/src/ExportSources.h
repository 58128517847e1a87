#pragma once

#include <string>
#include <unordered_map>
#include <unordered_set>

#include "JtFormatError.h"
#include "JtNode.h"
#include "JtSourceFile.h"

namespace jtk {

/// The files and scene graphs that an export reads.
class ExportSources {
 public:
  /// Notes the file that an object is copied from, if there is one.
  void noteFile(const JtSceneObject& object);
  /// Notes the files that the values of a node are copied from.
  void noteFiles(const JtNode& node);
  /// Gives memory back: it holds what is being written, not what was read for it before.
  void releasePages();

  /// True for an error of a save that no other content can avoid; throws JtFormatError for one of a
  /// source.
  bool isFinal(const JtFormatError& error) const;
  /// Throws JtFormatError: an export whose source cannot be read ends.
  [[noreturn]] static void fail(const std::string& reason);

  /// Keeps the source of a part alive, so that it can be recognised when it comes again.
  void hold(JtNode& source) { held_.emplace(&source, &source); }
  /// True when nobody but hold() and one part has a reference: the source cannot come again.
  bool isUnused(const JtNode* source) const;
  void letGo(const JtNode* source) { held_.erase(source); }

 private:
  /// Files that parts on their way are read from, held until their pages are given back.
  std::unordered_map<const jt::FileImage*, jt::Ref<const jt::FileImage>> files_;
  std::unordered_set<std::string> names_;  ///< of all files
  std::unordered_map<const JtNode*, jt::Ref<JtNode>> held_;
};

}  // namespace jtk
