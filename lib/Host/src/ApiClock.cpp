#include "ApiClock.h"

#include <mutex>
#include <utility>

#include "NeverDestroyed.h"
#include "platform/SystemClock.h"

namespace {

struct CurrentSource {
  std::mutex mutex;
  std::shared_ptr<ApiClockSource> replacement;
};

CurrentSource& current() {
  static host::NeverDestroyed<CurrentSource> instance;
  return instance.get();
}

std::shared_ptr<ApiClockSource> source() {
  const std::lock_guard lock(current().mutex);
  if (current().replacement) return current().replacement;
  return std::make_shared<host::SystemClock>();
}

}  // namespace

ApiClockSource::~ApiClockSource() = default;

ApiClockTime ApiClock::utc() { return source()->utc(); }
ApiClockTime ApiClock::local() { return source()->local(); }
void ApiClock::sleepMs(unsigned milliseconds) { source()->sleepMs(milliseconds); }

std::shared_ptr<ApiClockSource> ApiClock::setSource(std::shared_ptr<ApiClockSource> source) {
  const std::lock_guard lock(current().mutex);
  return std::exchange(current().replacement, std::move(source));
}
