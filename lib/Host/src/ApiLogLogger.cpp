#include "ApiLogLogger.h"

#include <functional>
#include <map>
#include <mutex>

#include "NeverDestroyed.h"
#include "ReportChannel.h"

namespace {

host::ReportChannel<ApiLogRecord>& channel() {
  static host::NeverDestroyed<host::ReportChannel<ApiLogRecord>> instance;
  return instance.get();
}

struct Loggers {
  std::mutex mutex;
  std::map<RWClassicCString, ApiLogLogger, std::less<>> byName;
};

}  // namespace

ApiLogLogger* ApiLogLogger::instance() { return instance(std::string_view()); }

ApiLogLogger* ApiLogLogger::instance(std::string_view name) {
  static host::NeverDestroyed<Loggers> instance;
  Loggers& loggers = instance.get();
  const std::lock_guard lock(loggers.mutex);
  return &loggers.byName.try_emplace(RWClassicCString(name), name).first->second;
}

void ApiLogLogger::addLogCall(std::string_view category, std::string_view file, int line, int level,
                              std::string_view message) const {
  channel().send({.logger = name_,
                  .category = RWClassicCString(category),
                  .sourceFile = RWClassicCString(file),
                  .sourceLine = line,
                  .level = level,
                  .message = RWClassicCString(message)});
}

ApiLogLogger::Sink ApiLogLogger::setSink(Sink sink) { return channel().setSink(std::move(sink)); }

RWClassicTValOrderedVector<ApiLogRecord> ApiLogLogger::recent() { return channel().recent(); }

void ApiLogLogger::clearRecent() { channel().clearRecent(); }
