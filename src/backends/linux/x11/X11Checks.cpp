#include "backends/linux/x11/X11Checks.h"

#include <xcb/xcb.h>

#include <algorithm>
#include <cstdlib>

#include "backends/linux/windows/DesktopEntries.h"
#include "backends/linux/windows/WindowWorkspace.h"
#include "backends/linux/x11/KeyboardMap.h"
#include "backends/linux/x11/Properties.h"
#include "backends/linux/x11/Reply.h"
#include "backends/linux/x11/WindowTree.h"
#include "backends/linux/x11/X11Connection.h"
#include "backends/linux/x11/X11WindowSystem.h"
#include "platform/Input.h"
#include "platform/Texts.h"

namespace jumplark {
namespace {

using x11::takeReply;

std::string environment(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "";
}

DesktopCheck checkSession() {
  if (environment("XDG_SESSION_TYPE") != "wayland") {
    return {localized("session"), DesktopCheck::ok, localized("This is not a Wayland session."), {}};
  }
  return {localized("session"), DesktopCheck::warning,
          localized("This is a Wayland session, but WAYLAND_DISPLAY does not say where: only X11 programs can be "
                    "operated."),
          localized("Start Jumplark from the session's own menu or terminal.")};
}

std::string versionText(int version) {
  return std::to_string(version / 100) + "." + std::to_string(version % 100);
}

/// An extension of the X server and what stops working without it.
struct Requirement {
  const char* name;
  int found;   ///< version as in X11Extensions
  int needed;  ///< at least
  DesktopCheck::Level without;
  const char* consequence;
};

DesktopCheck checkExtension(const Requirement& r) {
  const std::string name = localizedFormat("X extension {}", r.name);
  if (r.found >= r.needed) {
    return {name, DesktopCheck::ok, localizedFormat("Version {}.", versionText(r.found)), {}};
  }
  const char* const consequence = localized(r.consequence);
  return {name, r.without,
          r.found == 0 ? localizedFormat("It is missing: {}", consequence)
                       : localizedFormat("It has version {} and not {}: {}", versionText(r.found),
                                         versionText(r.needed), consequence),
          localizedFormat("Use an X server that offers {} {}, such as X.Org 1.17 or later, and make sure that its "
                          "configuration does not disable the extension.",
                          r.name, versionText(r.needed))};
}

void checkExtensions(const X11Connection& x, std::vector<DesktopCheck>& checks) {
  const X11Extensions& e = x.extensions();
  const Requirement requirements[] = {
      {"XTEST", e.xtest, 200, DesktopCheck::failure, textForLater("nothing can be clicked.")},
      {"XInputExtension", e.xinput, 202, DesktopCheck::failure,
       textForLater("taps of Control and a second Return for a double click are not noticed.")},
      {"XKEYBOARD", e.xkb, 100, DesktopCheck::failure, textForLater("keys cannot be told apart.")},
      {"SHAPE", e.shape, 101, DesktopCheck::warning, textForLater("a click may go to a window that lets it through.")},
      {"XFIXES", e.xfixes, 200, DesktopCheck::warning,
       textForLater("transparency that is switched on or off meanwhile is not noticed.")},
      {"RANDR", e.randr, 105, DesktopCheck::warning, textForLater("all monitors count as one screen.")},
      {"X-Resource", e.xresource, 102, DesktopCheck::warning,
       textForLater("some windows cannot be told to be of their program.")},
  };
  for (const Requirement& requirement : requirements) {
    checks.push_back(checkExtension(requirement));
  }
}

DesktopCheck checkKeyboard(const X11Connection& x) {
  const auto map = KeyboardMap::read(x);
  if (map && !map->keycodesFor(key_code::returnKey).empty()) {
    return {localized("keyboard"), DesktopCheck::ok, localized("The keyboard layout can be read."), {}};
  }
  return {localized("keyboard"), DesktopCheck::failure,
          map ? localized("The keyboard layout has no Return key.") : localized("The keyboard layout cannot be read."),
          localized("Set a keyboard layout, for example with: setxkbmap us")};
}

DesktopCheck checkWindowManager(const X11Connection& x) {
  const xcb_window_t window = x11::windowManagerWindow(x);
  if (window == 0) {
    return {
        localized("window manager"), DesktopCheck::failure,
        localized("There is none that follows the EWMH standard, so windows cannot be brought to the front reliably."),
        localized("Start a window manager such as xfwm4, openbox, kwin_x11 or mutter.")};
  }
  const std::string name = x11::takeText(x, x11::askProperty(x, window, x.atom(Atom::netWmName)));
  return {localized("window manager"),
          DesktopCheck::ok,
          name.empty() ? localized("One that does not tell its name runs.") : localizedFormat("{} runs.", name),
          {}};
}

bool hasOwner(const X11Connection& x, Atom selection) {
  const auto owner =
      takeReply(x.get(), xcb_get_selection_owner_reply, xcb_get_selection_owner(x.get(), x.atom(selection)));
  return owner && owner->owner != XCB_WINDOW_NONE;
}

DesktopCheck checkCompositor(const X11Connection& x) {
  if (hasOwner(x, Atom::netWmCompositor)) {
    return {localized("transparency"), DesktopCheck::ok, localized("The desktop can draw translucent boxes."), {}};
  }
  return {localized("transparency"), DesktopCheck::warning,
          localized("The desktop draws nothing translucent: what is behind the boxes over an application stands still "
                    "as long as they show."),
          localized("Switch on compositing in the window manager's settings, or start a compositor such as picom.")};
}

DesktopCheck checkPanel(X11WindowSystem& windows) {
  DesktopEntries entries;
  WindowWorkspace workspace(windows, entries);
  const auto docks = workspace.runningApplicationsWithBundleIdentifier(kDockBundleIdentifier);
  if (!docks.empty()) {
    return {localized("panel"),
            DesktopCheck::ok,
            localizedFormat("{} (process {}) can be operated too.", docks.front().name, docks.front().pid),
            {}};
  }
  return {localized("panel"), DesktopCheck::warning, localized("No panel was found, so only windows can be operated."),
          localized("Start your desktop's panel, for example xfce4-panel, if you want to operate it.")};
}

DesktopCheck checkTray(const X11Connection& x) {
  if (hasOwner(x, Atom::netSystemTray)) {
    return {localized("icon"),
            DesktopCheck::ok,
            localized("The desktop has a place for icons."),
            {},
            DesktopCheck::Subject::icon};
  }
  return {
      localized("icon"), DesktopCheck::warning,
      localized("The desktop has no place for icons, so Jumplark shows none."),
      localized("Add a status tray to the panel (on GNOME, the AppIndicator extension), or do without the icon: the "
                "shortcut and 'jumplark preferences' work without it."),
      DesktopCheck::Subject::icon};
}

}  // namespace

std::vector<DesktopCheck> x11Checks(const std::string& display) {
  std::vector<DesktopCheck> checks = {checkSession()};
  const auto opened = X11Connection::open(display);
  if (!opened.connection) {
    // The explanation ends with what to do.
    const size_t sentence = std::min(opened.error.find(". ") + 1, opened.error.size());
    checks.push_back({localized("X display"), DesktopCheck::failure, opened.error.substr(0, sentence),
                      opened.error.substr(std::min(sentence + 1, opened.error.size()))});
    return checks;
  }
  const X11Connection& x = *opened.connection;
  checks.push_back(
      {localized("X display"), DesktopCheck::ok, localizedFormat("{} can be reached.", x.displayName()), {}});
  checkExtensions(x, checks);
  checks.push_back(checkKeyboard(x));
  X11WindowSystem windows(opened.connection);
  checks.push_back(checkWindowManager(x));
  checks.push_back(checkCompositor(x));
  checks.push_back(checkPanel(windows));
  checks.push_back(checkTray(x));
  return checks;
}

}  // namespace jumplark
