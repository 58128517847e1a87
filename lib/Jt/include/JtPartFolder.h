#pragma once

#include <list>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "JtExport.h"
#include "JtStorageLocation.h"
#include "JtTemporaryPath.h"

namespace jt {

/// A name as the name of a file: letters, digits, blanks and ".", "_", "-" stay, every other
/// character becomes "_"; names that a system reserves get a "_" in front; at most 120 bytes of
/// UTF-8. Never empty, never hidden, never leads to another folder.
JT_API std::string safeFileName(const JtString& name);

/// Makes a folder when it is not there; the one that it is in must be. Throws JtFormatError
/// "unwritable".
JT_API void makeFolder(const std::string& path);

/// True when a file, which need not be there, lies in the folder of another one or below it,
/// whatever symbolic links lead to it.
JT_API bool isBeside(const std::string& file, const std::string& base);

/// The folder for the part files of an assembly's file: beside it, and named after it.
JT_API std::string partFolderOf(const std::string& assembly);

/// The folder with the part files of an assembly that is being written. Part files get names that
/// no file there has. Until commit() they belong to nobody: the destructor removes them. After it
/// the part files of an older assembly of that name are gone instead.
class JT_API PartFolder {
 public:
  /// Looks at the assembly that is there, if any.
  explicit PartFolder(const JtFSStorageLocation& assembly);
  ~PartFolder() = default;
  PartFolder(const PartFolder&) = delete;
  PartFolder& operator=(const PartFolder&) = delete;

  /// A place for a part file, in a folder that is made when it is not there. Throws JtFormatError
  /// "unwritable". @param dryRun chooses a name only
  Ref<JtFSStorageLocation> add(const JtString& partName, bool dryRun = false);
  /// The name by which the assembly refers to the file that was added last.
  const std::string& reference() const noexcept { return reference_; }
  /// To be called when the assembly is written.
  void commit() noexcept;

 private:
  std::string folder_;  ///< path, with a separator at the end
  std::string prefix_;  ///< from the assembly to the folder
  std::string reference_;
  TemporaryPath madeFolder_;
  std::list<TemporaryPath> added_;
  std::vector<std::string> old_;                  ///< paths, of the older assembly
  std::unordered_set<std::string> used_;          ///< in lower case
  std::unordered_map<std::string, int> numbers_;  ///< the last one that was given to a name
};

}  // namespace jt
