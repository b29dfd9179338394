#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "backends/linux/windows/WindowSystem.h"
#include "platform/Accessibility.h"

/// The buttons of a window as elements, for what its application does not tell of them.
namespace jumplark {

/// One of them; its text form names the window and what the button is for.
class WindowButtonHandle final : public ElementHandle {
 public:
  WindowButtonHandle(WindowId window, WindowButton button, ElementRef application);

  WindowId window() const { return window_; }
  WindowWish wish() const { return button_.wish; }
  const Rect& place() const { return button_.place; }
  const ElementRef& application() const { return application_; }

 private:
  WindowId window_;
  WindowButton button_;
  ElementRef application_;
};

/// Null for a reference of any other kind.
const WindowButtonHandle* windowButtonOf(const ElementRef& element);

/// Whether a person who reads this name knows a button for the wish by it, in the user's language or in English.
bool isNameOfWish(std::string_view name, WindowWish wish);

std::vector<std::string> attributeNamesOfWindowButtons();
AccessibilityResult<AttributeValue> attributeOf(const WindowButtonHandle& button, const std::string& name);

}  // namespace jumplark
