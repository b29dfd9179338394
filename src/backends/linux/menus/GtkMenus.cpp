#include "backends/linux/menus/GtkMenus.h"

#include <systemd/sd-bus.h>

#include <algorithm>
#include <memory>

#include "backends/linux/menus/GtkMenuModel.h"
#include "backends/linux/menus/MenuText.h"
#include "backends/linux/session_bus/SessionBus.h"

namespace jumplark::menus {
namespace {

constexpr const char* kMenus = "org.gtk.Menus";
constexpr const char* kActions = "org.gtk.Actions";
/// Menus that share submenus are as long as there are ways through them.
constexpr size_t kMostItems = 20'000;
/// Menus and the sections in them.
constexpr size_t kMostAbove = 2UL * kDeepest;

struct GtkHandle final : MenuCommandHandle {
  SessionBus::Object actions;
  std::string action;
  BusValue target;  ///< none for an action without
};

/// Puts the commands of one model into a sink.
class Walk {
 public:
  Walk(const GtkMenuModel& model, const GtkActions& actions, std::string busName, MenuSink& sink)
      : model_(model), actions_(actions), busName_(std::move(busName)), sink_(sink) {}

  void run(GtkMenuId menu, const std::vector<std::string>& path) {  // NOLINT(misc-no-recursion)
    const std::vector<BusValue>* items = model_.itemsOf(menu);
    if (!items || path.size() > kDeepest || above_.size() > kMostAbove || std::ranges::count(above_, menu) > 0) {
      return;
    }
    above_.push_back(menu);
    for (const BusValue& item : *items) {
      if (left_ == 0 || !sink_.isOpen()) {
        break;
      }
      --left_;
      runItem(item, path);
    }
    above_.pop_back();
  }

 private:
  void runItem(const BusValue& item, const std::vector<std::string>& path) {  // NOLINT(misc-no-recursion)
    std::vector<std::string> below = path;
    if (const std::string title = titleWithoutMnemonic(item.member("label").text); !title.empty()) {
      below.push_back(title);
    }
    GtkMenuId next;
    if (GtkMenuModel::linkOf(item, ":section", next)) {
      run(next, path);  // its title stands over it
    } else if (GtkMenuModel::linkOf(item, ":submenu", next)) {
      run(next, below);
    } else if (below.size() > path.size()) {
      add(item, std::move(below));
    }
  }

  static bool isHidden(const BusValue& item, const GtkActions::Found& found) {
    const std::string& when = item.member("hidden-when").text;
    return (when == "action-missing" && !found.action) ||
           (when == "action-disabled" && !(found.action && found.action->isEnabled));
  }

  void add(const BusValue& item, std::vector<std::string> path) {
    const std::string& name = item.member("action").text;
    const auto found = actions_.find(name);
    if (name.empty() || isHidden(item, found)) {
      return;
    }
    auto handle = std::make_shared<GtkHandle>();
    handle->actions = {busName_, found.path, kActions};
    handle->action = found.name;
    handle->target = item.member("target");
    MenuCommand command;
    command.path = std::move(path);
    command.keys = keysFromBrackets(item.member("accel").text);
    command.isEnabled =
        found.action && found.action->isEnabled && found.action->parameter == handle->target.signature();
    if (found.action && found.action->state) {
      const BusValue& state = found.action->state;
      if (handle->target) {
        command.mark = MenuCommand::Mark::radio;
        command.isOn = state == handle->target;
      } else if (state.type == 'b') {
        command.mark = MenuCommand::Mark::check;
        command.isOn = state.number() != 0;
      }
    }
    command.handle = std::move(handle);
    sink_.add(std::move(command));
  }

  const GtkMenuModel& model_;
  const GtkActions& actions_;
  const std::string busName_;
  MenuSink& sink_;
  std::vector<GtkMenuId> above_;  ///< the menus and sections that are being gone through
  size_t left_ = kMostItems;
};

int appendActivation(sd_bus_message* message, const GtkHandle& handle) {
  int r = sd_bus_message_append(message, "s", handle.action.c_str());
  r = r < 0 ? r : sd_bus_message_open_container(message, 'a', "v");
  if (r >= 0 && handle.target) {
    r = sd_bus_message_open_container(message, 'v', handle.target.signature().c_str());
    r = r < 0 ? r : appendBusValue(message, handle.target);
    r = r < 0 ? r : sd_bus_message_close_container(message);
  }
  r = r < 0 ? r : sd_bus_message_close_container(message);
  return r < 0 ? r : sd_bus_message_append(message, "a{sv}", 0);
}

}  // namespace

void GtkMenus::read(const MenuRequest& request, MenuSink& sink) {
  const WindowMenuAddresses told = windows_.menusOf(request.window.id);
  if (told.gtkBusName.empty() || (told.gtkMenuBarPath.empty() && told.gtkApplicationMenuPath.empty())) {
    return;
  }
  SessionBus bus(sessionBus_, request.deadline);
  GtkActions actions;
  actions.read(bus, "app", {told.gtkBusName, told.gtkApplicationPath, kActions}, request.deadline);
  actions.read(bus, "win", {told.gtkBusName, told.gtkWindowPath, kActions}, request.deadline);
  for (const std::string& path : {told.gtkApplicationMenuPath, told.gtkMenuBarPath}) {
    if (!path.empty()) {
      const GtkMenuModel model(bus, {told.gtkBusName, path, kMenus}, request.deadline);
      Walk(model, actions, told.gtkBusName, sink).run({0, 0}, {});
    }
  }
}

std::optional<MenuOutcome> GtkMenus::perform(const MenuCommand& command, TimePoint deadline) {
  const auto* handle = dynamic_cast<const GtkHandle*>(command.handle.get());
  if (!handle) {
    return std::nullopt;
  }
  if (handle->actions.path.empty()) {
    return MenuOutcome::disabled;
  }
  SessionBus bus(sessionBus_, deadline);
  const auto described = bus.call(
      handle->actions, "Describe",
      [&](sd_bus_message* m) { return sd_bus_message_append(m, "s", handle->action.c_str()); }, deadline);
  if (described.result != SessionBus::Result::answered) {
    return described.result == SessionBus::Result::refused ? MenuOutcome::gone : MenuOutcome::failed;
  }
  const GtkAction action = gtkAction(described.values.at(0));
  if (!action.isEnabled || action.parameter != handle->target.signature()) {
    return MenuOutcome::disabled;
  }
  const auto answer = bus.call(
      handle->actions, "Activate", [&](sd_bus_message* m) { return appendActivation(m, *handle); },
      std::min(deadline, Clock::now() + kMoment));
  return answer.result == SessionBus::Result::refused ? MenuOutcome::failed : MenuOutcome::done;
}

}  // namespace jumplark::menus
