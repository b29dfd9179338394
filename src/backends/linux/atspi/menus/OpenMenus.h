#pragma once

#include <cstddef>
#include <functional>
#include <optional>
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
    ElementRef window = {};                 ///< the one that has the keyboard; may be empty
    ElementRef bar = {};                    ///< may be empty
    std::vector<ElementRef> holders = {};   ///< boxes that may have opened something, which they hold
    std::vector<ElementRef> openers = {};   ///< buttons that may have opened something, which stands elsewhere
    std::vector<ElementRef> unlisted = {};  ///< menus that are nobody's children
    std::vector<Rect> popups = {};          ///< windows in which something may be open
    ElementRef pointedAt = {};              ///< the button that the pointer is on: it may have opened a panel or a list
    std::optional<Point> pointer = {};      ///< where that is, while no button is known
    /// Whose a list is that does not tell, where no pop-up shows where it is; may be empty.
    std::function<ElementRef(const ElementRef& list)> boxOf = {};
    bool actsWhenClosed = true;  ///< see Toolkit
    bool tellsShowing = true;    ///< false: what has shown once says that it is visible, and its opener is expanded
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
    bool isPanel = false;    ///< holds buttons that stand for commands
    bool isLoose = false;    ///< a list that does not tell whose it is
  };

  void readHeads();
  void addHead(Kind kind, std::optional<MenuItemFacts> read);
  std::vector<int> readBelow(const std::vector<int>& level);
  /// Of what they have read before nothing is read again.
  std::vector<int> readChildren(const std::vector<int>& level, size_t most);
  /// Of a bar's menus the one that says that it is open, if one does.
  void keepTheOpenOne(std::vector<int>& level) const;
  /// Of what says of itself that it is open what its place shows to be: lists of boxes that have a place of their own,
  /// panels in windows of their own.
  void keepWhatLiesElsewhere(std::vector<int>& level);
  /// None for what is no part of an open menu.
  std::optional<Kind> kindBelow(const Node& above, const MenuItemFacts& child) const;
  bool shows(uint64_t states) const {
    return (states >> static_cast<unsigned>(heads_.tellsShowing ? state::showing : state::visible) & 1U) != 0;
  }
  bool shows(const MenuItemFacts& facts) const { return shows(facts.states); }
  /// Of many children, of which only those that show matter.
  void dropHidden(MenuItemFacts& above);
  std::optional<Kind> kindBelowPassage(const Node& above, const MenuItemFacts& child) const;
  /// Submenus that stand beside the menu of the item that opened them are made part of that.
  void joinSubmenus();
  void findHolders();
  void dropChoiceFromName(int holder);
  std::vector<int> commandsBelow(int node) const;
  MenuEntry entryOf(int node) const;
  ElementRef holderOf(int node) const;
  bool mayBeOfPointed(int node) const;
  /// Where to click for the list in which a node stands; none for those whose box is known.
  std::optional<Point> boxOf(int node) const;

  MenuFacts& facts_;
  Heads heads_;
  ElementRef opener_;  ///< of what no holder is known of
  std::vector<Node> nodes_;
  size_t withHolders_ = 0;  ///< of so many holders have been looked for
  std::unordered_set<ElementRef, ElementRefHash> seen_;
};

}  // namespace jumplark::atspi
