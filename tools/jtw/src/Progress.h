#pragma once

#include <chrono>
#include <string>

namespace tool {

class Session;

/// A line on the terminal with the share of a longer piece of work that is done and an estimate of
/// the time for the rest; shown from half a second on, gone when the object is.
class Progress {
 public:
  Progress(const Session& session, const std::string& label);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  /// @param share  what is done, 0 to 1
  /// @param detail shown behind it
  void update(double share, const std::string& detail = {});
  /// Takes the line away until the next update, so that others can write.
  void clear();

 private:
  using Clock = std::chrono::steady_clock;
  bool enabled_;
  bool shown_ = false;
  std::string label_;
  Clock::time_point start_;
  Clock::time_point next_;
};

}  // namespace tool
