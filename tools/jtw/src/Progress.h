#pragma once

#include <chrono>
#include <string>

namespace tool {

class Session;

/// A line on the terminal that tells how far a longer piece of work is; shown from half a second
/// on, gone when the object is.
class Progress {
 public:
  Progress(const Session& session, const std::string& label);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  /// @param share  what is done, 0 to 1
  /// @param detail shown behind it
  void update(double share, const std::string& detail = {});

 private:
  using Clock = std::chrono::steady_clock;
  bool enabled_;
  bool shown_ = false;
  std::string label_;
  Clock::time_point next_;
};

}  // namespace tool
