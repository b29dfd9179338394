#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "backends/linux/atspi/bus/MethodCall.h"
#include "platform/Token.h"

struct pollfd;

namespace jumplark::atspi {

class BusLink;
class CallScheduler;
struct WorkWhileWaiting;

/// The accessibility thread: it alone talks to the accessibility bus and to the sockets of applications. Other threads
/// hand it batches of calls and wait for the replies, never longer than a deadline. A bus that has gone is looked for
/// again at the next use.
class BusConnection final : public CallRunner {
 public:
  struct Options {
    std::string sessionAddress;  ///< empty: of the environment
  };
  struct Reachability {
    bool reachable = false;
    std::string advice;  ///< one sentence for a person when it is not
  };

  explicit BusConnection(Options options);
  BusConnection() : BusConnection(Options{}) {}
  ~BusConnection() override;
  BusConnection(const BusConnection&) = delete;
  BusConnection& operator=(const BusConnection&) = delete;

  /// Connects if there is no connection yet; at most a few seconds.
  Reachability connect();
  std::vector<Reply> run(std::vector<MethodCall> calls, TimePoint deadline) override;
  Wait begin(std::vector<MethodCall> calls, TimePoint deadline) override;

  /// Makes the calling thread do `work` every now and then whenever it waits for an answer, until the token is
  /// destroyed on the same thread. For the thread on which this program itself answers: it can be asked like any other
  /// application, also by the thread that waits for it. Work must be short and wait for nothing.
  Token workWhileWaiting(std::function<void()> work);

  /// From now on calls to this application go to its own socket, as long as that can be reached.
  void usePeer(const std::string& busName, const std::string& address);
  /// Calls to a hung application are tried again.
  void forgive(const std::string& busName);

  void setMessagingTimeout(Clock::duration timeout) { timeout_.store(timeout.count(), std::memory_order_relaxed); }
  /// How long an application may be silent while calls to it are under way.
  Clock::duration messagingTimeout() const { return Clock::duration(timeout_.load(std::memory_order_relaxed)); }
  /// Changes with every new connection to the bus: names of an older one mean nothing.
  uint64_t generation() const { return generation_.load(std::memory_order_acquire); }

 private:
  void post(std::function<void()> task);
  void loop();
  void runPosted();
  bool processLinks();
  void sleepUntil(TimePoint next);
  /// Looks for answers without sleeping while an application gives one after the other on its own socket, for as long
  /// as that takes; true when there is one. To wake this thread for each would cost the application half as much time
  /// as to answer does. Not for what comes by the bus, whose daemon needs a processor too.
  bool looksAgain(std::vector<pollfd>& requests) const;
  void dropDeadLinks();
  BusLink* mainLink();
  BusLink* linkOf(const std::string& busName);
  Reachability open();

  const Options options_;
  std::atomic<Clock::rep> timeout_;
  std::atomic<uint64_t> generation_{0};
  int wake_ = -1;

  std::mutex mutex_;  ///< leaf
  std::shared_ptr<const WorkWhileWaiting> meanwhile_;
  std::vector<std::function<void()>> posted_;
  bool stopping_ = false;

  // Accessibility thread only.
  std::unique_ptr<BusLink> main_;
  std::map<std::string, std::unique_ptr<BusLink>> peers_;
  std::unique_ptr<CallScheduler> scheduler_;
  TimePoint retryAt_;
  Reachability lastAttempt_;

  std::thread thread_;
};

}  // namespace jumplark::atspi
