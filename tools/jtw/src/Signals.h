#pragma once

#include <sys/types.h>

namespace tool {

/// Handles SIGTERM, SIGINT and SIGHUP from now on, those that are not ignored: the program stops
/// its child process, removes its temporary files, and ends by the signal.
void handleEndSignals();
/// To be called in a forked child: it gets SIGTERM when its parent ends, however that comes, and
/// handles signals of its own. @param parent the process that forked
void beginChild(pid_t parent);

/// A child process that ends with this one. One at a time.
class ChildGuard {
 public:
  explicit ChildGuard(pid_t child) noexcept;
  ~ChildGuard();
  ChildGuard(const ChildGuard&) = delete;
  ChildGuard& operator=(const ChildGuard&) = delete;
};

/// While it lives, the signals are noted only: for work that can report how far it came.
class SignalsNoted {
 public:
  SignalsNoted() noexcept;
  ~SignalsNoted();
  SignalsNoted(const SignalsNoted&) = delete;
  SignalsNoted& operator=(const SignalsNoted&) = delete;
};

/// The signal that was noted; 0 for none.
int notedSignal() noexcept;
/// Ends the process by the noted signal; returns when there is none.
void endByNotedSignal() noexcept;

}  // namespace tool
