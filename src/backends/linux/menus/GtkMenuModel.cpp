#include "backends/linux/menus/GtkMenuModel.h"

#include <systemd/sd-bus.h>

#include <algorithm>
#include <set>

namespace jumplark::menus {
namespace {

/// How many times menus may lead to groups that were not asked for yet.
constexpr int kMostRounds = 8;

int appendGroups(sd_bus_message* message, const std::vector<uint32_t>& groups) {
  return sd_bus_message_append_array(message, 'u', groups.data(), groups.size() * sizeof(uint32_t));
}

}  // namespace

GtkMenuModel::GtkMenuModel(SessionBus& bus, const SessionBus::Object& menus, TimePoint deadline) {
  std::set<uint32_t> asked{0};
  std::vector<uint32_t> wanted{0};
  for (int round = 0; round < kMostRounds && !wanted.empty(); ++round) {
    const auto answer = bus.call(
        menus, "Start", [&](sd_bus_message* m) { return appendGroups(m, wanted); }, deadline);
    wanted.clear();
    for (const BusValue& menu : answer.values.at(0).items) {
      const GtkMenuId id(static_cast<uint32_t>(menu.at(0).number()), static_cast<uint32_t>(menu.at(1).number()));
      menus_[id] = menu.at(2).items;
      for (const BusValue& item : menu.at(2).items) {
        for (const char* link : {":section", ":submenu"}) {
          if (GtkMenuId next; linkOf(item, link, next) && asked.insert(next.first).second) {
            wanted.push_back(next.first);
          }
        }
      }
    }
  }
}

const std::vector<BusValue>* GtkMenuModel::itemsOf(GtkMenuId menu) const {
  const auto found = menus_.find(menu);
  return found == menus_.end() ? nullptr : &found->second;
}

bool GtkMenuModel::linkOf(const BusValue& item, const char* name, GtkMenuId& menu) {
  const BusValue& link = item.member(name);
  menu = {static_cast<uint32_t>(link.at(0).number()), static_cast<uint32_t>(link.at(1).number())};
  return link.signature() == "(uu)";
}

GtkAction gtkAction(const BusValue& description) {
  const BusValue& states = description.at(2);
  return {description.at(0).number() != 0, description.at(1).text, states.at(0).inner()};
}

void GtkActions::read(SessionBus& bus, const std::string& prefix, const SessionBus::Object& object,
                      TimePoint deadline) {
  if (object.path.empty()) {
    return;
  }
  const auto answer = bus.call(
      object, "DescribeAll", [](sd_bus_message*) { return 0; }, deadline);
  Group& group = groups_[prefix];
  group.path = object.path;
  for (const BusValue& entry : answer.values.at(0).items) {
    group.actions.emplace(entry.at(0).text, gtkAction(entry.at(1)));
  }
}

GtkActions::Found GtkActions::find(const std::string& fullName) const {
  const size_t dot = fullName.find('.');
  const auto group = groups_.find(fullName.substr(0, dot));
  if (dot == std::string::npos || group == groups_.end()) {
    return {};
  }
  Found found{nullptr, group->second.path, fullName.substr(dot + 1)};
  const auto action = group->second.actions.find(found.name);
  found.action = action == group->second.actions.end() ? nullptr : &action->second;
  return found;
}

}  // namespace jumplark::menus
