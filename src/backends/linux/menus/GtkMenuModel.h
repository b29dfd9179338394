#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "backends/linux/menus/MenuSource.h"
#include "backends/linux/session_bus/BusValue.h"
#include "backends/linux/session_bus/SessionBus.h"

namespace jumplark::menus {

/// A group of menus and a menu in it, as org.gtk.Menus counts them.
using GtkMenuId = std::pair<uint32_t, uint32_t>;

/// What org.gtk.Menus told of the menus at a path: lists of items, each a dictionary.
class GtkMenuModel {
 public:
  /// Asks for the menus and for those that they refer to. Opens nothing.
  GtkMenuModel(SessionBus& bus, const SessionBus::Object& menus, TimePoint deadline);

  /// The items of a menu; null when nothing was told of it.
  const std::vector<BusValue>* itemsOf(GtkMenuId menu) const;
  /// The menu that an item names as its ":section" or ":submenu".
  static bool linkOf(const BusValue& item, const char* name, GtkMenuId& menu);

 private:
  std::map<GtkMenuId, std::vector<BusValue>> menus_;
};

/// What org.gtk.Actions tells of one action.
struct GtkAction {
  bool isEnabled = false;
  std::string parameter;  ///< signature; empty for an action without
  BusValue state;         ///< none for an action without
};
/// Of one description, (bgav).
GtkAction gtkAction(const BusValue& description);

/// The actions that menu items name: "app.quit", "win.zoom".
class GtkActions {
 public:
  /// Adds what the object has, under names that begin with the prefix and a dot. Does nothing without a path.
  void read(SessionBus& bus, const std::string& prefix, const SessionBus::Object& object, TimePoint deadline);
  struct Found {
    const GtkAction* action = nullptr;  ///< null when nobody has it
    std::string path;                   ///< of the object that has it
    std::string name;                   ///< there
  };
  Found find(const std::string& fullName) const;

 private:
  struct Group {
    std::string path;
    std::map<std::string, GtkAction> actions;
  };
  std::map<std::string, Group> groups_;  ///< by prefix
};

}  // namespace jumplark::menus
