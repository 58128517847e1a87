#include "Limits.h"

#include <unistd.h>

#include <filesystem>

namespace tool {
namespace {

constexpr rlim_t kLeastSeconds = 20;
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

ReaderLimits::ReaderLimits(const std::string& file) {
  std::error_code error;
  const auto size = std::filesystem::file_size(file, error);
  limit(RLIMIT_CPU, kLeastSeconds + (error ? 0 : size / kBytesASecond));
  limit(RLIMIT_CORE, 0);
  const long pages = sysconf(_SC_PHYS_PAGES);
  const long pageSize = sysconf(_SC_PAGESIZE);
  if (kBoundsMemory && pages > 0 && pageSize > 0)
    limit(RLIMIT_AS, static_cast<rlim_t>(pages) * static_cast<rlim_t>(pageSize));
}

ReaderLimits::~ReaderLimits() {
  for (const auto& [resource, value] : before_) {
    rlimit now{};
    if (getrlimit(resource, &now) != 0) continue;
    now.rlim_cur = value;
    setrlimit(resource, &now);
  }
}

}  // namespace tool
