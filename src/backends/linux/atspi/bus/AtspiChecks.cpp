#include "backends/linux/atspi/bus/AtspiChecks.h"

#include <fmt/format.h>

#include <cstdint>
#include <optional>
#include <string>

#include "backends/linux/atspi/bus/SdBus.h"
#include "platform/SystemErrors.h"
#include "platform/Texts.h"

namespace jumplark::atspi {

namespace {

using Level = DesktopCheck::Level;
using Subject = DesktopCheck::Subject;
constexpr const char* kSwitch = textForLater("accessibility");
constexpr uint64_t kPatienceMicroseconds = 2'000'000;

std::string reason(int negativeErrno) {
  return textOfSystemError(-negativeErrno);
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
    error = reason(called < 0 ? called : -EHOSTUNREACH);  // the bus says it in English
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
  const SessionBusConnection bus(raw);
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
    return {localized("accessibility bus"), Level::failure,
            localizedFormat("The session has no accessibility bus ({}), so no application can be read.", error),
            localized("Install the package at-spi2-core, then log out and in again.")};
  }
  if (const int result = connectTo(address); result < 0) {
    return {localized("accessibility bus"), Level::failure,
            localizedFormat("The accessibility bus does not let Jumplark in ({}).", reason(result)),
            localized("Start Jumplark as the user of the session. If it was, log out and in again.")};
  }
  return {localized("accessibility bus"), Level::ok, localized("The accessibility bus answers."), ""};
}

DesktopCheck switchCheck(sd_bus* session) {
  const auto enabled = isEnabled(session);
  if (enabled && *enabled) {
    return {localized(kSwitch), Level::ok, localized("Accessibility is switched on."), "",
            Subject::accessibilitySwitch};
  }
  const char* const remedy = localized(
      "Start Jumplark with the session, or run: busctl --user set-property org.a11y.Bus /org/a11y/bus org.a11y.Status "
      "IsEnabled b true. Then start again the programs in which nothing is found.");
  if (!enabled) {
    return {localized(kSwitch), Level::failure, localized("It cannot be told whether accessibility is switched on."),
            remedy, Subject::accessibilitySwitch};
  }
  return {localized(kSwitch), Level::warning,
          localized("Accessibility is switched off: in programs that are started meanwhile nothing may be found."),
          remedy, Subject::accessibilitySwitch};
}

DesktopCheck iconCheck(sd_bus* session) {
  if (hasOwner(session, "org.kde.StatusNotifierWatcher")) {
    return {localized("icon"), Level::ok, localized("The desktop has a place for icons."), "", Subject::icon};
  }
  return {localized("icon"), Level::warning, localized("The desktop has no place for icons, so Jumplark shows none."),
          localized("Add a status tray to the panel (on GNOME, the AppIndicator extension), or do without the icon: "
                    "the shortcut and 'jumplark preferences' work without it."),
          Subject::icon};
}

}  // namespace

std::vector<DesktopCheck> atspiChecks() {
  sd_bus* raw = nullptr;
  const int opened = sd_bus_open_user(&raw);
  const SessionBusConnection session(raw);
  if (opened < 0) {
    const std::string unreachable = localized("This cannot be told without a session bus.");
    const std::string remedy = localized("Mend the session bus first.");
    return {{localized("session bus"), Level::failure,
             localizedFormat("The session bus cannot be reached ({}).", reason(opened)),
             localized("Start Jumplark from within the desktop session, where DBUS_SESSION_BUS_ADDRESS is set.")},
            {localized("accessibility bus"), Level::failure, unreachable, remedy},
            {localized(kSwitch), Level::failure, unreachable, remedy, Subject::accessibilitySwitch},
            {localized("icon"), Level::warning, unreachable, remedy, Subject::icon}};
  }
  sd_bus_set_method_call_timeout(session.get(), kPatienceMicroseconds);
  return {{localized("session bus"), Level::ok, localized("The session bus answers."), ""},
          busCheck(session.get()),
          switchCheck(session.get()),
          iconCheck(session.get())};
}

}  // namespace jumplark::atspi
