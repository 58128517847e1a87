#include "Progress.h"

#include <cmath>
#include <cstdio>
#include <utility>

#include "Output.h"
#include "Session.h"

namespace tool {
namespace {

constexpr std::chrono::milliseconds kFirst{500};
constexpr std::chrono::milliseconds kInterval{100};

/// An estimate for the rest, once there is something to go by.
std::string remaining(std::chrono::duration<double> elapsed, double share) {
  constexpr double kLeastShare = 0.02;
  constexpr double kMinute = 60;
  if (share < kLeastShare || share >= 1) return {};
  const double seconds = elapsed.count() * (1 - share) / share;
  return ", " +
         (seconds < 2 * kMinute ? std::to_string(std::lround(seconds)) + " s"
                                : std::to_string(std::lround(seconds / kMinute)) + " min") +
         " left";
}

}  // namespace

Progress::Progress(const Session& session, const std::string& label)
    : enabled_(session.showsProgress()),
      label_(printable(label)),
      start_(Clock::now()),
      next_(start_ + kFirst) {}

Progress::~Progress() { clear(); }

void Progress::clear() {
  if (std::exchange(shown_, false)) std::fputs("\r\x1b[K", stderr);
}

void Progress::update(double share, const std::string& detail) {
  if (!enabled_) return;
  const Clock::time_point now = Clock::now();
  if (now < next_) return;
  next_ = now + kInterval;
  shown_ = true;
  std::fprintf(stderr, "\r%s %3.0f %%%s%s%s\x1b[K", label_.c_str(), share * 100,
               detail.empty() ? "" : ", ", detail.c_str(), remaining(now - start_, share).c_str());
  std::fflush(stderr);
}

}  // namespace tool
