#pragma once

#include <string>

#include "backends/linux/windows/WindowSystem.h"

namespace jumplark {

/// Where the menus of a window are told on the session bus, as far as its window says; what it does not say is empty.
struct WindowMenuAddresses {
  // org.gtk.Menus and org.gtk.Actions; the paths are objects of one connection.
  std::string gtkBusName;
  std::string gtkMenuBarPath;
  std::string gtkApplicationMenuPath;
  std::string gtkApplicationPath;  ///< the actions "app."
  std::string gtkWindowPath;       ///< the actions "win."
  // com.canonical.dbusmenu
  std::string menuService;
  std::string menuPath;
};

/// Tells of windows where their menus are told. Asks the window system only. Calls may come from any thread.
class WindowMenus {
 public:
  virtual ~WindowMenus() = default;
  /// Nothing of a window that has gone.
  virtual WindowMenuAddresses menusOf(WindowId window) = 0;
};

}  // namespace jumplark
