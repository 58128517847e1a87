#include "JtStorageLocation.h"

#include <algorithm>
#include <utility>

const JtType* JtStorageLocation::classTypeID() {
  static const JtType type("JtStorageLocation", JtBase::classTypeID());
  return &type;
}

JtFSStorageLocation::JtFSStorageLocation(JtString location, JtString name)
    : location_(std::move(location)), name_(std::move(name)) {}

JtFSStorageLocation::JtFSStorageLocation(std::string_view path)
    : JtFSStorageLocation(JtString(), jt::textOfBytes(path)) {}

const JtType* JtFSStorageLocation::classTypeID() {
  static const JtType type("JtFSStorageLocation", JtStorageLocation::classTypeID());
  return &type;
}

std::string JtFSStorageLocation::fullFilePath() const {
  std::string path = jt::bytesOfText(location_);
  const bool separated = path.empty() || path.back() == '/' || path.back() == '\\';
  if (!separated) path += '/';
  path += jt::bytesOfText(name_);
  std::replace(path.begin(), path.end(), '\\', '/');
  return path;
}
