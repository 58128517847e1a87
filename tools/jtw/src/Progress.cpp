#include "Progress.h"

#include <cstdio>

#include "Output.h"
#include "Session.h"

namespace tool {
namespace {

constexpr std::chrono::milliseconds kFirst{500};
constexpr std::chrono::milliseconds kInterval{100};

}  // namespace

Progress::Progress(const Session& session, const std::string& label)
    : enabled_(session.showsProgress()), label_(printable(label)), next_(Clock::now() + kFirst) {}

Progress::~Progress() {
  if (shown_) std::fputs("\r\x1b[K", stderr);
}

void Progress::update(double share, const std::string& detail) {
  if (!enabled_) return;
  const Clock::time_point now = Clock::now();
  if (now < next_) return;
  next_ = now + kInterval;
  shown_ = true;
  std::fprintf(stderr, "\r%s %3.0f %%%s%s\x1b[K", label_.c_str(), share * 100,
               detail.empty() ? "" : ", ", detail.c_str());
  std::fflush(stderr);
}

}  // namespace tool
