#pragma once

#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "backends/linux/system/DesktopCheck.h"
#include "backends/linux/wayland/SeatDevices.h"
#include "backends/linux/wayland/surfaces/WaylandOutput.h"
#include "platform/Input.h"
#include "platform/InputSources.h"
#include "platform/Queues.h"
#include "platform/Token.h"

namespace jumplark {

class WaylandConnection;
class WindowSystem;

/// What only the compositor itself can tell or do, each in its own way: one implementation for each. Everything that is
/// a protocol which several offer is used without it.
class Compositor {
 public:
  virtual ~Compositor() = default;

  /// "sway 1.7"
  virtual std::string name() const = 0;
  virtual WindowSystem& windows() = 0;
  /// A menu closes as soon as another window wants the keyboard. Else it keeps the keyboard until it is closed.
  virtual bool endsMenus() const { return false; }
  /// A window of this process of that title never counts as the one that the user works in.
  virtual void passOver(const std::string& title) = 0;
  virtual InputSources& inputSources() = 0;
  /// What bars leave free of an output, in points of the layout.
  virtual Rect workAreaOf(const WaylandOutput& output) = 0;

  enum class Binding { bound, taken, refused };
  /// Has `pressed` called at each press of the combination, on a thread that must not be held up, whatever application
  /// has the keyboard, until `release`. What the user has bound himself is taken. `key` is an X keysym, `modifiers` are
  /// those of Shortcut.
  virtual Binding bind(uint32_t key, uint64_t modifiers, std::function<void()> pressed) = 0;
  virtual void release(uint32_t key, uint64_t modifiers) = 0;
  /// Whether the user has bound the combination himself.
  virtual bool isTaken(uint32_t key, uint64_t modifiers) = 0;
  /// Calls back on any thread when a window of another process than before has got the keyboard.
  virtual Token onActiveApplicationChanged(std::function<void(int32_t pid)> callback) = 0;

  /// Devices in a way of its own; null where there is none: then those of the shared protocols are used.
  virtual std::unique_ptr<SeatPointer> makePointer(const std::shared_ptr<WaylandConnection>& connection) {
    static_cast<void>(connection);
    return nullptr;
  }
  virtual std::unique_ptr<SeatKeyboard> makeKeyboard(const std::shared_ptr<WaylandConnection>& connection) {
    static_cast<void>(connection);
    return nullptr;
  }
  /// Closes the menus that are open and waits until they have gone, for a moment at most; nothing where it cannot.
  virtual void closeMenus() {}
  /// Where the pointer is, a point of the layout; none where that is not told.
  virtual std::optional<Point> pointer() { return std::nullopt; }
  /// Has a window of this process, of that title, lie at a place of the layout, above all others and with the keyboard
  /// from its first picture on. To be called before it is made, and for each further place. What is given back becomes
  /// ready when the compositor knows, half a second later at most: not before that the window may have a picture.
  using WindowPlacer = std::function<std::future<void>(const std::string& title, Point topLeft)>;
  /// Empty where the layer shell does that.
  virtual WindowPlacer windowPlacer() { return {}; }
  /// This process is about to become another start of the program: what its death would undo is undone now. Nothing
  /// else is asked afterwards.
  virtual void leave() {}
  /// Whether it tells its windows, where it can end while its socket is held for the next one. May be asked after
  /// leave().
  virtual bool tellsWindows() { return true; }
  /// What it offers in ways of its own, or needs besides. Each stands in place of the general check of that name, if
  /// there is one.
  virtual std::vector<DesktopCheck> checks(const WaylandConnection& connection) {
    static_cast<void>(connection);
    return {};
  }
};

}  // namespace jumplark
