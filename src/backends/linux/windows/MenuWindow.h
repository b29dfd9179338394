#pragma once

#include "backends/linux/windows/WindowSystem.h"

namespace jumplark {

/// An open menu or list. Many do not say what they are.
inline bool isMenuWindow(const WindowFacts& window) {
  switch (window.type) {
    case WindowType::toolTip:
    case WindowType::dock:
    case WindowType::desktop:
    case WindowType::splash:
    case WindowType::notification:
      return false;
    default:
      return window.isPopup;
  }
}

}  // namespace jumplark
