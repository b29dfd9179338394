#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include "backends/recorded/RecordedDesktop.h"
#include "platform/Menus.h"
#include "platform/Queues.h"

namespace jumplark {

/// The commands of menus of a recording. Choosing one is noted, and turns a mark on or over. Safe on any thread.
class RecordedMenus : public Menus {
 public:
  RecordedMenus(const RecordedDesktop& desktop, Queues& queues);

  /// All at once, on a queue of its own.
  Token read(int32_t pid, Found found) override;
  MenuOutcome perform(const MenuCommand& command) override;

  /// For tests: the application's commands from now on; those that were told before have gone.
  void setCommands(int32_t pid, std::vector<MenuCommand> commands);
  /// For tests: what perform() answers from now on for what could be carried out.
  void setOutcome(MenuOutcome outcome);
  /// The paths of the commands that were carried out, in order.
  std::vector<std::vector<std::string>> performed() const;

 private:
  struct Handle;
  MenuCommand* find(const Handle& handle);

  Queues& queues_;
  mutable std::mutex mutex_;
  std::map<int32_t, std::vector<MenuCommand>> commands_;  ///< by process
  MenuOutcome outcome_ = MenuOutcome::done;
  std::vector<std::vector<std::string>> performed_;
  std::shared_ptr<TaskQueue> queue_;  ///< ends first
};

}  // namespace jumplark
