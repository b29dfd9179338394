#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/Geometry.h"

namespace jumplark {

/// What an X window is for, from _NET_WM_WINDOW_TYPE; a window without one is normal, or a dialog when it is transient.
enum class WindowType { normal, dialog, utility, toolbar, menu, popup, dock, desktop, splash, notification, other };

/// Space that a toolkit draws around its content inside its own X window (shadows), in pixels.
struct FrameExtents {
  double left = 0;
  double right = 0;
  double top = 0;
  double bottom = 0;
};

/// One top-level window as the X server and the window manager know it. Rectangles are in pixels of the root window,
/// with a top-left origin.
struct WindowFacts {
  uint32_t id = 0;
  int32_t pid = -1;              ///< _NET_WM_PID, else what X-Resource says of the client; -1 when neither tells
  int32_t resourcePid = -1;      ///< the process that holds the connection; differs from `pid` in a sandbox
  std::string title;             ///< _NET_WM_NAME, else WM_NAME; UTF-8
  std::string instanceName;      ///< first part of WM_CLASS
  std::string className;         ///< second part of WM_CLASS
  std::string applicationId;     ///< _GTK_APPLICATION_ID; may be empty
  Rect client;                   ///< the client's own window
  Rect frame;                    ///< with the window manager's decorations
  FrameExtents gtkFrameExtents;  ///< _GTK_FRAME_EXTENTS; all zero without the property
  bool hasGtkFrameExtents = false;
  WindowType type = WindowType::normal;
  uint32_t transientFor = 0;  ///< WM_TRANSIENT_FOR; 0 without
  bool modal = false;         ///< _NET_WM_STATE_MODAL
  bool hidden = false;        ///< _NET_WM_STATE_HIDDEN, or not viewable
  bool overrideRedirect = false;
};

/// The X server's knowledge of windows. Every call asks the X server only, never an application, and may come from any
/// thread. Windows that vanish meanwhile are left out.
class WindowSystem {
 public:
  virtual ~WindowSystem() = default;

  /// The managed windows of all applications, front to back (the client list in stacking order, reversed), docks and
  /// desktops included.
  virtual std::vector<WindowFacts> windowsFrontToBack() = 0;
  /// One window; none when it has gone.
  virtual std::optional<WindowFacts> window(uint32_t id) = 0;
  /// The window that _NET_ACTIVE_WINDOW names; 0 when none.
  virtual uint32_t activeWindow() = 0;
  /// The top-level window that shows at a point of the root (unmanaged ones, such as open menus, included), not
  /// counting windows of this process and windows whose input shape lets the point through; none when only the root
  /// shows.
  virtual std::optional<WindowFacts> topmostWindowAt(Point topLeft) = 0;
  /// All viewable override-redirect windows (open menus, tool tips), front to back.
  virtual std::vector<WindowFacts> unmanagedWindows() = 0;
  /// Asks the window manager to activate a window: source 2 (a pager's, so that it is not refused) with the time of the
  /// key event when `force`, else source 1 and nothing if the window is active already. One request an action.
  virtual bool requestActive(uint32_t id, bool force) = 0;
};

}  // namespace jumplark
