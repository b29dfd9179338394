#pragma once

#include <memory>

namespace jumplark {

class X11Connection;

/// The menus of X11 programs in a Wayland session, of which few compositors tell. Main thread only.
class XwaylandMenus {
 public:
  /// Whether any show. Asks the X server only, which is there where a window of such a program is; connects to it at
  /// the first question.
  bool doShow();

 private:
  std::shared_ptr<X11Connection> x_;
};

}  // namespace jumplark
