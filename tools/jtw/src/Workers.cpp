#include "Workers.h"

#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <string_view>

#include "Signals.h"

namespace tool {
namespace {

struct Worker {
  std::size_t piece = 0;
  pid_t process = -1;
  int pipe = -1;
  std::string result;
};

bool writeAll(int file, std::string_view text) {
  while (!text.empty()) {
    const ssize_t count = write(file, text.data(), text.size());
    if (count < 0 && errno != EINTR) return false;
    if (count > 0) text.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

/// The worker process from its start to its end. Nothing that this process has buffered is written.
[[noreturn]] void runPiece(std::size_t piece, const PieceOfWork& work, int pipe) {
  bool isDone = false;
  try {
    isDone = writeAll(pipe, work(piece));
  } catch (...) {
    // The process that started this one learns it from the exit status.
  }
  _exit(isDone ? 0 : 1);
}

std::optional<Worker> start(std::size_t piece, const PieceOfWork& work) {
  std::array<int, 2> ends{};
  if (pipe(ends.data()) != 0) return std::nullopt;
  const pid_t parent = getpid();
  const pid_t process = fork();
  if (process == 0) {
    beginChild(parent);
    close(ends[0]);
    runPiece(piece, work, ends[1]);
  }
  close(ends[1]);
  if (process < 0) {
    close(ends[0]);
    return std::nullopt;
  }
  return Worker{.piece = piece, .process = process, .pipe = ends[0], .result = {}};
}

/// Takes what the worker has written; false when there is no more to come.
bool receive(Worker& worker) {
  std::array<char, 1U << 16> bytes{};
  const ssize_t count = read(worker.pipe, bytes.data(), bytes.size());
  if (count > 0) worker.result.append(bytes.data(), static_cast<std::size_t>(count));
  return count > 0 || (count < 0 && errno == EINTR);
}

std::optional<std::string> finish(Worker& worker) {
  close(worker.pipe);
  int status = 0;
  while (waitpid(worker.process, &status, 0) < 0 && errno == EINTR) continue;
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) return std::nullopt;
  return std::move(worker.result);
}

/// Waits until a worker has something to say, and takes it.
void serve(std::vector<Worker>& workers, const PieceDone& done) {
  std::vector<pollfd> pipes;
  pipes.reserve(workers.size());
  for (const Worker& worker : workers)
    pipes.push_back({.fd = worker.pipe, .events = POLLIN, .revents = 0});
  constexpr int kMostWaiting = 200;  // milliseconds; a signal can come just before
  if (poll(pipes.data(), pipes.size(), kMostWaiting) < 0) return;  // interrupted
  for (std::size_t i = workers.size(); i-- > 0;) {
    if (pipes[i].revents == 0 || receive(workers[i])) continue;
    const std::size_t piece = workers[i].piece;
    std::optional<std::string> result = finish(workers[i]);
    workers.erase(workers.begin() + static_cast<std::ptrdiff_t>(i));
    done(piece, std::move(result));
  }
}

/// Stops the processes that still run when the work ends before its time.
class Stopper {
 public:
  explicit Stopper(std::vector<Worker>& workers) : workers_(workers) {}
  ~Stopper() {
    for (const Worker& worker : workers_) kill(worker.process, SIGTERM);
    for (Worker& worker : workers_) finish(worker);
  }
  Stopper(const Stopper&) = delete;
  Stopper& operator=(const Stopper&) = delete;

 private:
  std::vector<Worker>& workers_;
};

}  // namespace

bool runInProcesses(const std::vector<std::size_t>& pieces, std::size_t jobs,
                    const PieceOfWork& work, const PieceDone& done) {
  std::vector<Worker> workers;
  const Stopper stopper(workers);
  for (std::size_t next = 0; next < pieces.size() || !workers.empty();) {
    if (notedSignal() != 0) return false;
    if (next < pieces.size() && workers.size() < jobs) {
      if (std::optional<Worker> worker = start(pieces[next], work)) {
        workers.push_back(std::move(*worker));
        ++next;
        continue;
      }
      // What keeps it from starting may pass when others end.
      if (workers.empty()) done(pieces[next++], std::nullopt);
    }
    if (!workers.empty()) serve(workers, done);
  }
  return true;
}

}  // namespace tool
