#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/Geometry.h"
#include "platform/Token.h"

namespace jumplark {

/// By which a platform knows a command again that it has told of.
class MenuCommandHandle {
 public:
  virtual ~MenuCommandHandle() = default;
};

/// One command of an application's menus, as a person would read it there.
struct MenuCommand {
  enum class Mark { none, check, radio };

  /// Titles from the outermost menu down to the command's own, which is the last; UTF-8 without control characters and
  /// without marks of mnemonics. Never empty.
  std::vector<std::string> path;
  std::string keys;  ///< its own shortcut, as GlobalShortcuts::describe() writes it; empty without one
  Mark mark = Mark::none;
  bool isOn = false;  ///< of one with a mark
  bool isEnabled = true;
  bool isOpen = false;  ///< its menu was open on the screen when the user called, or when it was read
  std::shared_ptr<const MenuCommandHandle> handle;
};

/// What came of carrying out a command.
enum class MenuOutcome {
  done,      ///< carried out, or begun: one that opens a dialog may answer only when that closes
  disabled,  ///< it cannot be chosen now
  gone,      ///< the application has no such command any more
  failed,    ///< the application refuses or does not answer
};

/// The commands of applications' menus, also of those that are closed. Reading opens nothing on the screen. Calls may
/// come from any thread.
class Menus {
 public:
  /// More of an application's commands, in the order of its menus as far as it has told them; `isLast` once there are
  /// no more to come, which happens in bounded time. Called on a background thread, never two calls at once.
  using Found = std::function<void(std::vector<MenuCommand> commands, bool isLast)>;
  /// A list longer than this is cut off.
  static constexpr size_t kMostCommands = 5000;

  virtual ~Menus() = default;

  /// Reads the commands of the window of the process that has, or had last, the keyboard. Returns at once; what the
  /// application told of before comes first, if it is still true.
  virtual Token read(int32_t pid, Found found) = 0;
  /// Does what choosing the command in its menu does. Waits for the application, for a second at most.
  virtual MenuOutcome perform(const MenuCommand& command) = 0;
  /// What was told of menus that had to be closed when the user called is told no more. It can still be performed.
  virtual void forgetOpen() {}

  /// Closes the open menus of whatever application that have windows of their own and the keyboard, and take a click
  /// elsewhere for nothing else than to be closed. Waits for them, for two seconds at most.
  virtual void closeOpen() {}
  /// An open menu or list lies at this point (top-left origin) over everything else.
  virtual bool isOpenAt(Point place) {
    static_cast<void>(place);
    return false;
  }
};

}  // namespace jumplark
