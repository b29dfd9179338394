#pragma once

#include <condition_variable>
#include <cstdint>
#include <exception>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "backends/threads/LargeStackThread.h"
#include "platform/Queues.h"

namespace jumplark {

/// Decides what runs next in virtual time. Each queue is a strand. Only one strand runs at any moment; the others wait
/// for the baton, so that everything happens in one order, which is the same in every run: by due time, then by
/// posting.
///
/// A strand other than the main one runs on a thread of its own and keeps its stack while it waits. The driver is the
/// thread that lets time pass, a test as a rule; it holds the baton otherwise and runs the main strand's tasks itself.
/// When a strand waits, the driver hands the baton on. When the driver itself waits (in the test, or in a task of the
/// main strand) it lets others run until its wait ends.
class VirtualScheduler {
 public:
  static constexpr Duration kForever = Duration::max();

  /// What a strand can wait for. Opened once, never closed again.
  struct Gate;
  struct Strand;
  /// A place in the order of events.
  using Key = std::pair<Duration, uint64_t>;

  VirtualScheduler();
  ~VirtualScheduler();

  std::shared_ptr<Strand> makeStrand(const std::string& name, size_t stackBytes);
  const std::shared_ptr<Strand>& mainStrand() const { return mainStrand_; }
  static const std::string& nameOf(const Strand& strand);
  bool isCurrent(const Strand& strand) const;
  /// Drops what has not started and waits for what runs, except on the strand itself.
  void endStrand(const std::shared_ptr<Strand>& strand);

  Duration now() const;
  /// Runs `task` on the strand at `due`, or as soon as it can when that has passed.
  void postAt(const std::shared_ptr<Strand>& strand, Duration due, Task task);
  void postAfter(const std::shared_ptr<Strand>& strand, Duration delay, Task task);

  static std::shared_ptr<Gate> makeGate();
  void open(Gate& gate);
  bool isOpen(const Gate& gate) const;
  /// Blocks the calling strand, or thread, until the gate is open, `timeout` at most; true when it is open. Throws
  /// std::logic_error when nothing that is due can ever end a wait without a limit.
  bool wait(Gate& gate, Duration timeout);

  /// Everything due until `duration` from now runs, also what that posts; then the clock stands there. An exception of
  /// a task comes out here.
  void advance(Duration duration);
  /// As advance(), but stops as soon as `stop` answers true; true then.
  bool advanceUntil(const std::function<bool()>& stop, Duration limit);

  /// Ends everything: what has not started is dropped, waits end at once, threads are joined. Later posts are dropped.
  void close();

 private:
  struct Event {
    std::shared_ptr<Strand> strand;
    Task task;  ///< none: the strand goes on after its wait
  };
  using Events = std::map<Key, Event>;
  using Lock = std::unique_lock<std::mutex>;

  Strand* currentStrand() const;
  Duration after(Duration delay) const;
  Key insert(Duration due, Event event);
  /// Takes the task unless it is dropped; a dropped one must not be destroyed under the lock.
  void postLocked(const std::shared_ptr<Strand>& strand, Duration due, Task& task);
  /// Runs what is due up to `limit`, until `gate` is open or `stop` (called without the lock) says so. Either may be
  /// null.
  void drive(Lock& lock, const Gate* gate, const std::function<bool()>& stop, const Key& limit);
  void becomeDriver(Lock& lock, const Gate* gate);
  Events::iterator nextEvent(const Key& limit);
  void run(Lock& lock, Event event);
  void runInline(Lock& lock, Event& event);
  void handBaton(Lock& lock, Strand& strand);
  void waitForBaton(Lock& lock, Strand& strand);
  void strandMain(Strand& strand);
  void finishTask(Strand& strand);
  void openLocked(Gate& gate);
  std::vector<Task> takeTasks(const Strand* strand);

  mutable std::mutex mutex_;
  std::condition_variable driverWakes_;
  Duration now_{0};
  uint64_t lastNumber_ = 0;
  Events events_;
  std::shared_ptr<Strand> mainStrand_;
  std::vector<std::shared_ptr<Strand>> strands_;  ///< all but the main one
  std::thread::id driver_;                        ///< while it lets time pass
  int driverDepth_ = 0;
  std::thread::id mainRunner_;  ///< while a task of the main strand runs
  std::exception_ptr failure_;
  bool closing_ = false;
};

}  // namespace jumplark
