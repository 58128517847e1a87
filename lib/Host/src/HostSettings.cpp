// What the host is configured with: its database version and the labels of its JT versions.

#include <map>
#include <mutex>

#include "ApiGraJtVersionData.h"
#include "DbDatabaseVersion.h"
#include "NeverDestroyed.h"

namespace {

struct HostSettings {
  std::mutex mutex;
  ApiDocumentVersionData databaseVersion{"1.0"};
  std::map<ApiGraJtVersionData::apiGraJtVersion, ApiGraJtReleaseLabels> labels;
};

HostSettings& settings() {
  static host::NeverDestroyed<HostSettings> instance;
  return instance.get();
}

}  // namespace

bool DbDatabaseVersion::getVersionData(ApiDocumentVersionData& data) {
  const std::lock_guard lock(settings().mutex);
  data = settings().databaseVersion;
  return true;
}

void DbDatabaseVersion::setVersionData(ApiDocumentVersionData data) {
  const std::lock_guard lock(settings().mutex);
  settings().databaseVersion = std::move(data);
}

ApiGraJtReleaseLabels ApiGraJtVersionData::configuredLabels(apiGraJtVersion version) {
  const std::lock_guard lock(settings().mutex);
  const auto found = settings().labels.find(version);
  return found == settings().labels.end() ? ApiGraJtReleaseLabels() : found->second;
}

void ApiGraJtVersionData::setConfiguredLabels(apiGraJtVersion version,
                                              ApiGraJtReleaseLabels labels) {
  const std::lock_guard lock(settings().mutex);
  settings().labels[version] = std::move(labels);
}
