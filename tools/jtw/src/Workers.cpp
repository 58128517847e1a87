#include "Workers.h"

#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <deque>
#include <utility>

#include "OpenedFile.h"
#include "Signals.h"

namespace tool {
namespace {

using Pieces = std::deque<std::size_t>;
/// The length of a result, in front of it.
using Length = std::uint64_t;

struct Worker {
  Pieces pieces;  ///< that it has not done yet
  pid_t process = -1;
  int pipe = -1;
  std::string received;
};

/// The worker process from its start to its end. Nothing that this process has buffered is written.
[[noreturn]] void runPieces(const Pieces& pieces, const PieceOfWork& work, int pipe) {
  bool isDone = true;
  try {
    for (auto piece = pieces.begin(); isDone && piece != pieces.end(); ++piece) {
      const std::string result = work(*piece);
      const Length length = result.size();
      isDone = writeAll(pipe, {reinterpret_cast<const char*>(&length), sizeof length}) &&
               writeAll(pipe, result);
    }
  } catch (...) {
    // The process that started this one learns it from the missing result.
  }
  _exit(0);
}

std::optional<Worker> start(const Pieces& pieces, const PieceOfWork& work) {
  std::array<int, 2> ends{};
  if (pipe(ends.data()) != 0) return std::nullopt;
  const pid_t parent = getpid();
  const pid_t process = fork();
  if (process == 0) {
    beginChild(parent);
    close(ends[0]);
    runPieces(pieces, work, ends[1]);
  }
  close(ends[1]);
  if (process < 0) {
    close(ends[0]);
    return std::nullopt;
  }
  return Worker{.pieces = pieces, .process = process, .pipe = ends[0], .received = {}};
}

/// Takes what the worker has written; false when there is no more to come.
bool receive(Worker& worker) {
  std::array<char, 1U << 16> bytes{};
  const ssize_t count = read(worker.pipe, bytes.data(), bytes.size());
  if (count > 0) worker.received.append(bytes.data(), static_cast<std::size_t>(count));
  return count > 0 || (count < 0 && errno == EINTR);
}

/// Hands over the results that are whole.
void handOver(Worker& worker, const PieceDone& done) {
  for (Length length = 0; worker.received.size() >= sizeof length;) {
    std::memcpy(&length, worker.received.data(), sizeof length);
    if (worker.received.size() - sizeof length < length) return;
    std::string result = worker.received.substr(sizeof length, length);
    worker.received.erase(0, sizeof length + length);
    const std::size_t piece = worker.pieces.front();
    worker.pieces.pop_front();
    done(piece, std::move(result));
  }
}

void finish(const Worker& worker) {
  close(worker.pipe);
  int status = 0;
  while (waitpid(worker.process, &status, 0) < 0 && errno == EINTR) continue;
}

/// Waits until a worker has something to say, and takes it. What one that broke off had still to do
/// goes back into `todo`, but for the piece that it was at.
void serve(std::vector<Worker>& workers, Pieces& todo, const PieceDone& done) {
  std::vector<pollfd> pipes;
  pipes.reserve(workers.size());
  for (const Worker& worker : workers)
    pipes.push_back({.fd = worker.pipe, .events = POLLIN, .revents = 0});
  constexpr int kMostWaiting = 200;  // milliseconds; a signal can come just before
  if (poll(pipes.data(), pipes.size(), kMostWaiting) < 0) return;  // interrupted
  for (std::size_t i = workers.size(); i-- > 0;) {
    if (pipes[i].revents == 0) continue;
    if (receive(workers[i])) {
      handOver(workers[i], done);
      continue;
    }
    const Worker ended = std::move(workers[i]);
    workers.erase(workers.begin() + static_cast<std::ptrdiff_t>(i));
    finish(ended);
    if (ended.pieces.empty()) continue;
    todo.insert(todo.begin(), ended.pieces.begin() + 1, ended.pieces.end());
    done(ended.pieces.front(), std::nullopt);
  }
}

/// Stops the processes that still run when the work ends before its time.
class Stopper {
 public:
  explicit Stopper(std::vector<Worker>& workers) : workers_(workers) {}
  ~Stopper() {
    for (const Worker& worker : workers_) kill(worker.process, SIGTERM);
    for (const Worker& worker : workers_) finish(worker);
  }
  Stopper(const Stopper&) = delete;
  Stopper& operator=(const Stopper&) = delete;

 private:
  std::vector<Worker>& workers_;
};

}  // namespace

bool runInProcesses(const std::vector<std::size_t>& pieces, std::size_t jobs,
                    std::size_t perProcess, const PieceOfWork& work, const PieceDone& done) {
  Pieces todo(pieces.begin(), pieces.end());
  std::vector<Worker> workers;
  const Stopper stopper(workers);
  while (!todo.empty() || !workers.empty()) {
    if (notedSignal() != 0) return false;
    if (!todo.empty() && workers.size() < jobs) {
      const auto end =
          todo.begin() + static_cast<std::ptrdiff_t>(std::min(perProcess, todo.size()));
      if (std::optional<Worker> worker = start({todo.begin(), end}, work)) {
        workers.push_back(std::move(*worker));
        todo.erase(todo.begin(), end);
        continue;
      }
      // What keeps it from starting may pass when others end.
      if (workers.empty()) {
        const std::size_t piece = todo.front();
        todo.pop_front();
        done(piece, std::nullopt);
      }
    }
    if (!workers.empty()) serve(workers, todo, done);
  }
  return true;
}

}  // namespace tool
