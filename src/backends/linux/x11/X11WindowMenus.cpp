#include "backends/linux/x11/X11WindowMenus.h"

#include <array>

#include "backends/linux/x11/Properties.h"

namespace jumplark {

WindowMenuAddresses X11WindowMenus::menusOf(WindowId window) {
  WindowMenuAddresses addresses;
  const std::pair<Atom, std::string*> wanted[] = {
      {Atom::gtkUniqueBusName, &addresses.gtkBusName},
      {Atom::gtkMenubarObjectPath, &addresses.gtkMenuBarPath},
      {Atom::gtkAppMenuObjectPath, &addresses.gtkApplicationMenuPath},
      {Atom::gtkApplicationObjectPath, &addresses.gtkApplicationPath},
      {Atom::gtkWindowObjectPath, &addresses.gtkWindowPath},
      {Atom::kdeAppmenuServiceName, &addresses.menuService},
      {Atom::kdeAppmenuObjectPath, &addresses.menuPath},
  };
  std::array<xcb_get_property_cookie_t, std::size(wanted)> asked{};
  for (size_t i = 0; i < asked.size(); ++i) {
    asked[i] = x11::askProperty(*x_, static_cast<xcb_window_t>(window.low), x_->atom(wanted[i].first));
  }
  for (size_t i = 0; i < asked.size(); ++i) {
    *wanted[i].second = x11::takeText(*x_, asked[i]);
  }
  return addresses;
}

}  // namespace jumplark
