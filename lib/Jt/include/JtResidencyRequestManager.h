#pragma once

#include <cstddef>
#include <functional>
#include <memory>

#include "JtExport.h"

/// Loads segments in the background on threads of its own. Threads start with the first request and
/// end with `stop`. All operations are safe from any thread.
class JT_API JtResidencyRequestManager {
 public:
  /// The one instance.
  static JtResidencyRequestManager& instance();

  /// Runs `load` on one of the manager's threads. An exception that leaves it is kept, not thrown:
  /// see `failures`. @param load must own (by reference count) whatever it touches.
  void request(std::function<void()> load);
  /// True while a request waits or runs.
  bool hasPendingRequests() const;
  /// Returns once nothing is pending.
  void waitForAll();
  /// Requests that ended with an exception since the last start.
  std::size_t failures() const;
  /// Drops what waits, finishes what runs and ends the threads. A later request starts them again.
  void stop();
  /// Threads used at most; takes effect with the next start. Default: one a core.
  void setThreadCount(std::size_t count);

  ~JtResidencyRequestManager();

 private:
  JtResidencyRequestManager();
  struct State;
  std::unique_ptr<State> state_;
};
