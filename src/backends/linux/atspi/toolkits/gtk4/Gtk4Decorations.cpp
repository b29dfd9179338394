#include "backends/linux/atspi/toolkits/gtk4/Gtk4Decorations.h"

#include <algorithm>

#include "backends/linux/atspi/element/Roles.h"

namespace jumplark::atspi {

bool isGtk4Control(uint32_t number) {
  switch (number) {
    case role::pushButton:
    case role::toggleButton:
    case role::checkBox:
    case role::radioButton:
    case role::link:
    case role::menuItem:
    case role::checkMenuItem:
    case role::radioMenuItem:
    case role::pageTab:
      return true;
    default:
      return false;
  }
}

bool isPlainDecoration(uint32_t number) {
  switch (number) {
    case role::label:
    case role::staticText:
    case role::image:
    case role::icon:
    case role::panel:
    case role::filler:
    case role::separator:
      return true;
    default:
      return false;
  }
}

bool isSameText(const std::string& controlName, const std::string& labels) {
  std::string name = controlName;
  std::erase(name, '_');
  return name == labels;
}

bool isOnlyDecorated(const CachedTree& cache, const CacheItem& control) {
  const auto* children = isGtk4Control(control.role) ? cache.childrenOf(control.element) : nullptr;
  if (!children) {
    return false;
  }
  std::string labels;
  for (const ElementRef& ref : *children) {
    const CacheItem* child = cache.find(ref);
    if (!child || child->childCount != 0 || !isPlainDecoration(child->role)) {
      return false;
    }
    if (child->role == role::label && ((child->states >> static_cast<unsigned>(state::visible)) & 1U) != 0) {
      labels += (labels.empty() ? "" : " ") + child->name;
    }
  }
  return labels.empty() || isSameText(control.name, labels);
}

}  // namespace jumplark::atspi
