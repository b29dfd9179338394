#include "backends/linux/windows/WindowButtons.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "platform/Texts.h"

namespace jumplark {
namespace {

/// What a button is called, and how else English writes that.
struct Names {
  const char* title;
  const char* otherwise;
};

Names namesOf(WindowWish wish) {
  switch (wish) {
    case WindowWish::close:
      return {textForLater("Close"), nullptr};
    case WindowWish::minimise:
      return {textForLater("Minimise"), textForLater("Minimize")};
    case WindowWish::maximise:
      return {textForLater("Maximise"), textForLater("Maximize")};
    case WindowWish::restore:
      break;
  }
  return {textForLater("Restore"), nullptr};
}

bool isAlike(std::string_view a, std::string_view b) {
  const auto small = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c; };
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [&](char x, char y) { return small(x) == small(y); });
}

}  // namespace

WindowButtonHandle::WindowButtonHandle(WindowId window, WindowButton button, ElementRef application)
    : ElementHandle(fmt::format("window/{:x}/{}", window.low ^ window.high, namesOf(button.wish).title)),
      window_(window),
      button_(button),
      application_(std::move(application)) {}

const WindowButtonHandle* windowButtonOf(const ElementRef& element) {
  return dynamic_cast<const WindowButtonHandle*>(element.get());
}

bool isNameOfWish(std::string_view name, WindowWish wish) {
  const Names names = namesOf(wish);
  for (const char* known : {names.title, names.otherwise}) {
    if (known && (isAlike(name, known) || isAlike(name, localized(known)))) {
      return true;
    }
  }
  return false;
}

std::vector<std::string> attributeNamesOfWindowButtons() {
  return {"AXRole", "AXTitle", "AXDescription", "AXPosition", "AXSize", "AXParent"};
}

AccessibilityResult<AttributeValue> attributeOf(const WindowButtonHandle& button, const std::string& name) {
  const Names names = namesOf(button.wish());
  const Rect& place = button.place();
  if (name == "AXRole") {
    return AttributeValue(std::string(kWindowButtonRole));
  }
  if (name == "AXTitle") {
    return AttributeValue(std::string(localized(names.title)));
  }
  if (name == "AXDescription") {
    return names.otherwise
               ? AccessibilityResult<AttributeValue>(AttributeValue(std::string(localized(names.otherwise))))
               : AccessibilityError::noValue;
  }
  if (name == "AXPosition") {
    return AttributeValue(Point{place.x, place.y});
  }
  if (name == "AXSize") {
    return AttributeValue(Size{place.width, place.height});
  }
  if (name == "AXParent") {
    return AttributeValue(button.application());
  }
  return AccessibilityError::attributeUnsupported;
}

}  // namespace jumplark
