#pragma once

#include <xcb/xcb.h>

#include <vector>

#include "backends/linux/x11/X11Connection.h"
#include "platform/Geometry.h"

/// The tree of X windows below the root and the window manager's own account of it.
namespace jumplark::x11 {

/// Asks for the window by which a running window manager identifies itself; must be taken. The root's property stays
/// when a window manager dies, so the named window must carry the same value.
class WindowManagerQuestion {
 public:
  /// With a `guess`, the window that was found last, the answer to a right one takes one round trip instead of two.
  explicit WindowManagerQuestion(const X11Connection& x, xcb_window_t guess = 0);
  /// 0 when no window manager runs.
  xcb_window_t take() const;

 private:
  const X11Connection& x_;
  const xcb_window_t guess_;
  const xcb_get_property_cookie_t claim_;
  const xcb_get_property_cookie_t confirmation_;
};

inline xcb_window_t windowManagerWindow(const X11Connection& x) {
  return WindowManagerQuestion(x).take();
}

/// The children of a window, the topmost first; empty when it has gone.
std::vector<xcb_window_t> childrenTopmostFirst(const X11Connection& x, xcb_window_t window);

/// A child of the root that shows itself.
struct TopLevel {
  xcb_window_t id = 0;
  bool overrideRedirect = false;
  Rect outer;   ///< with its border; pixels of the root, top-left origin
  Point inner;  ///< where the window's own coordinates begin
};
/// The viewable children of the root, the topmost first; without those that can show nothing (InputOnly).
std::vector<TopLevel> viewableTopLevels(const X11Connection& x);

/// The client's window inside a top-level one: the one with WM_STATE, at most three levels down, or the top-level
/// window itself.
xcb_window_t clientInside(const X11Connection& x, xcb_window_t topLevel);

/// The managed windows front to back, from the window manager's list or, without one, from the tree. `windowManager`
/// is a guess before and the answer afterwards, as a WindowManagerQuestion has them.
std::vector<xcb_window_t> managedWindows(const X11Connection& x, xcb_window_t& windowManager);

/// For each window: whether the point lies in both its bounding and its input shape.
std::vector<bool> shapesContain(const X11Connection& x, const std::vector<TopLevel>& windows, Point point);

}  // namespace jumplark::x11
