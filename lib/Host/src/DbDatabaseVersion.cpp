#include "DbDatabaseVersion.h"

#include <mutex>

#include "NeverDestroyed.h"

namespace {

struct DatabaseVersion {
  std::mutex mutex;
  ApiDocumentVersionData data{"1.0"};
};

DatabaseVersion& current() {
  static host::NeverDestroyed<DatabaseVersion> instance;
  return instance.get();
}

}  // namespace

bool DbDatabaseVersion::getVersionData(ApiDocumentVersionData& data) {
  const std::lock_guard lock(current().mutex);
  data = current().data;
  return true;
}

void DbDatabaseVersion::setVersionData(ApiDocumentVersionData data) {
  const std::lock_guard lock(current().mutex);
  current().data = std::move(data);
}
