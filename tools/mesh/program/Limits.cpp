#include "Limits.h"

#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

namespace tool {
namespace {

constexpr rlim_t kComputing = 20;  // seconds
constexpr rlim_t kByTheClock = 60;
constexpr rlim_t kMostSeconds = 1'000'000;
constexpr rlim_t kBytesASecond = 100'000;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kBoundsMemory = false;  // sanitizers reserve far more than they use
#elif defined(__has_feature)
constexpr bool kBoundsMemory =
    !__has_feature(address_sanitizer) && !__has_feature(thread_sanitizer);
#else
constexpr bool kBoundsMemory = true;
#endif

}  // namespace

void ReaderLimits::limit(int resource, rlim_t value) {
  rlimit now{};
  if (getrlimit(resource, &now) != 0 || now.rlim_cur <= value) return;
  const rlim_t before = std::exchange(now.rlim_cur, value);
  if (setrlimit(resource, &now) == 0) before_.emplace_back(resource, before);
}

ReaderLimits::ReaderLimits(const std::string& file, std::optional<std::uint64_t> memory,
                           std::optional<std::uint64_t> seconds) {
  std::error_code error;
  const auto size = std::filesystem::file_size(file, error);
  const rlim_t ofSize = error ? 0 : size / kBytesASecond;
  limit(RLIMIT_CPU, seconds.value_or(kComputing + ofSize));
  limit(RLIMIT_CORE, 0);
  const long pages = sysconf(_SC_PHYS_PAGES);
  const long pageSize = sysconf(_SC_PAGESIZE);
  if (!memory && pages > 0 && pageSize > 0)
    memory = static_cast<std::uint64_t>(pages) * static_cast<std::uint64_t>(pageSize) / 2;
  if (kBoundsMemory && memory) limit(RLIMIT_AS, *memory);
  itimerval timer{};  // a process that waits for something needs no computing
  timer.it_value.tv_sec =
      static_cast<time_t>(std::min(kMostSeconds, seconds.value_or(kByTheClock + ofSize)));
  setitimer(ITIMER_REAL, &timer, nullptr);
}

ReaderLimits::~ReaderLimits() {
  const itimerval none{};
  setitimer(ITIMER_REAL, &none, nullptr);
  for (const auto& [resource, value] : before_) {
    rlimit now{};
    if (getrlimit(resource, &now) != 0) continue;
    now.rlim_cur = value;
    setrlimit(resource, &now);
  }
}

}  // namespace tool
