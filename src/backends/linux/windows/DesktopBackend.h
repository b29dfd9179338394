#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "platform/Geometry.h"
#include "platform/Queues.h"
#include "platform/Token.h"

namespace jumplark {

class DesktopInput;
class GlobalShortcuts;
class InputSources;
class Screens;
class WindowMenus;
class WindowSystem;
class Workspace;

/// What is told of menus that are open around a press of a shortcut. On any thread; each may be empty.
struct MenuHooks {
  /// A shortcut may be pressed at any moment while pop-ups show. Must not wait.
  std::function<void()> shortcutMayCome;
  /// Menus are about to close, by Escape where they have the keyboard, and what is open stays so meanwhile. May take
  /// as long as menuPatience(). True when menus are open that have no windows of their own.
  std::function<bool(bool hasKeyboard)> menuWillClose;
  /// Whether menuWillClose has found anything to choose. Must not wait.
  std::function<bool()> isMenuTold;
  /// Whether there is anything to choose in menus that are open now. May take as long as menuWillClose.
  std::function<bool(bool hasKeyboard)> isMenuOpen;
  /// A press has come to nothing, since another program keeps the keyboard. Must not wait.
  std::function<void()> keyboardIsKept;
};

/// What a window system gives: one object for each thing that is asked of it, which live as long as this. Made from the
/// session's environment by whoever puts the program together; nothing else asks which window system it is.
class DesktopBackend {
 public:
  virtual ~DesktopBackend() = default;

  virtual WindowSystem& windows() = 0;
  virtual Screens& screens() = 0;
  virtual Workspace& workspace() = 0;
  virtual DesktopInput& input() = 0;
  virtual WindowMenus& windowMenus() = 0;

  // Of the program in the background only; made at the first need, on the main thread.

  virtual InputSources& inputSources() = 0;
  virtual GlobalShortcuts& shortcuts() = 0;
  /// To be set before the first shortcut is registered.
  virtual void setMenuHooks(MenuHooks hooks) = 0;
  /// For so long a press of the shortcut may wait with taking the keyboard from an open menu.
  virtual std::chrono::milliseconds menuPatience() const { return std::chrono::milliseconds(150); }
  /// Calls back on the main queue when a window of another application than before has become the active one. Windows
  /// of this process do not count. Empty when that cannot be watched.
  virtual Token onActiveApplicationChanged(std::function<void(int32_t pid)> callback) = 0;
  /// Calls back on the main queue at each press of a mouse button anywhere, with the place of the pointer, top-left
  /// origin. Empty when that cannot be watched.
  virtual Token onButtonPress(std::function<void(Point position)> callback) = 0;

  /// A line for crash reports: "X server: The X.Org Foundation, release 12101007".
  virtual std::string description() const = 0;
};

}  // namespace jumplark
