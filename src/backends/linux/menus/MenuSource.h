#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "backends/linux/windows/WindowSystem.h"
#include "platform/Menus.h"

namespace jumplark::menus {

using Clock = std::chrono::steady_clock;
using TimePoint = Clock::time_point;

/// Deeper menus are left out.
inline constexpr int kDeepest = 8;
/// A command that is under way for so long without an answer has been carried out, and shows a dialog.
inline constexpr auto kMoment = std::chrono::milliseconds(300);

/// Whose commands are wanted, and until when.
struct MenuRequest {
  int32_t pid = -1;
  WindowFacts window;
  TimePoint deadline;
};

/// Takes commands while they are read, in the order of the menus, and passes them on in batches. One thread.
class MenuSink {
 public:
  /// `deliver` gets each batch but the last one, `isWanted` says whether anybody still waits for them.
  using Deliver = std::function<void(std::vector<MenuCommand> commands)>;
  MenuSink(Deliver deliver, std::function<bool()> isWanted)
      : deliver_(std::move(deliver)), isWanted_(std::move(isWanted)) {}

  bool isFull() const { return count_ >= Menus::kMostCommands; }
  /// False once no more are taken.
  bool isOpen() const { return !isFull() && isWanted_(); }
  /// What is too much is dropped, and what tellOpen() has told already.
  void add(MenuCommand command);
  /// Commands of which more is known than others tell: whoever tells one of them, by the same titles, has its mark and
  /// its state from here, and is carried out so.
  void knowBetter(std::vector<MenuCommand> commands);
  /// Adds commands of menus that were open, and passes them on. What is told by the same titles from then on is
  /// dropped.
  void tellOpen(std::vector<MenuCommand> commands);
  /// Passes on what was added since.
  void flush() {
    if (!kept_.empty()) {
      deliver_(std::exchange(kept_, {}));
    }
  }
  /// What was not passed on yet.
  std::vector<MenuCommand> rest() { return std::exchange(kept_, {}); }
  size_t count() const { return count_; }

 private:
  Deliver deliver_;
  std::function<bool()> isWanted_;
  std::vector<MenuCommand> kept_;
  std::set<std::vector<std::string>> toldOpen_;  ///< paths
  std::map<std::vector<std::string>, MenuCommand> better_;
  std::set<std::vector<std::string>> menus_;  ///< paths of what holds those
  size_t count_ = 0;
};

/// One way in which applications tell of their menus. Calls may come from any thread; only one reads at a time.
class MenuSource {
 public:
  virtual ~MenuSource() = default;
  /// Reads the window's commands, until the deadline or until the sink takes no more. Without any the window's menus
  /// are told in another way, or not at all.
  virtual void read(const MenuRequest& request, MenuSink& sink) = 0;
  /// None when the command was not told by this source.
  virtual std::optional<MenuOutcome> perform(const MenuCommand& command, TimePoint deadline) = 0;
};

}  // namespace jumplark::menus
