#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "backends/linux/atspi/bus/BusLink.h"
#include "backends/linux/atspi/bus/MethodCall.h"

namespace jumplark::atspi {

/// What a thread does every now and then while it waits for an answer.
struct WorkWhileWaiting {
  std::thread::id thread;
  std::function<void()> work;
};

/// Calls that belong together, and their replies. The accessibility thread fills it; whoever posted it waits.
class CallBatch {
 public:
  CallBatch(std::vector<MethodCall> batchCalls, TimePoint batchDeadline);

  /// The replies, or cannotComplete for all when even the accessibility thread did not get to them in time. `meanwhile`
  /// may be null, and is nothing to other threads than its own.
  std::vector<Reply> wait(const WorkWhileWaiting* meanwhile);
  void finish();

  const std::vector<MethodCall> calls;
  const TimePoint deadline;
  /// Accessibility thread only, until finish().
  std::vector<Reply> replies;
  size_t remaining;

 private:
  std::mutex mutex_;
  std::condition_variable finished_;
  bool done_ = false;
};

/// Decides which call goes out when, and which one has waited too long. Each application has a window of calls under
/// way, so that one which does not answer costs the others nothing, and batches of one application take turns in it.
/// An application that answers nothing for the messaging time-out while calls are under way counts as hung: all of its
/// calls fail at once from then on, until forgive(). Accessibility thread only.
class CallScheduler {
 public:
  static constexpr size_t kWindow = 256;

  /// `linkOf` gives the link to a bus name, null when there is none.
  CallScheduler(std::function<BusLink*(const std::string& busName)> linkOf, std::function<Clock::duration()> timeout);
  ~CallScheduler();

  void add(const std::shared_ptr<CallBatch>& batch);
  /// Fails what is too late; returns when to look again.
  TimePoint expire(TimePoint now);
  /// Fails the calls under way on a link that has died.
  void linkLost(const BusLink* link);
  void forgive(const std::string& busName);
  /// True while a call is under way on any other link than this one.
  bool awaitsOtherThan(const BusLink* link) const;
  bool isHung(const std::string& busName) const;
  /// Fails everything.
  void abandonAll();

 private:
  struct Turn {
    std::shared_ptr<CallBatch> batch;
    std::deque<size_t> indexes;
  };
  struct Application {
    std::string busName;
    std::deque<Turn> turns;
    size_t underWay = 0;
    TimePoint quietSince;
    bool hung = false;
  };
  struct UnderWay {
    std::shared_ptr<CallBatch> batch;
    size_t index;
    Application* application;
    const BusLink* link;
    std::unique_ptr<PendingAnswer> answer;
  };
  using UnderWayIterator = std::list<UnderWay>::iterator;

  void pump(Application& application);
  void sendNext(Application& application, const std::shared_ptr<CallBatch>& batch, size_t index);
  void answered(UnderWayIterator call, Reply reply);
  void settle(const std::shared_ptr<CallBatch>& batch, size_t index, Reply reply);
  void failUnderWay(const std::function<bool(const UnderWay&)>& which, AccessibilityError error);
  void failQueued(Application& application, AccessibilityError error);
  void expireBatches(TimePoint now);
  void refill();

  std::function<BusLink*(const std::string&)> linkOf_;
  std::function<Clock::duration()> timeout_;
  std::map<std::string, std::unique_ptr<Application>> applications_;
  std::list<UnderWay> underWay_;
  std::list<std::shared_ptr<CallBatch>> batches_;
};

}  // namespace jumplark::atspi
