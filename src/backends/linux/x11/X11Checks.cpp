#include "backends/linux/x11/X11Checks.h"

#include <xcb/xcb.h>

#include <cstdlib>

#include "backends/linux/x11/DesktopEntries.h"
#include "backends/linux/x11/KeyboardMap.h"
#include "backends/linux/x11/Properties.h"
#include "backends/linux/x11/Reply.h"
#include "backends/linux/x11/WindowTree.h"
#include "backends/linux/x11/X11Connection.h"
#include "backends/linux/x11/X11WindowSystem.h"
#include "backends/linux/x11/X11Workspace.h"
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
  const bool wayland = !environment("WAYLAND_DISPLAY").empty() || environment("XDG_SESSION_TYPE") == "wayland";
  if (!wayland) {
    return {textForLater("session"), DesktopCheck::ok, textForLater("This is not a Wayland session."), {}};
  }
  return {textForLater("session"), DesktopCheck::warning,
          textForLater("This is a Wayland session, where only X11 windows can be reached."),
          textForLater("Log out and choose a session on X11 (Xorg) at the log-in screen.")};
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
  const std::string name = std::string("extension ") + r.name;
  if (r.found >= r.needed) {
    return {name, DesktopCheck::ok, "Version " + versionText(r.found) + ".", {}};
  }
  const std::string finding =
      r.found == 0 ? "Missing" : "Version " + versionText(r.found) + " instead of " + versionText(r.needed);
  return {name, r.without, finding + ": " + r.consequence,
          std::string("Use an X server that offers ") + r.name + " " + versionText(r.needed) +
              ", such as X.Org 1.17 or later, and make sure that its configuration does not disable the extension."};
}

void checkExtensions(const X11Connection& x, std::vector<DesktopCheck>& checks) {
  const X11Extensions& e = x.extensions();
  const Requirement requirements[] = {
      {"XTEST", e.xtest, 200, DesktopCheck::failure, "elements cannot be clicked."},
      {"XInputExtension", e.xinput, 202, DesktopCheck::failure,
       "taps of a modifier key and a second Return for a double click are not seen."},
      {"XKEYBOARD", e.xkb, 100, DesktopCheck::failure, "keys cannot be told apart."},
      {"SHAPE", e.shape, 101, DesktopCheck::warning, "clicks may be aimed at windows that let them through."},
      {"XFIXES", e.xfixes, 200, DesktopCheck::warning, "the coming and going of a compositor is not noticed."},
      {"RANDR", e.randr, 105, DesktopCheck::warning, "all monitors count as one screen."},
      {"X-Resource", e.xresource, 102, DesktopCheck::warning,
       "windows that do not name their process cannot be assigned to an application."},
  };
  for (const Requirement& requirement : requirements) {
    checks.push_back(checkExtension(requirement));
  }
}

DesktopCheck checkKeyboard(const X11Connection& x) {
  const auto map = KeyboardMap::read(x);
  if (map && !map->keycodesFor(key_code::returnKey).empty()) {
    return {textForLater("keyboard"), DesktopCheck::ok, textForLater("The keyboard map can be read."), {}};
  }
  return {textForLater("keyboard"), DesktopCheck::failure,
          map ? textForLater("The keyboard map has no Return key.") : textForLater("The keyboard map cannot be read."),
          textForLater("Set a keyboard layout, for example with: setxkbmap us")};
}

DesktopCheck checkWindowManager(const X11Connection& x) {
  const xcb_window_t window = x11::windowManagerWindow(x);
  if (window == 0) {
    return {
        textForLater("window manager"), DesktopCheck::failure,
        textForLater("No running window manager follows the EWMH standard, so windows cannot be activated reliably."),
        textForLater("Start a window manager such as xfwm4, openbox, kwin_x11 or mutter.")};
  }
  const std::string name = x11::takeText(x, x11::askProperty(x, window, x.atom(Atom::netWmName)));
  return {textForLater("window manager"),
          DesktopCheck::ok,
          name.empty() ? textForLater("One that does not tell its name.") : name + ".",
          {}};
}

bool hasOwner(const X11Connection& x, Atom selection) {
  const auto owner =
      takeReply(x.get(), xcb_get_selection_owner_reply, xcb_get_selection_owner(x.get(), x.atom(selection)));
  return owner && owner->owner != XCB_WINDOW_NONE;
}

DesktopCheck checkCompositor(const X11Connection& x) {
  if (hasOwner(x, Atom::netWmCompositor)) {
    return {textForLater("compositor"), DesktopCheck::ok, textForLater("Running."), {}};
  }
  return {textForLater("compositor"), DesktopCheck::warning,
          textForLater("None: highlights are drawn without translucency."),
          textForLater("Switch on compositing in the window manager's settings, or start a compositor such as picom.")};
}

DesktopCheck checkPanel(X11WindowSystem& windows) {
  DesktopEntries entries;
  X11Workspace workspace(windows, entries);
  const auto docks = workspace.runningApplicationsWithBundleIdentifier(kDockBundleIdentifier);
  if (!docks.empty()) {
    return {textForLater("panel"),
            DesktopCheck::ok,
            docks.front().name + " (process " + std::to_string(docks.front().pid) + ").",
            {}};
  }
  return {textForLater("panel"), DesktopCheck::warning,
          textForLater("None: there are no panel elements to choose from."),
          textForLater("Start your desktop's panel, for example xfce4-panel, if you want to operate it.")};
}

DesktopCheck checkTray(const X11Connection& x) {
  if (hasOwner(x, Atom::netSystemTray)) {
    return {textForLater("tray"), DesktopCheck::ok, textForLater("An XEmbed tray is there."), {}};
  }
  return {textForLater("tray"), DesktopCheck::warning,
          textForLater("No XEmbed tray: the icon shows only where a StatusNotifier host runs."),
          textForLater("Add a notification area (status tray) to your panel if the icon is missing.")};
}

}  // namespace

std::vector<DesktopCheck> x11Checks(const std::string& display) {
  std::vector<DesktopCheck> checks = {checkSession()};
  const auto opened = X11Connection::open(display);
  if (!opened.connection) {
    // The explanation ends with what to do.
    const size_t sentence = opened.error.find(". ");
    checks.push_back({textForLater("X display"), DesktopCheck::failure, opened.error.substr(0, sentence + 1),
                      opened.error.substr(sentence + 2)});
    return checks;
  }
  const X11Connection& x = *opened.connection;
  checks.push_back({textForLater("X display"), DesktopCheck::ok, x.displayName() + " can be reached.", {}});
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
