#pragma once

#include <xcb/xcb.h>

#include <vector>

#include "backends/linux/x11/X11Connection.h"
#include "platform/Geometry.h"

/// The tree of X windows below the root and the window manager's own account of it.
namespace jumplark::x11 {

/// The window by which a running window manager identifies itself; 0 when none runs. The root's property stays when a
/// window manager dies, so the named window must carry the same value.
xcb_window_t windowManagerWindow(const X11Connection& x);

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

/// The managed windows front to back, from the window manager's list or, without one, from the tree.
std::vector<xcb_window_t> managedWindows(const X11Connection& x);

/// For each window: whether the point lies in both its bounding and its input shape.
std::vector<bool> shapesContain(const X11Connection& x, const std::vector<TopLevel>& windows, Point point);

}  // namespace jumplark::x11
