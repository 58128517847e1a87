#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <utility>
#include <vector>

namespace host {

/// Where reports of one sort go: to a sink, or without one to a list of the newest. Safe from any
/// thread; the sink runs outside the lock, so it may report itself.
template <class Record>
class ReportChannel {
 public:
  using Sink = std::function<void(const Record&)>;

  void send(Record record) {
    Sink sink;
    {
      const std::lock_guard lock(mutex_);
      if (!sink_) {
        if (recent_.size() == kCapacity) recent_.pop_front();
        recent_.push_back(std::move(record));
        return;
      }
      sink = sink_;
    }
    try {
      sink(record);
    } catch (...) {
      // A report must not turn into a failure of the work that it reports on.
    }
  }

  Sink setSink(Sink sink) {
    const std::lock_guard lock(mutex_);
    return std::exchange(sink_, std::move(sink));
  }

  std::vector<Record> recent() {
    const std::lock_guard lock(mutex_);
    return {recent_.begin(), recent_.end()};
  }

  void clearRecent() {
    const std::lock_guard lock(mutex_);
    recent_.clear();
  }

 private:
  static constexpr std::size_t kCapacity = 256;

  std::mutex mutex_;
  Sink sink_;
  std::deque<Record> recent_;
};

}  // namespace host
