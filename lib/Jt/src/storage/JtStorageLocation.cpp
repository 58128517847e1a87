#include "JtStorageLocation.h"

#include <algorithm>
#include <utility>

const JtType* JtStorageLocation::classTypeID() {
  static const JtType type("JtStorageLocation", JtBase::classTypeID());
  return &type;
}

JtFSStorageLocation::JtFSStorageLocation(JtString location, JtString name)
    : location_(std::move(location)), name_(std::move(name)) {}

const JtType* JtFSStorageLocation::classTypeID() {
  static const JtType type("JtFSStorageLocation", JtStorageLocation::classTypeID());
  return &type;
}

std::string JtFSStorageLocation::fullFilePath() const {
  std::string path = location_.stringToMbs();
  const bool separated = path.empty() || path.back() == '/' || path.back() == '\\';
  if (!separated) path += '/';
  path += name_.stringToMbs();
  std::replace(path.begin(), path.end(), '\\', '/');
  return path;
}
