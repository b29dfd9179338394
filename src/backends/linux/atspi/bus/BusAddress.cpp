#include "backends/linux/atspi/bus/BusAddress.h"

#include <fmt/format.h>
#include <spdlog/spdlog.h>

#include <cstdlib>

#include "backends/linux/atspi/bus/BusLink.h"
#include "platform/Texts.h"

namespace jumplark::atspi {
namespace {

constexpr const char* kBusName = "org.a11y.Bus";
constexpr const char* kBusPath = "/org/a11y/bus";

std::string variable(const char* name) {
  const char* value = std::getenv(name);  // NOLINT(concurrency-mt-unsafe)
  return value ? value : "";
}

std::string sessionAddressFromEnvironment() {
  if (std::string address = variable("DBUS_SESSION_BUS_ADDRESS"); !address.empty()) {
    return address;
  }
  const std::string folder = variable("XDG_RUNTIME_DIR");
  return folder.empty() ? "" : fmt::format("unix:path={}/bus", folder);
}

BusAddress unreachable(std::string advice) {
  return {"", std::move(advice)};
}

}  // namespace

BusAddress findAccessibilityBus(const std::string& sessionAddress, TimePoint deadline) {
  const std::string session = sessionAddress.empty() ? sessionAddressFromEnvironment() : sessionAddress;
  if (session.empty()) {
    return unreachable(
        localized("There is no session bus: start Jumplark inside a desktop session or with dbus-run-session."));
  }
  std::string why;
  const auto link = BusLink::open(session, BusLink::Kind::bus, &why);
  if (!link) {
    return unreachable(
        localizedFormat("The session bus cannot be reached ({}): start Jumplark inside a desktop session.", why));
  }
  const Reply reply =
      link->callAndWait({kBusName, kBusPath, "org.a11y.Bus", "GetAddress", {}, decoding::text}, deadline);
  const auto* address = std::get_if<std::string>(&reply.value);
  if (!link->alive()) {
    return unreachable(
        localized("The session bus refused the connection: start Jumplark as the user of the desktop session."));
  }
  if (!address || address->empty()) {
    return unreachable(localized("The accessibility bus does not answer: install at-spi2-core and log in again."));
  }
  const auto error = link->setBooleanAndWait(kBusName, kBusPath, "org.a11y.Status", "IsEnabled", true, deadline);
  if (error != AccessibilityError::success) {
    spdlog::warn("Accessibility could not be switched on ({})", static_cast<int32_t>(error));
  }
  return {*address, ""};
}

}  // namespace jumplark::atspi
