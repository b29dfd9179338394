#include "backends/linux/atspi/menus/MenuTree.h"

#include <algorithm>
#include <utility>

#include "backends/linux/atspi/element/Roles.h"
#include "backends/linux/menus/MenuSource.h"
#include "backends/linux/menus/MenuText.h"

namespace jumplark::atspi {
namespace {

/// A hundred of them take some milliseconds.
constexpr size_t kAtOnce = 200;

bool isPartOfMenu(uint32_t role) {
  return role::isOneOf<role::menu, role::popupMenu, role::menuItem, role::checkMenuItem, role::radioMenuItem,
                       role::checkBox, role::radioButton>(role);
}

}  // namespace

bool MenuTree::begin(MenuFacts& facts, const ElementRef& holder) {
  auto read = facts.read({holder});
  if (read.empty() || !read[0]) {
    return false;
  }
  nodes_.clear();
  seen_ = {holder};
  const int depth = read[0]->role == role::menuBar ? 0 : 1;
  nodes_.push_back({std::move(*read[0]), kNone, depth, {}, {}, false});
  readChildren(facts, {0}, [](const std::vector<int>&) {});
  return true;
}

std::vector<int> MenuTree::readChildren(MenuFacts& facts, const std::vector<int>& level, const More& more) {
  std::vector<ElementRef> elements;
  std::vector<int> parents;
  std::vector<int> longOnes;
  for (const int parent : level) {
    const MenuItemFacts& above = (*this)[parent].facts;
    if (!above.children.empty() && above.hasMoreChildren()) {
      longOnes.push_back(parent);
      continue;
    }
    const size_t before = elements.size();
    takeNew(above.children, elements);
    parents.insert(parents.end(), elements.size() - before, parent);
  }
  std::vector<int> added;
  for (size_t first = 0; first < elements.size() && !facts.ended(); first += kAtOnce) {
    const auto begin = elements.begin() + static_cast<std::ptrdiff_t>(first);
    const auto end = elements.begin() + static_cast<std::ptrdiff_t>(std::min(first + kAtOnce, elements.size()));
    const std::vector<int> part = add(facts.read({begin, end}), parents.data() + first);
    added.insert(added.end(), part.begin(), part.end());
    if (elements.size() > kAtOnce) {
      more(takePlainOf(part));
    }
  }
  for (const int parent : longOnes) {
    const std::vector<int> part = readLong(facts, parent, more);
    added.insert(added.end(), part.begin(), part.end());
  }
  return added;
}

std::vector<int> MenuTree::readLong(MenuFacts& facts, int parent, const More& more) {
  const MenuItemFacts above = (*this)[parent].facts;
  std::vector<int> added;
  std::vector<ElementRef> page = above.children;
  for (size_t first = 0; !page.empty() && nodes_.size() < kMostNodes && !facts.ended();) {
    first += page.size();
    std::vector<ElementRef> elements;
    takeNew(page, elements);
    const std::vector<int> parents(elements.size(), parent);
    const std::vector<int> part = add(facts.read(elements), parents.data());
    added.insert(added.end(), part.begin(), part.end());
    more(takePlainOf(part));
    page = facts.childrenFrom(above, first, kAtOnce);
  }
  return added;
}

void MenuTree::takeNew(const std::vector<ElementRef>& children, std::vector<ElementRef>& elements) {
  for (const ElementRef& child : children) {
    if (nodes_.size() + elements.size() < kMostNodes && seen_.insert(child).second) {
      elements.push_back(child);
    }
  }
}

std::vector<int> MenuTree::add(std::vector<std::optional<MenuItemFacts>> elements, const int* parents) {
  std::vector<int> added;
  for (size_t i = 0; i < elements.size(); ++i) {
    std::optional<MenuItemFacts>& read = elements[i];
    if (!read || !isPartOfMenu(read->role)) {
      continue;
    }
    const int depth = (*this)[parents[i]].depth + (read->role == role::popupMenu ? 0 : 1);
    if (depth <= menus::kDeepest) {
      added.push_back(static_cast<int>(nodes_.size()));
      (*this)[parents[i]].children.push_back(added.back());
      nodes_.push_back({std::move(*read), parents[i], depth, {}, {}, false});
    }
  }
  return added;
}

std::vector<int> MenuTree::takePlainOf(const std::vector<int>& added) {
  std::vector<int> plain;
  for (const int node : added) {
    if ((*this)[node].facts.children.empty() && isCommand(node)) {
      (*this)[node].isTold = true;
      plain.push_back(node);
    }
  }
  return plain;
}

bool MenuTree::readBelow(MenuFacts& facts, int node, const More& more) {
  std::vector<int> level{node};
  // A popup menu adds a level without a title.
  for (int step = 0; !level.empty() && step < 2 * menus::kDeepest; ++step) {
    if (facts.ended()) {
      return false;
    }
    level = readChildren(facts, level, more);
  }
  return true;
}

std::vector<int> MenuTree::commandsToTell(int node) const {
  std::vector<int> commands = commandsBelow(node);
  std::erase_if(commands, [this](int command) { return (*this)[command].isTold; });
  return commands;
}

bool MenuTree::refresh(MenuFacts& facts) {
  std::vector<MenuItemFacts*> all;
  all.reserve(nodes_.size());
  for (Node& node : nodes_) {
    all.push_back(&node.facts);
  }
  return !all.empty() && facts.refresh(all);
}

bool MenuTree::isCommand(int node) const {
  const Node& n = (*this)[node];
  if (!isPartOfMenu(n.facts.role) || role::isOneOf<role::menu, role::popupMenu>(n.facts.role) || !n.children.empty() ||
      menus::menuTitle(n.facts.name).empty()) {
    return false;
  }
  // The title of a menu that is not in the tree while it is closed, which holds its label.
  return n.depth > 1 || n.facts.children.empty();
}

std::vector<int> MenuTree::commandsBelow(int node) const {
  std::vector<int> commands;
  std::vector<int> stack{node};
  while (!stack.empty()) {
    const int next = stack.back();
    stack.pop_back();
    if (isCommand(next)) {
      commands.push_back(next);
    }
    const std::vector<int>& children = (*this)[next].children;
    stack.insert(stack.end(), children.rbegin(), children.rend());
  }
  return commands;
}

std::vector<int> MenuTree::wayTo(int node) const {
  std::vector<int> way;
  for (; node != kNone && (*this)[node].depth > 0; node = (*this)[node].parent) {
    if ((*this)[node].facts.role != role::popupMenu && !menus::menuTitle((*this)[node].facts.name).empty()) {
      way.push_back(node);
    }
  }
  std::ranges::reverse(way);
  return way;
}

}  // namespace jumplark::atspi
