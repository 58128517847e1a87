#include "ApiGraJtVersionData.h"

#include <map>
#include <mutex>

#include "NeverDestroyed.h"

namespace {

struct Labels {
  std::mutex mutex;
  std::map<ApiGraJtVersionData::apiGraJtVersion, ApiGraJtReleaseLabels> byVersion;
};

Labels& configured() {
  static host::NeverDestroyed<Labels> instance;
  return instance.get();
}

}  // namespace

ApiGraJtReleaseLabels ApiGraJtVersionData::configuredLabels(apiGraJtVersion version) {
  const std::lock_guard lock(configured().mutex);
  const auto found = configured().byVersion.find(version);
  return found == configured().byVersion.end() ? ApiGraJtReleaseLabels() : found->second;
}

void ApiGraJtVersionData::setConfiguredLabels(apiGraJtVersion version,
                                              ApiGraJtReleaseLabels labels) {
  const std::lock_guard lock(configured().mutex);
  configured().byVersion[version] = std::move(labels);
}
