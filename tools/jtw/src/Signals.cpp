#include "Signals.h"

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <ctime>

#include "JtTemporaryPath.h"

namespace tool {
namespace {

constexpr int kEndSignals[] = {SIGTERM, SIGINT, SIGHUP};

std::atomic<pid_t> child{0};
std::atomic<bool> isNoting{false};
std::atomic<int> noted{0};

/// Waits for the child, which has its own files to remove; at last it is killed.
void stopChild() noexcept {
  constexpr int kMostWaits = 200;
  const pid_t process = child.exchange(0);
  if (process <= 0) return;
  ::kill(process, SIGTERM);
  const timespec wait{.tv_sec = 0, .tv_nsec = 10'000'000};
  for (int i = 0; i < kMostWaits; ++i) {
    if (::waitpid(process, nullptr, WNOHANG) != 0) return;
    ::nanosleep(&wait, nullptr);
  }
  ::kill(process, SIGKILL);
  ::waitpid(process, nullptr, 0);
}

// Installed so that the second signal of a kind ends the process at once.
void onEndSignal(int signal) {
  if (isNoting) {
    noted = signal;
    return;
  }
  stopChild();
  jt::removeTemporaryPaths();
  ::raise(signal);
}

}  // namespace

void handleEndSignals() {
  for (const int signal : kEndSignals) {
    struct sigaction before {};
    if (::sigaction(signal, nullptr, &before) != 0 || before.sa_handler == SIG_IGN) continue;
    struct sigaction action {};
    action.sa_handler = onEndSignal;
    action.sa_flags = SA_RESTART | static_cast<int>(SA_RESETHAND) | SA_NODEFER;
    ::sigemptyset(&action.sa_mask);
    ::sigaction(signal, &action, nullptr);
  }
}

void beginChild(pid_t parent) {
  isNoting = false;
  noted = 0;
  child = 0;
  handleEndSignals();
  ::prctl(PR_SET_PDEATHSIG, SIGTERM);
  if (::getppid() != parent) ::raise(SIGTERM);  // it ended in between
}

ChildGuard::ChildGuard(pid_t process) noexcept { child = process; }
ChildGuard::~ChildGuard() { child = 0; }

SignalsNoted::SignalsNoted() noexcept { isNoting = true; }
SignalsNoted::~SignalsNoted() { isNoting = false; }

int notedSignal() noexcept { return noted; }

void endByNotedSignal() noexcept {
  const int signal = noted;
  if (signal == 0) return;
  std::signal(signal, SIG_DFL);
  ::raise(signal);
}

}  // namespace tool
