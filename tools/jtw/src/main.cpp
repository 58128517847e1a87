#include <fcntl.h>
#include <unistd.h>

#include <csignal>

#include "JtFileGuard.h"
#include "Session.h"
#include "Signals.h"

namespace {

/// A standard stream that is closed gets a stand-in: otherwise the next file that is opened would
/// take its number, and messages would be written into it. What is written to the stand-in for
/// standard output fails, as it should.
void reserveStandardStreams() {
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
    if (fcntl(descriptor, F_GETFD) == -1) {
      const int mode = descriptor == STDERR_FILENO ? O_WRONLY : O_RDONLY;
      static_cast<void>(open("/dev/null", mode));
    }
}

}  // namespace

int main(int argc, char** argv) {
  reserveStandardStreams();
  // A closed pipe shows as a failed write, which has an exit code of its own.
  std::signal(SIGPIPE, SIG_IGN);
  // So does a file that would become larger than the limit of the process.
  std::signal(SIGXFSZ, SIG_IGN);
  jt::guardMappedFiles();
  tool::handleEndSignals();
  const int skipped = argc > 0 ? 1 : 0;
  const int exit = tool::runProgram({argv + skipped, argv + argc});
  tool::endByNotedSignal();
  return exit;
}
