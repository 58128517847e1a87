#pragma once

#include <list>
#include <string>

#include "JtTemporaryPath.h"

namespace tool {

/// A folder for temporary files, made when the first one is asked for, and removed with all that is
/// in it.
class ScratchFolder {
 public:
  ScratchFolder() = default;
  ~ScratchFolder();
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;
  /// The path of a file of that name in it. Throws Failure when the folder cannot be made.
  std::string place(const std::string& name);

 private:
  jt::TemporaryPath path_;
  std::list<jt::TemporaryPath> files_;  // ends before the folder
};

}  // namespace tool
