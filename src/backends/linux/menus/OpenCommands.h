#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "backends/linux/menus/MenuSource.h"
#include "platform/Queues.h"

namespace jumplark::menus {

/// The commands of menus that close when the user calls, as they were read just before: they are not there any more
/// when he gets to choose. Calls may come from any thread.
class OpenCommands {
 public:
  struct Told {
    int32_t pid = -1;
    std::vector<MenuCommand> commands;
    std::vector<WindowId> popups;  ///< in which they lie, or some of them; none for menus inside a window
  };
  /// Whether somebody has the keyboard, as most open menus do. Else only pop-ups that show are any reason to look.
  enum class Keyboard { taken, free };
  /// Reads what is open now, until the deadline. Called on a thread of its own.
  using Reader = std::function<Told(TimePoint deadline, Keyboard keyboard)>;

  /// The queues outlive it.
  OpenCommands(Queues& queues, Reader reader);

  /// The user may call at any moment, and some menus close with the first sign of it: begins to read what is open for
  /// the next read(). Returns at once.
  void expect(Clock::duration limit);
  /// Reads what is open now in place of what was read before, or waits for what was expected a moment ago. Returns once
  /// that is over, at the limit at the latest: nothing that hangs holds up whoever closes the menus. True when menus
  /// are open that have no windows of their own.
  bool read(Clock::duration limit, Keyboard keyboard);
  /// Whether read() has found any.
  bool hasRead();
  /// Whether there are any now, as far as that can be read within the limit. What read() has read stays.
  bool areThere(Clock::duration limit, Keyboard keyboard);
  /// Those of the process. Waits for a reading that is under way.
  Told of(int32_t pid);
  void forget();

 private:
  struct Reading {
    TimePoint started;
    std::shared_ptr<Completion> done;
    Told told;
  };
  std::shared_ptr<Reading> start(TimePoint deadline, Keyboard keyboard);
  /// Of the expected reading, if that is not too old.
  std::shared_ptr<Reading> takeExpected();
  bool hasCommands(const Reading& reading);

  Queues& queues_;
  const Reader reader_;
  std::mutex mutex_;  ///< leaf
  std::shared_ptr<Reading> latest_;
  std::shared_ptr<Reading> expected_;
  std::shared_ptr<TaskQueue> queue_;  ///< ends first
};

}  // namespace jumplark::menus
