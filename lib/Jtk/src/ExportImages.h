#pragma once

#include <list>
#include <map>
#include <string>
#include <utility>

#include "JtAttribute.h"
#include "JtStorageLocation.h"
#include "JtTemporaryPath.h"

namespace jtk {

/// Image files that textures of an export name. They are copied beside the file that names them, to
/// the path that it has for them. A file that is there already is never replaced. Until commit()
/// the copies belong to nobody: the destructor removes them.
class ExportImages {
 public:
  explicit ExportImages(bool dryRun) : dryRun_(dryRun) {}
  ExportImages(const ExportImages&) = delete;
  ExportImages& operator=(const ExportImages&) = delete;

  /// Brings the image of a texture to a file that will have the texture.
  /// @param place of that file
  /// @return why the file does not lead to the image; empty: it does, or there is none
  /// Throws JtFormatError when the copy cannot be written.
  std::string bring(const JtAttribute& attribute, const JtStorageLocation& place);
  void commit() noexcept {
    for (jt::TemporaryPath& path : made_) path.keep();
  }

 private:
  std::string copy(const JtFSStorageLocation& from, const JtFSStorageLocation& to);
  void makeFolders(const std::string& file);

  const bool dryRun_;
  std::map<std::pair<std::string, std::string>, std::string> done_;  ///< from, to: the result
  std::list<jt::TemporaryPath> made_;  ///< folders and files, the last one first
};

}  // namespace jtk
