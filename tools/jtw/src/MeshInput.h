#pragma once

#include <list>
#include <string>

#include "ScratchFolder.h"

namespace tool {

/// Reads mesh files where JT files are read: converts them to temporary JT files, as `convert`
/// does.
class MeshInputs {
 public:
  /// The path itself, or that of the JT file that was made of a mesh file: what is neither a
  /// document nor a folder, nor JT data under another name. The JT file lasts as long as the
  /// object. Throws Failure.
  /// @param name of the component that is made
  std::string jtFileFor(const std::string& path, const std::string& name);

 private:
  std::list<ScratchFolder> folders_;  // of one file each, since names may be equal
};

}  // namespace tool
