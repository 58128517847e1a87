#include "SourceDate.h"

#include <charconv>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <thread>

#include "ApiClock.h"
#include "Failure.h"

namespace tool {
namespace {

constexpr const char* kVariable = "SOURCE_DATE_EPOCH";

/// Stands still. Its local time is UTC too: the zone of the machine would be a difference again.
class FixedClock final : public ApiClockSource {
 public:
  explicit FixedClock(std::chrono::sys_seconds moment) {
    const auto day = std::chrono::floor<std::chrono::days>(moment);
    const std::chrono::year_month_day date(day);
    const std::chrono::hh_mm_ss time(moment - day);
    time_ = {.year = static_cast<int>(date.year()),
             .month = static_cast<int>(static_cast<unsigned>(date.month())),
             .day = static_cast<int>(static_cast<unsigned>(date.day())),
             .hour = static_cast<int>(time.hours().count()),
             .minute = static_cast<int>(time.minutes().count()),
             .second = static_cast<int>(time.seconds().count())};
  }

  ApiClockTime utc() override { return time_; }
  ApiClockTime local() override { return time_; }
  void sleepMs(unsigned milliseconds) override {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
  }

 private:
  ApiClockTime time_;
};

}  // namespace

void useSourceDate() {
  const char* value = std::getenv(kVariable);
  if (!value || !*value) return;
  constexpr long long kLast = 253'402'300'799;  // the last second of the year 9999
  const std::string_view text = value;
  long long seconds = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
  if (error != std::errc() || end != text.data() + text.size() || seconds < 0 || seconds > kLast)
    failUsage(std::string(kVariable) + " is '" + value + "', not seconds since 1970");
  ApiClock::setSource(
      std::make_shared<FixedClock>(std::chrono::sys_seconds(std::chrono::seconds(seconds))));
}

}  // namespace tool
