#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "backends/linux/menus/MenuSource.h"
#include "backends/linux/menus/OpenCommands.h"
#include "backends/linux/windows/WindowSystem.h"
#include "platform/Queues.h"

namespace jumplark::menus {

/// The menus of a Linux desktop's applications: what was open, and each window's from the first of several sources that
/// tells any. Which one that was is asked first the next time, for as long as it is the same window.
class LinuxMenus final : public Menus {
 public:
  /// Reading ends after this, with what there is.
  static constexpr auto kLimit = std::chrono::seconds(1);
  static constexpr auto kLongestPerformance = std::chrono::seconds(1);

  /// All outlive this. The sources are in the order in which they are asked. `exact` is one of them that answers at
  /// once and knows what others tell better. `takeKeyboardFromMenus` closes open menus.
  LinuxMenus(Queues& queues, WindowSystem& windows, OpenCommands& open, std::function<void()> takeKeyboardFromMenus,
             MenuSource& exact, std::vector<MenuSource*> sources);

  Token read(int32_t pid, Found found) override;
  MenuOutcome perform(const MenuCommand& command) override;
  void forgetOpen() override { open_.forget(); }
  void closeOpen() override;
  bool isOpenAt(Point place) override;

 private:
  struct Reading;
  void run(int32_t pid, Reading& reading);
  std::optional<WindowFacts> windowOf(int32_t pid);
  void readFrom(const MenuRequest& request, MenuSink& sink);
  /// Waits a moment for the menus to go; none of those that do not.
  std::vector<MenuCommand> closedSince(OpenCommands::Told told);

  Queues& queues_;
  WindowSystem& windows_;
  OpenCommands& open_;
  const std::function<void()> takeKeyboardFromMenus_;
  MenuSource& exact_;
  const std::vector<MenuSource*> sources_;
  // Of the reading queue.
  WindowId lastWindow_;
  MenuSource* lastSource_ = nullptr;  ///< of that window; null when none told any
  std::shared_ptr<TaskQueue> queue_;  ///< ends first
};

}  // namespace jumplark::menus
