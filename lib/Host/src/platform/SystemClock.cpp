#include "platform/SystemClock.h"

#include <cerrno>
#include <ctime>

namespace host {
namespace {

template <class BreakDown>
ApiClockTime now(BreakDown breakDown) {
  timespec moment{};
  ::clock_gettime(CLOCK_REALTIME, &moment);
  std::tm parts{};
  if (breakDown(&moment.tv_sec, &parts) == nullptr) return {};
  return {.year = parts.tm_year + 1900,
          .month = parts.tm_mon + 1,
          .day = parts.tm_mday,
          .hour = parts.tm_hour,
          .minute = parts.tm_min,
          .second = parts.tm_sec,
          .millisecond = static_cast<int>(moment.tv_nsec / 1'000'000)};
}

}  // namespace

ApiClockTime SystemClock::utc() { return now(::gmtime_r); }

ApiClockTime SystemClock::local() {
  ::tzset();  // localtime_r alone need not look at TZ
  return now(::localtime_r);
}

void SystemClock::sleepMs(unsigned milliseconds) {
  timespec left{.tv_sec = static_cast<std::time_t>(milliseconds / 1000U),
                .tv_nsec = static_cast<long>(milliseconds % 1000U) * 1'000'000};
  while (::nanosleep(&left, &left) != 0 && errno == EINTR) {
  }
}

}  // namespace host
