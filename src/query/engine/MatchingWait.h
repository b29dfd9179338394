#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <string>

#include "platform/Token.h"
#include "streams/Observable.h"

namespace jumplark {

class TaskQueue;

/// An action that waits until the matches are those of the typed text, on a background queue of its own; dropped when
/// the text changes first. Destroying it waits for a running action.
class MatchingWait {
 public:
  MatchingWait();
  MatchingWait(const MatchingWait&) = delete;
  MatchingWait& operator=(const MatchingWait&) = delete;
  ~MatchingWait();

  /// Runs `action` once after the first true of `isMatched`, unless `query` (its present value first) sends a second
  /// value before. `over` is called on the background queue when nothing more will happen.
  void start(const Observable<bool>& isMatched, const Observable<std::string>& query, std::function<void()> action,
             std::function<void()> over);

 private:
  std::shared_ptr<TaskQueue> queue_;
  std::shared_ptr<std::atomic<bool>> cancelled_;
  Token subscription_;
};

}  // namespace jumplark
