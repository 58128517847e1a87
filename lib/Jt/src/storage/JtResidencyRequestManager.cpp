#include "JtResidencyRequestManager.h"

#include <algorithm>
#include <condition_variable>
#include <exception>
#include <list>
#include <mutex>
#include <stop_token>
#include <thread>
#include <utility>
#include <vector>

#include "JtParallel.h"

struct JtResidencyRequestManager::State {
  using Load = std::function<void()>;

  mutable std::mutex mutex;
  std::condition_variable_any changed;  ///< something waits, or nothing is pending any more
  std::list<Load> waiting;              // empty, it takes no memory
  std::size_t running = 0;
  std::size_t failures = 0;
  std::size_t threadCount = jt::coreCount();  ///< of the next start
  std::size_t mostThreads = 0;                ///< of this one
  std::vector<std::jthread> threads;

  bool isPending() const { return !waiting.empty() || running != 0; }

  bool isOwnThread() const {
    return std::any_of(threads.begin(), threads.end(), [](const std::jthread& thread) {
      return thread.get_id() == std::this_thread::get_id();
    });
  }

  /// Starts one more thread when all are busy; call with the lock held. False when there is none.
  bool ensureThread() {
    if (threads.empty()) {
      failures = 0;
      mostThreads = threadCount;
    }
    if (threads.size() < mostThreads && waiting.size() + running > threads.size()) {
      try {
        threads.emplace_back([this](const std::stop_token& stop) { serve(stop); });
      } catch (const std::exception&) {
        // The system gives no more threads: those that run have to do.
      }
    }
    return !threads.empty();
  }

  void serve(const std::stop_token& stop) {
    std::unique_lock lock(mutex);
    while (changed.wait(lock, stop, [this] { return !waiting.empty(); })) {
      if (stop.stop_requested()) return;
      Load load = std::move(waiting.front());
      waiting.pop_front();
      ++running;
      lock.unlock();
      const bool failed = !succeeds(std::move(load));
      lock.lock();
      --running;
      if (failed) ++failures;
      changed.notify_all();
    }
  }

  /// Runs a request and lets go of what it owns.
  static bool succeeds(Load&& load) noexcept {
    try {
      const Load request = std::move(load);
      request();
      return true;
    } catch (...) {
      return false;
    }
  }
};

JtResidencyRequestManager::JtResidencyRequestManager() : state_(std::make_unique<State>()) {}

JtResidencyRequestManager::~JtResidencyRequestManager() { stop(); }

JtResidencyRequestManager& JtResidencyRequestManager::instance() {
  static JtResidencyRequestManager theOne;
  return theOne;
}

void JtResidencyRequestManager::request(std::function<void()> load) {
  {
    const std::lock_guard lock(state_->mutex);
    state_->waiting.push_back(std::move(load));
    if (state_->ensureThread()) {
      state_->changed.notify_all();
      return;
    }
    // Better late here than never.
    load = std::move(state_->waiting.back());
    state_->waiting.pop_back();
  }
  if (State::succeeds(std::move(load))) return;
  const std::lock_guard lock(state_->mutex);
  ++state_->failures;
}

bool JtResidencyRequestManager::hasPendingRequests() const {
  const std::lock_guard lock(state_->mutex);
  return state_->isPending();
}

void JtResidencyRequestManager::waitForAll() {
  std::unique_lock lock(state_->mutex);
  // A request that waits for all would wait for itself, for instance when it drops the last
  // reference on what waits for its loads before it goes.
  if (state_->isOwnThread()) return;
  state_->changed.wait(lock, [this] { return !state_->isPending(); });
}

std::size_t JtResidencyRequestManager::failures() const {
  const std::lock_guard lock(state_->mutex);
  return state_->failures;
}

void JtResidencyRequestManager::stop() {
  // Both end outside the lock: dropped requests may call back, and threads need it to finish.
  std::list<State::Load> dropped;
  std::vector<std::jthread> threads;
  const std::lock_guard lock(state_->mutex);
  dropped.swap(state_->waiting);
  if (!state_->isOwnThread()) threads.swap(state_->threads);
  for (std::jthread& thread : threads) thread.request_stop();
  state_->changed.notify_all();
}

void JtResidencyRequestManager::setThreadCount(std::size_t count) {
  const std::lock_guard lock(state_->mutex);
  state_->threadCount = std::max<std::size_t>(count, 1);
}
