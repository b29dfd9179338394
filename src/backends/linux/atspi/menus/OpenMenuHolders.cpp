// What of OpenMenus is about what has opened the menus.
#include <utility>

#include "backends/linux/atspi/element/Roles.h"
#include "backends/linux/atspi/menus/MenuRoles.h"
#include "backends/linux/atspi/menus/OpenMenus.h"

namespace jumplark::atspi {

using namespace menu_role;

// A box that was not known before says that it holds the menu in a window.
void OpenMenus::findHolders() {
  std::vector<size_t> menus;
  std::vector<ElementRef> elements;
  for (size_t node = std::exchange(withHolders_, nodes_.size()); node < nodes_.size(); ++node) {
    const Node& one = nodes_[node];
    if (one.kind == Kind::container && one.head == Kind::application && opensByItself(one.facts.role)) {
      menus.push_back(node);
      elements.push_back(one.facts.ref);
    }
  }
  const auto holders = facts_.read(elements.empty() ? elements : facts_.parents(elements));
  for (size_t i = 0; i < holders.size(); ++i) {
    if (holders[i] && (holders[i]->role == role::comboBox || isButton(holders[i]->role))) {
      const int above = nodes_[menus[i]].parent;
      const bool isOnlyAround = above >= 0 && nodes_[static_cast<size_t>(above)].facts.ref == holders[i]->ref;
      const auto box = [&] { return heads_.boxOf ? heads_.boxOf(nodes_[menus[i]].facts.ref) : ElementRef(); };
      nodes_[menus[i]].holder = isOnlyAround ? box() : holders[i]->ref;
      nodes_[menus[i]].isLoose = isOnlyAround;
    }
  }
}

std::optional<Point> OpenMenus::boxOf(int node) const {
  constexpr double kInto = 8;
  for (int step = node; step >= 0; step = nodes_[static_cast<size_t>(step)].parent) {
    if (nodes_[static_cast<size_t>(step)].isLoose && !heads_.popups.empty()) {
      const Rect& list = heads_.popups.front();
      return Point{list.x + kInto, list.y - kInto};
    }
  }
  return std::nullopt;
}

ElementRef OpenMenus::holderOf(int node) const {
  ElementRef holder;
  for (int step = node; step >= 0; step = nodes_[static_cast<size_t>(step)].parent) {
    const Node& one = nodes_[static_cast<size_t>(step)];
    if (one.holder) {
      return one.holder;
    }
    if (one.kind == Kind::holder || (one.kind == Kind::item && one.head == Kind::bar)) {
      holder = one.facts.ref;
    }
  }
  if (holder || opener_) {
    return holder ? holder : opener_;
  }
  return mayBeOfPointed(node) ? heads_.pointedAt : ElementRef();
}

bool OpenMenus::mayBeOfPointed(int node) const {
  const Node& item = nodes_[static_cast<size_t>(node)];
  return item.isPanel || isEntry(item.facts.role);
}

}  // namespace jumplark::atspi
