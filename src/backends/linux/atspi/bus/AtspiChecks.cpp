#include "backends/linux/atspi/bus/AtspiChecks.h"

#include <fmt/format.h>

#include <cstdint>
#include <cstring>
#include <optional>
#include <string>

#include "backends/linux/atspi/bus/SdBus.h"
#include "platform/Texts.h"

namespace jumplark::atspi {

namespace {

using Level = DesktopCheck::Level;
constexpr uint64_t kPatienceMicroseconds = 2'000'000;

std::string reason(int negativeErrno) {
  return std::strerror(-negativeErrno);
}

/// Empty when the service does not answer; `error` then says why.
std::string accessibilityAddress(sd_bus* session, std::string& error) {
  sd_bus_error failure = SD_BUS_ERROR_NULL;
  sd_bus_message* raw = nullptr;
  std::string address;
  const int called =
      sd_bus_call_method(session, "org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus", "GetAddress", &failure, &raw, "");
  const MessagePointer reply(raw);
  const char* text = nullptr;
  if (called >= 0 && sd_bus_message_read(reply.get(), "s", &text) >= 0) {
    address = text;
  } else {
    error = failure.message != nullptr ? failure.message : reason(called < 0 ? called : -EBADMSG);
  }
  sd_bus_error_free(&failure);
  return address;
}

std::optional<bool> isEnabled(sd_bus* session) {
  int enabled = 0;
  const int got = sd_bus_get_property_trivial(session, "org.a11y.Bus", "/org/a11y/bus", "org.a11y.Status", "IsEnabled",
                                              nullptr, 'b', &enabled);
  return got < 0 ? std::nullopt : std::optional(enabled != 0);
}

bool hasOwner(sd_bus* session, const char* name) {
  sd_bus_message* raw = nullptr;
  const int called = sd_bus_call_method(session, "org.freedesktop.DBus", "/org/freedesktop/DBus",
                                        "org.freedesktop.DBus", "NameHasOwner", nullptr, &raw, "s", name);
  const MessagePointer reply(raw);
  int owned = 0;
  return called >= 0 && sd_bus_message_read(reply.get(), "b", &owned) >= 0 && owned != 0;
}

/// 0, or a negative errno.
int connectTo(const std::string& address) {
  sd_bus* raw = nullptr;
  int result = sd_bus_new(&raw);
  const BusPointer bus(raw);
  if (result >= 0) {
    result = sd_bus_set_address(bus.get(), address.c_str());
  }
  if (result >= 0) {
    result = sd_bus_set_bus_client(bus.get(), 1);
  }
  if (result >= 0) {
    result = sd_bus_start(bus.get());
  }
  if (result >= 0) {
    const char* name = nullptr;
    result = sd_bus_get_unique_name(bus.get(), &name);  // waits until the bus has greeted
  }
  return result < 0 ? result : 0;
}

DesktopCheck busCheck(sd_bus* session) {
  std::string error;
  const std::string address = accessibilityAddress(session, error);
  if (address.empty()) {
    return {textForLater("accessibility bus"), Level::failure,
            fmt::format("The session has no accessibility bus ({}), so no application can be read.", error),
            textForLater("Install the package at-spi2-core, then log out and in again.")};
  }
  if (const int result = connectTo(address); result < 0) {
    return {textForLater("accessibility bus"), Level::failure,
            fmt::format("The accessibility bus at {} does not let this program in ({}).", address, reason(result)),
            textForLater("Run this program as the user of the session, then log out and in again if it persists.")};
  }
  return {textForLater("accessibility bus"), Level::ok, textForLater("The accessibility bus answers."), ""};
}

DesktopCheck switchCheck(sd_bus* session) {
  const auto enabled = isEnabled(session);
  if (enabled && *enabled) {
    return {kSwitchCheck, Level::ok, textForLater("Accessibility is switched on."), ""};
  }
  const char* const remedy = textForLater(
      "Start this program with the session, or run: busctl --user set-property org.a11y.Bus /org/a11y/bus "
      "org.a11y.Status IsEnabled b true. Then start again the applications that stay empty.");
  if (!enabled) {
    return {kSwitchCheck, Level::failure, textForLater("It cannot be told whether accessibility is switched on."),
            remedy};
  }
  return {kSwitchCheck, Level::warning,
          textForLater("Accessibility is switched off; applications that start meanwhile may offer nothing to find."),
          remedy};
}

DesktopCheck trayCheck(sd_bus* session) {
  if (hasOwner(session, "org.kde.StatusNotifierWatcher")) {
    return {textForLater("tray"), Level::ok, textForLater("The desktop has a tray for status icons."), ""};
  }
  return {textForLater("tray"), Level::warning,
          textForLater("The desktop has no tray for status icons; an older kind of tray is tried."),
          textForLater("Add a status tray to the panel (on GNOME, the AppIndicator extension), or do without the icon: "
                       "the shortcut and 'jumplark preferences' work without it.")};
}

}  // namespace

std::vector<DesktopCheck> atspiChecks() {
  sd_bus* raw = nullptr;
  const int opened = sd_bus_open_user(&raw);
  const BusPointer session(raw);
  if (opened < 0) {
    const std::string unreachable = textForLater("It cannot be asked without a session bus.");
    const std::string remedy = textForLater("Mend the session bus first.");
    return {
        {textForLater("session bus"), Level::failure,
         fmt::format("The session bus cannot be reached ({}).", reason(opened)),
         textForLater("Start this program from within the desktop session, where DBUS_SESSION_BUS_ADDRESS is set.")},
        {textForLater("accessibility bus"), Level::failure, unreachable, remedy},
        {kSwitchCheck, Level::failure, unreachable, remedy},
        {textForLater("tray"), Level::warning, unreachable, remedy}};
  }
  sd_bus_set_method_call_timeout(session.get(), kPatienceMicroseconds);
  return {{textForLater("session bus"), Level::ok, textForLater("The session bus answers."), ""},
          busCheck(session.get()),
          switchCheck(session.get()),
          trayCheck(session.get())};
}

}  // namespace jumplark::atspi
