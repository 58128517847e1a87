#include "ApiSysFileAccess.h"

#include <algorithm>

#include "platform/FileSystem.h"

bool ApiSysFileAccess::listDir(const ApiSysFilePath& folder, const RWCRegexp& pattern,
                               RWClassicTValOrderedVector<RWClassicCString>& list, bool filesOnly) {
  if (!host::listFolder(folder.asNativeString(), filesOnly, list)) return false;
  std::erase_if(list,
                [&pattern](const RWClassicCString& name) { return !pattern.isFoundIn(name); });
  std::sort(list.begin(), list.end());
  return true;
}

bool ApiSysFileAccess::lastWriteTime(const ApiSysFilePath& path, std::int64_t& nanoseconds) {
  return host::lastWriteTime(path.asNativeString(), nanoseconds);
}

bool ApiSysFileAccess::isSameFile(const ApiSysFilePath& a, const ApiSysFilePath& b) {
  return host::isSameFile(a.asNativeString(), b.asNativeString());
}

bool ApiSysFileAccess::syncDir(const ApiSysFilePath& folder) {
  return host::syncFolder(folder.asNativeString());
}

RWClassicCString ApiSysFileAccess::programFolder() { return host::programFolder(); }
