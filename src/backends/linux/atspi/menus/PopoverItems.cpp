#include "backends/linux/atspi/menus/PopoverItems.h"

#include <algorithm>
#include <unordered_set>

#include "backends/linux/atspi/element/Roles.h"
#include "backends/linux/menus/MenuText.h"

namespace jumplark::atspi {
namespace {

MenuItemFacts itemOf(const ElementFacts& facts) {
  return {facts.ref, facts.role, facts.states, facts.name, {}, false};
}

/// Finds them in one snapshot.
class Finder {
 public:
  Finder(const Snapshot& snapshot, const std::vector<Rect>& popups)
      : snapshot_(snapshot), popups_(popups), inside_(snapshot.tree.nodes().size(), nullptr) {}

  std::vector<PopoverItem> find() {
    const auto& nodes = snapshot_.tree.nodes();
    for (size_t i = 0; i < nodes.size(); ++i) {
      notePopover(i);
      noteExpanded(nodes[i]);
      if (nodes[i].facts->is(state::showing)) {
        add(i);
      }
    }
    for (PopoverItem& item : loose_) {
      item.holder = expanded_.holder;
      item.title = expanded_.title;
      found_.push_back(std::move(item));
    }
    return std::move(found_);
  }

 private:
  const ElementFacts* parentOf(size_t index) const {
    const int parent = snapshot_.tree.nodes()[index].parent;
    return parent == ElementTree::kNone ? nullptr : snapshot_.tree[parent].facts.get();
  }

  void notePopover(size_t index) {
    const ElementTree::Node& node = snapshot_.tree.nodes()[index];
    const auto own = std::ranges::find(snapshot_.popovers, node.facts->ref, &OpenPopover::popover);
    if (own != snapshot_.popovers.end()) {
      inside_[index] = &*own;
    } else if (node.parent != ElementTree::kNone) {
      inside_[index] = inside_[static_cast<size_t>(node.parent)];
    }
  }

  void noteExpanded(const ElementTree::Node& node) {
    const ElementFacts* above = node.parent == ElementTree::kNone ? nullptr : snapshot_.tree[node.parent].facts.get();
    if (const auto opener = openerOf(*node.facts, above); opener.holder && node.facts->is(state::expanded)) {
      expanded_ = opener;
    }
  }

  /// As the opener of what it holds; empty for what opens nothing when it is clicked.
  static PopoverItem openerOf(const ElementFacts& facts, const ElementFacts* above) {
    PopoverItem opener;
    const bool isOfBar = above && above->role == role::menuBar;
    if (isOfBar || role::isOneOf<role::pushButton, role::toggleButton, role::comboBox>(facts.role)) {
      opener.holder = facts.ref;
      if (!menus::menuTitle(facts.name).empty()) {
        opener.title = itemOf(facts);
      }
    }
    return opener;
  }

  void add(size_t index) {
    const ElementFacts& facts = *snapshot_.tree.nodes()[index].facts;
    const OpenPopover* popover = inside_[index];
    const bool isItem = role::isOneOf<role::menuItem, role::checkMenuItem, role::radioMenuItem>(facts.role);
    if (popover && (isItem || facts.role == role::label)) {
      addOf(*popover, isItem ? itemOf(facts) : entryAround(index));
    } else if (isItem && facts.extents && !facts.name.empty() && std::ranges::any_of(popups_, [&](const Rect& popup) {
                 return popup.contains({facts.extents->midX(), facts.extents->midY()});
               })) {
      loose_.emplace_back().item = itemOf(facts);
    }
  }

  void addOf(const OpenPopover& popover, MenuItemFacts item) {
    if (item.name.empty() || !added_.insert(item.ref).second) {
      return;
    }
    PopoverItem found;
    if (const int opener = snapshot_.tree.find(popover.opener); opener != ElementTree::kNone) {
      const auto at = static_cast<size_t>(opener);
      found = openerOf(*snapshot_.tree[opener].facts, parentOf(at));
    }
    if (item.role == role::listItem) {
      found.steps = stepsTo(item.ref);
      found.place = snapshot_.find(item.ref)->extents;
    }
    found.item = std::move(item);
    found_.push_back(std::move(found));
  }

  /// None in a list of which nothing is selected.
  std::optional<int> stepsTo(const ElementRef& entry) const {
    const ElementFacts* list = parentOf(static_cast<size_t>(snapshot_.tree.find(entry)));
    std::optional<int> selected;
    std::optional<int> own;
    int number = 0;
    for (const ElementRef& child : list ? list->children : std::vector<ElementRef>()) {
      const FactsPointer facts = snapshot_.find(child);
      if (facts && facts->role == role::listItem) {
        selected = facts->is(state::selected) ? number : selected;
        own = child == entry ? number : own;
        ++number;
      }
    }
    return selected && own ? std::optional(*own - *selected) : std::nullopt;
  }

  /// The entry of a list that a label stands in, called what that says; without a name when it is in none.
  MenuItemFacts entryAround(size_t label) const {
    const auto& nodes = snapshot_.tree.nodes();
    for (int step = nodes[label].parent; step != ElementTree::kNone; step = snapshot_.tree[step].parent) {
      const ElementFacts& facts = *snapshot_.tree[step].facts;
      if (facts.role == role::listItem && inside_[static_cast<size_t>(step)]) {
        MenuItemFacts entry = itemOf(facts);
        entry.name = entry.name.empty() ? nodes[label].facts->name : entry.name;
        return entry;
      }
    }
    return {};
  }

  const Snapshot& snapshot_;
  const std::vector<Rect>& popups_;
  std::vector<const OpenPopover*> inside_;  ///< for each node of the tree
  PopoverItem expanded_;
  std::vector<PopoverItem> found_;
  std::vector<PopoverItem> loose_;  ///< what lies in the window of a pop-up alone
  std::unordered_set<ElementRef, ElementRefHash> added_;
};

}  // namespace

std::vector<PopoverItem> itemsOfPopovers(const Snapshot& snapshot, const std::vector<Rect>& popups) {
  return Finder(snapshot, popups).find();
}

}  // namespace jumplark::atspi
