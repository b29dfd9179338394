#pragma once

#include <cstddef>
#include <unordered_set>
#include <vector>

#include "backends/linux/atspi/menus/MenuCommands.h"
#include "backends/linux/atspi/menus/MenuFacts.h"

namespace jumplark::atspi {

/// What is open of an application's menus and lists: menus of its bar, of buttons and of whatever a pointer or a key
/// called them for, lists of combo boxes; with their submenus. Asks in rounds, all elements of a level at once, and of
/// closed menus nothing but whether they show. One use.
class OpenMenus {
 public:
  /// Below which it looks.
  struct Heads {
    ElementRef application;
    ElementRef bar;                   ///< may be empty
    std::vector<ElementRef> holders;  ///< boxes and buttons that may have opened something
    bool tellsShowing = true;  ///< false: what has shown once says that it is visible, and its opener is expanded
  };
  explicit OpenMenus(MenuFacts& facts) : facts_(facts) {}

  /// In the order in which they show, as far as they are told in time. `called` is how a menu without a holder came.
  std::vector<MenuCommand> read(const Heads& heads, const menus::MenuRequest& request, const MenuOpening& called);

 private:
  enum class Kind {
    application,
    passage,  ///< of a window, in which menus lie that have none of their own
    bar,
    holder,
    container,
    item
  };
  struct Node {
    MenuItemFacts facts;
    int parent = -1;
    Kind kind = Kind::container;
    Kind head = Kind::application;  ///< what it hangs below
    int depth = 0;
    std::vector<int> children;
    bool opensMore = false;  ///< a menu that is closed
    ElementRef holder;       ///< of a menu in a window of its own
  };

  void addHead(Kind kind, std::optional<MenuItemFacts> read);
  std::vector<int> readBelow(const std::vector<int>& level);
  /// Of a bar's menus the one that says that it is open, if one does.
  void keepTheOpenOne(std::vector<int>& level) const;
  /// None for what is no part of an open menu.
  std::optional<Kind> kindBelow(const Node& above, const MenuItemFacts& child) const;
  bool shows(const MenuItemFacts& facts) const { return facts.is(tellsShowing_ ? state::showing : state::visible); }
  void findHolders();
  void dropChoiceFromName(int holder);
  std::vector<int> commandsBelow(int node) const;
  MenuEntry entryOf(int node) const;
  ElementRef holderOf(int node) const;

  MenuFacts& facts_;
  bool tellsShowing_ = true;
  std::vector<Node> nodes_;
  std::unordered_set<ElementRef, ElementRefHash> seen_;
};

}  // namespace jumplark::atspi
