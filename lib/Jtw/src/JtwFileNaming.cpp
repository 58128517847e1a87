// Where the JT file of a host document lies, and what it is called.

#include "JtwFileNaming.h"

#include <cstdint>
#include <memory>

#include "ApiSysFileAccess.h"
#include "ApiSysFilePath.h"
#include "DbDocument.h"
#include "JtwManager.h"
#include "RWCRegexp.h"

const RWClassicCString JtwManager::JT_SUFFIX = "jt";
const RWClassicCString JtwManager::CO_SUFFIX = "kpak";

namespace jtw {
namespace {

using Names = RWClassicTValOrderedVector<RWClassicCString>;

bool keepsManyJtFiles(const ApiDocumentRef& document) {
  return ApiDocument::kind(document) == ApiDocument::KIND_MANY_JT_FILES;
}

/// The name with the JT suffix for what follows its last '.'.
RWClassicCString withJtSuffix(const RWClassicCString& name) {
  const auto dot = name.rfind('.');
  return name.substr(0, dot) + '.' + JtwManager::JT_SUFFIX;
}

RWClassicCString pathInFolder(const RWClassicCString& folder, const RWClassicCString& name) {
  return folder + '\\' + name;
}

bool findFirst(const RWClassicCString& folder, RWClassicCString& name) {
  static const RWCRegexp pattern("\\.[jJ][tT]$");
  Names names;
  if (!ApiSysFileAccess::listDir(ApiSysFilePath(folder), pattern, names, true) || names.empty())
    return false;
  name = names.front();
  return true;
}

bool findNewest(const RWClassicCString& folder, RWClassicCString& name) {
  static const RWCRegexp pattern(".+\\.jt$");
  Names names;
  names.reserve(64);
  const bool listed = ApiSysFileAccess::listDir(ApiSysFilePath(folder), pattern, names, true);
  if (names.empty()) return false;
  name = names.front();
  if (names.size() == 1) return listed;

  const auto timeOf = [&folder](const RWClassicCString& file, std::int64_t& time) {
    return ApiSysFileAccess::lastWriteTime(ApiSysFilePath(pathInFolder(folder, file)), time);
  };
  std::int64_t newest = 0;
  bool read = timeOf(name, newest);
  for (std::size_t i = 1; read && i < names.size(); ++i) {
    std::int64_t time = 0;
    read = timeOf(names[i], time);
    if (read && time > newest) {
      newest = time;
      name = names[i];
    }
  }
  return read;
}

/// True when a file at `candidate` would be the document's own JT file, whatever the path that
/// leads to it and the case of its letters.
bool isSourceOf(const ApiDocumentRef& document, const RWClassicCString& candidate) {
  const auto lower = [](RWClassicCString text) {
    for (char& letter : text)
      if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
    return text;
  };
  RWClassicCString location;
  RWClassicCString name;
  if (!JtwManager::getFileNameFromDocument(document, location, name)) return false;
  const ApiSysFilePath source(name.empty() ? pathOf(document) : location + name);
  const ApiSysFilePath target(candidate);
  return lower(source.absolute().asString()) == lower(target.absolute().asString()) ||
         ApiSysFileAccess::isSameFile(source, target);
}

}  // namespace

RWClassicCString pathOf(const ApiDocumentRef& document) {
  const auto access = DbDocument::docAccess(document, DbDocument::PATH);
  const auto* text = dynamic_cast<const DbStringAccess*>(access.get());
  return text ? text->getString() : RWClassicCString();
}

RWClassicCString folderOf(const RWClassicCString& path) {
  const ApiSysFilePath whole(path);
  const RWClassicCString folder = whole.hostingDirPath().asString();
  // The root folder, as of "/gear.kpak", comes back as the empty text.
  return folder.empty() && !whole.isFullPath() ? folder : folder + '/';
}

void findDatastorePlace(const ApiDocumentRef& document, RWClassicCString& location,
                        RWClassicCString& name) {
  const ApiSysFilePath path(pathOf(document));
  if (path.extension() == JtwManager::JT_SUFFIX && !path.isDirectory()) {
    location = folderOf(path.asString());
    name = path.fileName();
  } else {
    JtwManager::getDatastoreLocationAndName(document, location, name);
  }
}

}  // namespace jtw

bool JtwManager::getFileNameFromDocument(const ApiDocumentRef& document, RWClassicCString& location,
                                         RWClassicCString& name) {
  const RWClassicCString path = jtw::pathOf(document);
  const RWClassicCString extension = ApiSysFilePath(path).extension();
  if (extension != CO_SUFFIX && extension != "co" && extension != "cor") {
    if (ApiSysFilePath(path).exists()) name = path;
    return true;
  }
  if (!the().usingJtInCO() && !path.ends_with('.' + CO_SUFFIX)) return false;
  return getJtFileNameFromPath(path, jtw::keepsManyJtFiles(document), location, name);
}

void JtwManager::getDatastoreLocationAndName(const ApiDocumentRef& document,
                                             RWClassicCString& location, RWClassicCString& name) {
  location = jtw::pathOf(document);
  if (!findJtFile(location, name, jtw::keepsManyJtFiles(document)))
    name = jtw::withJtSuffix(ApiSysFilePath(location).fileName());
  location += '/';
}

bool JtwManager::getJtFileNameFromPath(const RWClassicCString& path, bool manyJtFiles,
                                       RWClassicCString& location, RWClassicCString& name) {
  location = path + '/';
  if (!manyJtFiles) {
    RWClassicCString base = ApiSysFilePath(path).fileName();
    if (base.size() >= CO_SUFFIX.size()) {
      base = base.substr(0, base.size() - CO_SUFFIX.size()) + JT_SUFFIX;
      if (ApiSysFilePath(jtw::pathInFolder(path, base)).exists()) {
        name = base;
        return true;
      }
    }
  }
  return findJtFile(path, name, manyJtFiles);
}

bool JtwManager::findJtFile(const RWClassicCString& folder, RWClassicCString& name,
                            bool manyJtFiles) {
  return manyJtFiles ? jtw::findNewest(folder, name) : jtw::findFirst(folder, name);
}

void JtwManager::getExportLocationAndName(const ApiDocumentRef& document,
                                          RWClassicCString& location, RWClassicCString& name) {
  const RWClassicCString path = jtw::pathOf(document);
  location = jtw::folderOf(path);
  name = jtw::withJtSuffix(ApiSysFilePath(path).fileName());
  // ".export" as often as it takes: the source is one file.
  while (jtw::isSourceOf(document, location + name))
    name.insert(name.size() - JT_SUFFIX.size(), "export.");
}

bool JtwManager::getExportFileNameFromDocument(const ApiDocumentRef& document,
                                               RWClassicCString& location, RWClassicCString& name) {
  getExportLocationAndName(document, location, name);
  return ApiSysFilePath(location + name).exists();
}
