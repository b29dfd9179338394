#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/Geometry.h"

/// Windows as a backend sees them, whatever system draws them. All places are points of one space that holds all
/// screens, with a top-left origin.
namespace jumplark {

/// A window system's own name for one of its windows: a number with most, a UUID with others, and as wide as those. The
/// empty one names no window.
struct WindowId {
  uint64_t low = 0;
  uint64_t high = 0;

  constexpr WindowId() = default;
  constexpr WindowId(uint64_t number, uint64_t upper = 0)  // NOLINT(google-explicit-constructor)
      : low(number), high(upper) {}
  constexpr explicit operator bool() const { return low != 0 || high != 0; }
  friend constexpr bool operator==(const WindowId&, const WindowId&) = default;
};

/// What a window is for. One that does not say is normal, or a dialog when it belongs to another.
enum class WindowType {
  normal,
  dialog,
  utility,
  toolbar,
  menu,
  popup,
  toolTip,
  dock,
  desktop,
  splash,
  notification,
  other
};

/// What lies along the four edges of a rectangle.
struct Insets {
  double left = 0;
  double right = 0;
  double top = 0;
  double bottom = 0;
};

/// One top-level window.
struct WindowFacts {
  WindowId id;
  int32_t pid = -1;            ///< what the window says of its process, else who is connected; -1 when neither is known
  int32_t connectionPid = -1;  ///< the process that holds the connection; differs from `pid` in a sandbox
  std::string title;           ///< UTF-8
  std::string instanceName;
  std::string className;
  std::string applicationId;  ///< may be empty
  Rect surface;               ///< what the application itself draws on, with decorations and shadow of its own
  Rect frame;                 ///< the surface and the decorations that the window system adds
  Insets shadow;              ///< of the surface: what the application draws around the window that a person sees
  bool tellsShadow = false;   ///< false: the shadow is unknown, and all zero here
  /// True where elements tell their places on the screen. Else the application does not know where its window is, and
  /// they count from that.
  bool knowsItsPlace = true;
  /// Points in a unit that its elements count in, as far as the window system knows: less than one where that scales
  /// the pictures of other programs alone.
  double unit = 1;
  WindowType type = WindowType::normal;
  WindowId transientFor;  ///< the window that a dialog belongs to; empty without
  bool modal = false;
  bool hidden = false;   ///< minimised, or not shown at all
  bool isPopup = false;  ///< an open menu, a tool tip: no window that a person moves or closes

  Rect withoutShadow() const {
    return {surface.x + shadow.left, surface.y + shadow.top, std::max(0.0, surface.width - shadow.left - shadow.right),
            std::max(0.0, surface.height - shadow.top - shadow.bottom)};
  }
  /// What a person sees as the window: with all decorations, without shadows.
  Rect visible() const { return tellsShadow ? withoutShadow() : frame; }
};

/// What the buttons of a title bar are for.
enum class WindowWish { close, minimise, maximise, restore };

/// A button of a title bar, where it is drawn or, as far as that is not known, would be.
struct WindowButton {
  WindowWish wish = WindowWish::close;
  Rect place;
};

/// What the window system knows of windows. Every call asks the window system only, never an application, and may come
/// from any thread. Windows that vanish meanwhile are left out.
class WindowSystem {
 public:
  virtual ~WindowSystem() = default;

  /// The windows of all applications but their pop-ups, front to back as far as that is known; docks and desktops
  /// included.
  virtual std::vector<WindowFacts> windowsFrontToBack() = 0;
  /// The same as it was found a moment ago, where looking takes time; empty elsewhere, and when nobody has looked
  /// since.
  virtual std::vector<WindowFacts> windowsLately() const { return {}; }
  /// The open menus, tool tips and other pop-ups that show, front to back.
  virtual std::vector<WindowFacts> popupsFrontToBack() = 0;
  /// One window; none when it has gone.
  virtual std::optional<WindowFacts> window(WindowId id) = 0;
  /// The window that has the keyboard; empty when none.
  virtual WindowId activeWindow() = 0;
  /// The window that shows at a point, pop-ups included, not counting windows of this process and windows that let the
  /// pointer through; none when nothing but the background shows.
  virtual std::optional<WindowFacts> topmostWindowAt(Point topLeft) = 0;
  /// Why no windows are told of at the moment, one sentence; empty where there are none.
  virtual std::string whyNoneAreTold() { return {}; }
  /// True when the window belongs to this process.
  virtual bool isOwn(const WindowFacts& facts) const = 0;
  /// Asks for a window to be activated: when `force`, so that it is not refused, as the user's wish at the time of the
  /// key event; else as the application's own, and nothing if the window is active already. One request an action.
  virtual bool requestActive(WindowId id, bool force) = 0;
  /// One for each wish that the window system takes of the window, as it is now; from left to right.
  virtual std::vector<WindowButton> buttonsOf(const WindowFacts& window) {
    static_cast<void>(window);
    return {};
  }
  /// Asks for a window to be closed, minimised, maximised or restored, as its buttons do. False when the window system
  /// cannot be asked.
  virtual bool request(WindowId id, WindowWish wish) {
    static_cast<void>(id);
    static_cast<void>(wish);
    return false;
  }
};

}  // namespace jumplark
