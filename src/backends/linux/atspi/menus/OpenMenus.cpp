#include "backends/linux/atspi/menus/OpenMenus.h"

#include <algorithm>
#include <iterator>
#include <numeric>
#include <utility>

#include "backends/linux/atspi/element/Roles.h"
#include "backends/linux/atspi/menus/MenuRoles.h"
#include "backends/linux/menus/MenuText.h"

namespace jumplark::atspi {

using namespace menu_role;

namespace {

/// Of a longer menu the first ones are read.
constexpr size_t kMostChildren = 400;
constexpr size_t kMostNodes = 3000;
/// So many of what stands in a menu tell whether it is open.
constexpr size_t kFirstLook = 4;
/// A window that has more keeps its closed menus among them.
constexpr size_t kFewChildren = 12;
/// Lists of combo boxes lie in windows that hold panels, and menus add a level without a title.
constexpr int kMostRounds = 2 * menus::kDeepest;

/// Of a button that has opened a menu.
bool isDown(const MenuItemFacts& button) {
  return button.is(state::expanded) || button.is(state::checked) || button.is(state::pressed);
}

/// Of a menu in a bar.
bool saysThatItIsOpen(const MenuItemFacts& menu) {
  return menu.is(state::selected) || menu.is(state::expanded);
}

/// Menus that lie in the window itself have a panel around them.
bool leadsToMenus(uint32_t above, const MenuItemFacts& child) {
  constexpr int32_t kMostAround = 2;
  return role::isOneOf<role::frame, role::dialog, role::rootPane, role::layeredPane>(child.role) ||
         (above == role::layeredPane && child.role == role::panel && child.childCount <= kMostAround);
}

}  // namespace

void OpenMenus::readHeads() {
  std::vector<ElementRef> elements{heads_.application, heads_.bar};
  elements.insert(elements.end(), heads_.unlisted.begin(), heads_.unlisted.end());
  const size_t firstHolder = elements.size();
  elements.insert(elements.end(), heads_.holders.begin(), heads_.holders.end());
  const size_t firstOpener = elements.size();
  elements.insert(elements.end(), heads_.openers.begin(), heads_.openers.end());
  auto read = facts_.read(elements);
  for (size_t i = 0; i < read.size(); ++i) {
    if (!read[i]) {
      continue;
    }
    const MenuItemFacts& facts = *read[i];
    if (i >= firstOpener) {
      opener_ = isDown(facts) ? facts.ref : opener_;
    } else if (i >= firstHolder) {
      if (heads_.tellsShowing || facts.is(state::expanded)) {
        addHead(Kind::holder, std::move(read[i]));
      }
    } else if (i == 0 || shows(facts)) {
      addHead(i == 0 ? Kind::application : i == 1 ? Kind::bar : Kind::container, std::move(read[i]));
    }
  }
}

void OpenMenus::addHead(Kind kind, std::optional<MenuItemFacts> read) {
  if (read && seen_.insert(read->ref).second) {
    const Kind head = kind == Kind::container ? Kind::application : kind;
    nodes_.push_back({.facts = std::move(*read), .kind = kind, .head = head, .children = {}, .holder = {}});
  }
}

std::optional<OpenMenus::Kind> OpenMenus::kindBelowPassage(const Node& above, const MenuItemFacts& child) const {
  if (!shows(child)) {
    return std::nullopt;
  }
  if (leadsToMenus(above.facts.role, child)) {
    return Kind::passage;
  }
  if (above.facts.role == role::frame) {
    // Some have a window for each menu, which they draw as a bar, and a box around the list of a box in a document.
    const bool isMenuAsBar = child.role == role::menuBar && above.facts.ref != heads_.window;
    const bool isPanel = child.role == role::panel && !heads_.popups.empty() && heads_.tellsShowing;
    if (isMenuAsBar || isPanel) {
      return Kind::container;
    }
    if (child.role == role::comboBox && child.is(state::expanded)) {
      return Kind::passage;
    }
  }
  return opensByItself(child.role) ? std::optional(Kind::container) : std::nullopt;
}

std::optional<OpenMenus::Kind> OpenMenus::kindBelow(const Node& above, const MenuItemFacts& child) const {
  const bool showing = shows(child);
  switch (above.kind) {
    case Kind::application:
    case Kind::passage:
      return kindBelowPassage(above, child);
    case Kind::bar:
      return isItem(child.role) ? std::optional(Kind::item) : std::nullopt;
    case Kind::holder:
      if (showing && (holdsItems(child.role) || child.role == role::menu)) {
        return Kind::container;
      }
      return showing && isItem(child.role) ? std::optional(Kind::item) : std::nullopt;
    case Kind::container:
      if (child.role == role::menu && role::isOneOf<role::window, role::panel>(above.facts.role)) {
        return showing ? std::optional(Kind::container) : std::nullopt;
      }
      if (above.isPanel && showing && isButton(child.role)) {
        return Kind::item;
      }
      break;
    case Kind::item:
      if (child.role == role::menu && above.facts.role == role::menuItem) {
        return showing || above.head != Kind::bar ? std::optional(Kind::container) : std::nullopt;
      }
      break;
  }
  // What is in a closed menu of an open one can be reached through that only.
  if (!showing && above.head == Kind::bar) {
    return std::nullopt;
  }
  const bool isBelowClosed = above.kind == Kind::item || !shows(above.facts);
  if (!showing && !isBelowClosed) {
    return std::nullopt;
  }
  const bool isPartOfList = isList(above.facts.role) && isEntry(child.role);
  return isItem(child.role) || isPartOfList ? std::optional(Kind::item)
         : holdsItems(child.role)           ? std::optional(Kind::container)
                                            : std::nullopt;
}

std::vector<int> OpenMenus::readBelow(const std::vector<int>& level) {
  const auto isClosed = [this](int number) {
    const Node& menu = nodes_[static_cast<size_t>(number)];
    return menu.head == Kind::bar && menu.kind == Kind::item && menu.depth == 1 && !saysThatItIsOpen(menu.facts);
  };
  std::vector<int> added;
  const auto read = [&](const std::vector<int>& parents, size_t most) {
    std::ranges::copy(readChildren(parents, most), std::back_inserter(added));
  };
  std::vector<int> closed;
  std::vector<int> others;
  std::ranges::partition_copy(level, std::back_inserter(closed), std::back_inserter(others), isClosed);
  read(others, kMostChildren);
  read(closed, kFirstLook);
  // Children that show are those of one that is open all the same.
  std::erase_if(closed, [this](int menu) { return nodes_[static_cast<size_t>(menu)].children.empty(); });
  read(closed, kMostChildren);
  keepTheOpenOne(added);
  keepWhatLiesElsewhere(added);
  return added;
}

void OpenMenus::dropHidden(MenuItemFacts& above) {
  const std::vector<uint64_t> states = facts_.states(above.children);
  size_t child = 0;
  std::erase_if(above.children, [&](const ElementRef&) { return !shows(states[child++]); });
  above.childCount = static_cast<int32_t>(above.children.size());
}

std::vector<int> OpenMenus::readChildren(const std::vector<int>& level, size_t most) {
  std::vector<ElementRef> elements;
  std::vector<int> parents;
  for (const int parent : level) {
    MenuItemFacts& above = nodes_[static_cast<size_t>(parent)].facts;
    std::vector<ElementRef>& children = above.children;
    if (children.size() < most && above.hasMoreChildren()) {
      const auto others = facts_.childrenFrom(above, children.size(), most - children.size());
      children.insert(children.end(), others.begin(), others.end());
    }
    if (nodes_[static_cast<size_t>(parent)].kind == Kind::passage && children.size() > kFewChildren) {
      dropHidden(above);
    }
    for (size_t i = 0; i < std::min(children.size(), most); ++i) {
      if (nodes_.size() + elements.size() < kMostNodes && seen_.insert(children[i]).second) {
        elements.push_back(children[i]);
        parents.push_back(parent);
      }
    }
  }
  auto read = facts_.read(elements);
  std::vector<int> added;
  for (size_t i = 0; i < read.size(); ++i) {
    Node& above = nodes_[static_cast<size_t>(parents[i])];
    const auto kind = read[i] ? kindBelow(above, *read[i]) : std::nullopt;
    const int depth = above.depth + (kind == Kind::item ? 1 : 0);
    if (kind && depth <= menus::kDeepest) {
      added.push_back(static_cast<int>(nodes_.size()));
      above.children.push_back(added.back());
      // What stands in a panel knows so, too.
      const bool isPanel =
          above.isPanel || (*kind == Kind::container && above.kind == Kind::passage && read[i]->role == role::panel);
      nodes_.push_back({std::move(*read[i]), parents[i], *kind, above.head, depth, {}, false, {}, isPanel});
    } else if (read[i] && above.kind == Kind::item) {
      above.opensMore = above.opensMore || isItem(read[i]->role) || holdsItems(read[i]->role);
    }
  }
  return added;
}

void OpenMenus::keepWhatLiesElsewhere(std::vector<int>& level) {
  std::vector<int> asked;
  std::vector<ElementRef> elements;
  for (const int number : level) {
    const Node& node = nodes_[static_cast<size_t>(number)];
    const Node& above = nodes_[static_cast<size_t>(node.parent)];
    const bool isList = above.kind == Kind::holder && node.kind == Kind::container && heads_.tellsShowing;
    if (isList || (node.isPanel && above.kind == Kind::passage)) {
      asked.push_back(number);
      elements.insert(elements.end(), {node.facts.ref, above.facts.ref});
    }
  }
  const auto places = facts_.places(elements);
  for (size_t i = 0; i < asked.size(); ++i) {
    const auto& own = places[2 * i];
    const Node& node = nodes_[static_cast<size_t>(asked[i])];
    const auto isOwn = [&](const Rect& popup) { return own && popup.contains({own->midX(), own->midY()}); };
    const bool isInPopup = std::ranges::any_of(heads_.popups, isOwn) && own != places[2 * i + 1];
    const bool isOpen = node.isPanel ? isInPopup : own && own != places[2 * i + 1];
    if (!isOpen) {
      std::erase(level, asked[i]);
      std::erase(nodes_[static_cast<size_t>(node.parent)].children, asked[i]);
    }
  }
}

void OpenMenus::keepTheOpenOne(std::vector<int>& level) const {
  const auto isOfBar = [this](int number) {
    const Node& node = nodes_[static_cast<size_t>(number)];
    return node.head == Kind::bar && node.kind == Kind::item && node.depth == 1;
  };
  const auto saysSo = [this](int number) {
    const MenuItemFacts& facts = nodes_[static_cast<size_t>(number)].facts;
    return saysThatItIsOpen(facts);
  };
  if (!heads_.tellsShowing ||
      std::ranges::any_of(level, [&](int number) { return isOfBar(number) && saysSo(number); })) {
    std::erase_if(level, [&](int number) { return isOfBar(number) && !saysSo(number); });
  }
}

void OpenMenus::joinSubmenus() {
  const auto stands = [](const Node& node) { return node.kind == Kind::container && node.facts.role == role::menu; };
  for (Node& submenu : nodes_) {
    if (!stands(submenu) || submenu.facts.name.empty()) {
      continue;
    }
    for (size_t i = 0; i < nodes_.size(); ++i) {
      Node& item = nodes_[i];
      if (item.kind == Kind::item && item.facts.is(state::expanded) && item.facts.name == submenu.facts.name) {
        item.opensMore = true;
        submenu.parent = static_cast<int>(i);
      }
    }
  }
}

// Many boxes are called what is chosen in them.
void OpenMenus::dropChoiceFromName(int holder) {
  std::string& name = nodes_[static_cast<size_t>(holder)].facts.name;
  for (const int command : commandsBelow(holder)) {
    if (nodes_[static_cast<size_t>(command)].facts.name == name) {
      name.clear();
      return;
    }
  }
}

std::vector<int> OpenMenus::commandsBelow(int start) const {
  std::vector<int> commands;
  std::vector<int> stack{start};
  while (!stack.empty()) {
    const int next = stack.back();
    stack.pop_back();
    const Node& node = nodes_[static_cast<size_t>(next)];
    const bool isTitle = node.kind != Kind::item || node.facts.role == role::menu || !node.children.empty() ||
                         node.opensMore || (node.head == Kind::bar && node.depth == 1);
    if (!isTitle && !menus::menuTitle(node.facts.name).empty()) {
      commands.push_back(next);
    }
    stack.insert(stack.end(), node.children.rbegin(), node.children.rend());
  }
  return commands;
}

MenuEntry OpenMenus::entryOf(int node) const {
  MenuEntry entry;
  for (int step = node; step >= 0; step = nodes_[static_cast<size_t>(step)].parent) {
    const Node& one = nodes_[static_cast<size_t>(step)];
    if ((one.kind == Kind::item || one.kind == Kind::holder) && !menus::menuTitle(one.facts.name).empty()) {
      entry.way.push_back(&one.facts);
    }
  }
  std::ranges::reverse(entry.way);
  return entry;
}

std::vector<MenuCommand> OpenMenus::read(const Heads& heads, const menus::MenuRequest& request,
                                         const MenuOpening& called) {
  heads_ = heads;
  readHeads();
  std::vector<int> level(nodes_.size());
  std::iota(level.begin(), level.end(), 0);
  const std::vector<int> roots = level;
  for (int round = 0; round < kMostRounds && !level.empty() && !facts_.ended(); ++round) {
    level = readBelow(level);
    if (round == 0) {
      findHolders();  // which counts for more than the end of a long list
    }
  }
  joinSubmenus();
  findHolders();
  std::vector<int> found;
  std::vector<ElementRef> items;
  for (const int root : roots) {
    dropChoiceFromName(root);
    for (const int command : commandsBelow(root)) {
      found.push_back(command);
      const MenuItemFacts& facts = nodes_[static_cast<size_t>(command)].facts;
      items.push_back(facts.hasActions && !isEntry(facts.role) ? facts.ref : ElementRef());
    }
  }
  const auto keys = facts_.firstKeys(items);
  std::vector<MenuCommand> commands;
  const auto together = std::make_shared<std::vector<std::string>>();
  for (size_t i = 0; i < found.size(); ++i) {
    MenuEntry entry = entryOf(found[i]);
    together->push_back(entry.way.back()->name);
    entry.canAct = keys[i].has_value() && heads_.actsWhenClosed;
    entry.keys = keys[i] ? menuKeys(*keys[i], entry.way.back()->name) : "";
    auto [command, handle] = menuCommand(entry, request, false);
    command.isOpen = true;
    handle->opening = called;
    handle->opening->together = together;
    handle->opening->holder = holderOf(found[i]);
    handle->opening->box = boxOf(found[i]);
    handle->opening->pressedAt = mayBeOfPointed(found[i]) ? heads_.pointer : std::nullopt;
    commands.push_back(std::move(command));
  }
  return commands;
}

}  // namespace jumplark::atspi
