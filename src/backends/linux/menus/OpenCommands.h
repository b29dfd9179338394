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

/// The commands of menus that had to be closed, as they were read just before: they are not there any more when the
/// user gets to choose. Calls may come from any thread.
class OpenCommands {
 public:
  struct Told {
    int32_t pid = -1;
    std::vector<MenuCommand> commands;
  };
  /// Reads what is open now, until the deadline. Called on a thread of its own.
  using Reader = std::function<Told(TimePoint deadline)>;

  /// The queues outlive it.
  OpenCommands(Queues& queues, Reader reader);

  /// Reads what is open now in place of what was read before. Returns once that is over, at the limit at the latest:
  /// nothing that hangs holds up whoever closes the menus.
  void read(Clock::duration limit);
  /// Those of the process. Waits for a reading that is under way.
  std::vector<MenuCommand> of(int32_t pid);
  void forget();

 private:
  struct Reading {
    std::shared_ptr<Completion> done;
    Told told;
  };

  Queues& queues_;
  const Reader reader_;
  std::mutex mutex_;  ///< leaf
  std::shared_ptr<Reading> latest_;
  std::shared_ptr<TaskQueue> queue_;  ///< ends first
};

}  // namespace jumplark::menus
