#pragma once

#include <condition_variable>
#include <mutex>

#include "backends/linux/atspi/bus/MethodCall.h"
#include "platform/Token.h"

namespace jumplark::atspi {

/// How many snapshots are being taken, for what must not ask applications anything meanwhile. Any thread.
class SnapshotsUnderWay {
 public:
  /// One more, until the token goes.
  Token begin() {
    const std::lock_guard lock(mutex_);
    ++count_;
    return Token([this] { end(); });
  }
  /// Waits until there is none, at most until the deadline.
  void waitForNone(TimePoint deadline) {
    std::unique_lock lock(mutex_);
    none_.wait_until(lock, deadline, [this] { return count_ == 0; });
  }

 private:
  void end() {
    {
      const std::lock_guard lock(mutex_);
      --count_;
    }
    none_.notify_all();
  }

  std::mutex mutex_;
  std::condition_variable none_;
  int count_ = 0;
};

}  // namespace jumplark::atspi
