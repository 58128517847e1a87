#include "JtStorageManager.h"

#include <mutex>

#include "JtByteText.h"
#include "JtFormatError.h"
#include "storage/AtomicFile.h"
#include "storage/FolderNames.h"
#include "storage/MappedFile.h"
#include "storage/RelativePath.h"

JtStorageManager* g_pInstanceJtStorageManager = nullptr;

namespace {

std::mutex& installMutex() {
  static std::mutex mutex;
  return mutex;
}

/// Never destroyed: objects that are destroyed when the program ends may still use it.
JtStorageManager* defaultManager() {
  static const jt::Ref<JtStorageManager>* const manager =
      new jt::Ref<JtStorageManager>(new JtStorageManager);
  return manager->get();
}

std::string pathOf(const JtStorageLocation& location, const char* code) {
  if (const auto* file = jt::as<JtFSStorageLocation>(&location)) return file->fullFilePath();
  throw JtFormatError(code,
                      "the place is no file, and the storage manager in use serves files only; "
                      "install the one that serves it",
                      {.file = jt::bytesOfText(location.displayName())});
}

}  // namespace

JtStorageManager::JtStorageManager() : folderNames_(std::make_unique<jt::storage::FolderNames>()) {}

JtStorageManager::~JtStorageManager() = default;

jt::Ref<jt::FileImage> JtStorageManager::open(const JtStorageLocation& location) {
  return jt::storage::MappedFile::open(pathOf(location, "not_found"));
}

jt::StorageSaveResult JtStorageManager::save(const JtStorageLocation& location,
                                             std::span<const jt::FilePiece> pieces,
                                             const jt::StorageSaveOptions& options) {
  return jt::storage::saveFile(pathOf(location, "unwritable"), pieces, options);
}

jt::Ref<JtStorageLocation> JtStorageManager::resolve(const JtStorageLocation& base,
                                                     const JtString& relativePath) {
  const auto* file = jt::as<JtFSStorageLocation>(&base);
  if (!file) return {};
  const std::string path = file->fullFilePath();
  std::string folder = path.substr(0, path.rfind('/') + 1);
  const auto found =
      jt::storage::findRelative(folder, jt::bytesOfText(relativePath), *folderNames_);
  if (!found) return {};
  const std::size_t nameStart = found->rfind('/') + 1;
  folder += found->substr(0, nameStart);
  return jt::make<JtFSStorageLocation>(jt::textOfBytes(folder),
                                       jt::textOfBytes(found->substr(nameStart)));
}

jt::Ref<JtStorageManager> JtStorageManager::current() {
  const std::lock_guard lock(installMutex());
  return g_pInstanceJtStorageManager ? g_pInstanceJtStorageManager : defaultManager();
}

void jt::installStorageManager(JtStorageManager* manager) {
  if (manager) manager->ref();
  {
    const std::lock_guard lock(installMutex());
    std::swap(g_pInstanceJtStorageManager, manager);
  }
  // Outside the lock: the destructor of the old one is somebody else's code.
  if (manager) manager->unref();
}
