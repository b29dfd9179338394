#include "backends/linux/menus/DBusMenus.h"

#include <systemd/sd-bus.h>

#include <algorithm>
#include <memory>

#include "backends/linux/menus/MenuText.h"
#include "backends/linux/session_bus/SessionBus.h"

namespace jumplark::menus {
namespace {

constexpr const char* kInterface = "com.canonical.dbusmenu";
constexpr size_t kMostItems = 20'000;
/// Submenus that are made when they are about to show; each costs two calls.
constexpr int kMostMade = 32;

struct DBusMenuHandle final : MenuCommandHandle {
  SessionBus::Object menu;
  int32_t id = 0;
};

/// What is not told has the value that the protocol gives it.
bool isTrue(const BusValue& properties, const char* name, bool otherwise) {
  const BusValue& value = properties.member(name);
  return value ? value.number() != 0 : otherwise;
}

std::string keysOf(const BusValue& properties) {
  std::string keys;
  for (const BusValue& combination : properties.member("shortcut").items) {
    std::vector<std::string> parts;
    for (const BusValue& part : combination.items) {
      parts.push_back(part.text);
    }
    const std::string one = keysFromParts(parts);
    keys += (keys.empty() || one.empty() ? "" : ", ") + one;
  }
  return keys;
}

/// Puts what GetLayout told into a sink.
class Walk {
 public:
  Walk(SessionBus& bus, SessionBus::Object menu, MenuSink& sink, TimePoint deadline)
      : bus_(bus), menu_(std::move(menu)), sink_(sink), deadline_(deadline) {}

  void run() { addChildren(layoutOf(0), {}); }

 private:
  /// An item with what is below it, (ia{sv}av); none where it is not told.
  BusValue layoutOf(int32_t id) {
    const auto answer = bus_.call(
        menu_, "GetLayout", [id](sd_bus_message* m) { return sd_bus_message_append(m, "iias", id, -1, 0); }, deadline_);
    return answer.values.at(1);
  }

  void addChildren(const BusValue& item, const std::vector<std::string>& path) {  // NOLINT(misc-no-recursion)
    for (const BusValue& child : item.at(2).items) {
      if (left_ == 0 || !sink_.isOpen()) {
        return;
      }
      --left_;
      addItem(child.inner(), path);
    }
  }

  void addItem(const BusValue& item, const std::vector<std::string>& path) {  // NOLINT(misc-no-recursion)
    const BusValue& properties = item.at(1);
    const std::string title = titleWithoutMnemonic(properties.member("label").text);
    if (title.empty() || path.size() >= kDeepest || !isTrue(properties, "visible", true) ||
        properties.member("type").text == "separator") {
      return;
    }
    std::vector<std::string> below = path;
    below.push_back(title);
    const bool isMenu = properties.member("children-display").text == "submenu";
    if (isMenu && item.at(2).items.empty()) {
      addChildren(made(item.at(0).number()), below);
    } else if (isMenu || !item.at(2).items.empty()) {
      addChildren(item, below);
    } else {
      addCommand(item, std::move(below));
    }
  }

  /// A submenu that holds nothing until it is about to show.
  BusValue made(int32_t id) {
    if (--mayBeMade_ < 0) {
      return {};
    }
    bus_.call(
        menu_, "AboutToShow", [id](sd_bus_message* m) { return sd_bus_message_append(m, "i", id); }, deadline_);
    return layoutOf(id);
  }

  void addCommand(const BusValue& item, std::vector<std::string> path) {
    const BusValue& properties = item.at(1);
    auto handle = std::make_shared<DBusMenuHandle>();
    handle->menu = menu_;
    handle->id = item.at(0).number();
    MenuCommand command;
    command.path = std::move(path);
    command.keys = keysOf(properties);
    const std::string& toggle = properties.member("toggle-type").text;
    command.mark = toggle == "checkmark" ? MenuCommand::Mark::check
                   : toggle == "radio"   ? MenuCommand::Mark::radio
                                         : MenuCommand::Mark::none;
    command.isOn = command.mark != MenuCommand::Mark::none && properties.member("toggle-state").number() == 1;
    command.isEnabled = isTrue(properties, "enabled", true);
    command.handle = std::move(handle);
    sink_.add(std::move(command));
  }

  SessionBus& bus_;
  const SessionBus::Object menu_;
  MenuSink& sink_;
  const TimePoint deadline_;
  size_t left_ = kMostItems;
  int mayBeMade_ = kMostMade;
};

/// Who shows the menus of a window, as the registrar knows.
SessionBus::Object registered(SessionBus& bus, WindowId window, TimePoint deadline) {
  const auto answer = bus.call(
      {"com.canonical.AppMenu.Registrar", "/com/canonical/AppMenu/Registrar", "com.canonical.AppMenu.Registrar"},
      "GetMenuForWindow",
      [&](sd_bus_message* m) { return sd_bus_message_append(m, "u", static_cast<uint32_t>(window.low)); }, deadline);
  return {answer.values.at(0).text, answer.values.at(1).text, kInterface};
}

}  // namespace

void DBusMenus::read(const MenuRequest& request, MenuSink& sink) {
  const WindowMenuAddresses told = windows_.menusOf(request.window.id);
  SessionBus bus(sessionBus_, request.deadline);
  SessionBus::Object menu{told.menuService, told.menuPath, kInterface};
  if (menu.busName.empty() || menu.path.empty()) {
    menu = registered(bus, request.window.id, request.deadline);
  }
  if (!menu.busName.empty() && !menu.path.empty()) {
    Walk(bus, menu, sink, request.deadline).run();
  }
}

std::optional<MenuOutcome> DBusMenus::perform(const MenuCommand& command, TimePoint deadline) {
  const auto* handle = dynamic_cast<const DBusMenuHandle*>(command.handle.get());
  if (!handle) {
    return std::nullopt;
  }
  SessionBus bus(sessionBus_, deadline);
  const auto described = bus.call(
      handle->menu, "GetGroupProperties",
      [&](sd_bus_message* m) {
        return sd_bus_message_append(m, "aias", 1, handle->id, 3, "label", "enabled", "visible");
      },
      deadline);
  if (described.result != SessionBus::Result::answered) {
    return described.result == SessionBus::Result::refused ? MenuOutcome::gone : MenuOutcome::failed;
  }
  const BusValue& properties = described.values.at(0).at(0).at(1);
  if (titleWithoutMnemonic(properties.member("label").text) != command.path.back()) {
    return MenuOutcome::gone;
  }
  if (!isTrue(properties, "enabled", true) || !isTrue(properties, "visible", true)) {
    return MenuOutcome::disabled;
  }
  const auto answer = bus.call(
      handle->menu, "Event",
      [&](sd_bus_message* m) { return sd_bus_message_append(m, "isvu", handle->id, "clicked", "i", 0, 0); },
      std::min(deadline, Clock::now() + kMoment));
  return answer.result == SessionBus::Result::refused ? MenuOutcome::failed : MenuOutcome::done;
}

}  // namespace jumplark::menus
