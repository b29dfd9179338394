#include "backends/linux/atspi/vocabulary/AttributeValues.h"

#include <algorithm>

#include "backends/linux/atspi/element/EmbeddedObjects.h"
#include "backends/linux/atspi/element/FactsWorthReading.h"
#include "backends/linux/atspi/element/Roles.h"
#include "backends/linux/atspi/reading/CoordinateTransform.h"
#include "backends/linux/windows/WindowSystem.h"
#include "platform/PlainText.h"
#include "platform/Utf8.h"

namespace jumplark::atspi {

namespace {

/// The element with further groups, read only now that they are needed.
FactsPointer withGroups(const Subject& subject, facts::Set groups) {
  return subject.vocabulary->view.with(subject.element, groups);
}

std::string textOf(const Subject& subject) {
  if (!AttributeText::isReadable(*subject.element)) {
    return {};
  }
  const auto element = withGroups(subject, facts::text);
  return withoutObjects(element->shortText);
}

AttributeAnswer checkedState(const ElementFacts& element) {
  if (element.is(state::indeterminate)) {
    return AttributeValue(2);
  }
  return AttributeValue(element.is(state::checked) || element.is(state::pressed) ? 1 : 0);
}

AttributeAnswer numberOf(const Subject& subject) {
  const auto element = withGroups(subject, facts::value);
  return element->currentValue ? AttributeAnswer(AttributeValue(*element->currentValue))
                               : AttributeAnswer(AccessibilityError::noValue);
}

/// A static text shows its text. Where only its name is known already and says something, that is the same text
/// without a message.
AttributeAnswer shownText(const Subject& subject) {
  const auto element = withGroups(subject, facts::texts);
  if (!element->has(facts::text) && !isBlank(element->name)) {
    return AttributeValue(element->name);
  }
  const std::string text = textOf(subject);
  return textOrNone(isBlank(text) ? element->name : text);
}

/// GTK 3 names a box after the first text of the chosen row, be it the name of an icon.
std::string nameOf(const ElementFacts& element) {
  const bool isIcon = element.role == role::comboBox && element.name.ends_with("-symbolic");
  return isIcon ? std::string() : element.name;
}

AttributeAnswer comboValue(const Subject& subject) {
  const std::string own = textOf(subject);
  if (!isBlank(own)) {
    return AttributeValue(own);
  }
  if (subject.role == "AXComboBox") {
    constexpr size_t kMostParts = 16;
    for (const auto& part : subject.vocabulary->view.childrenOf(*subject.element, facts::identity, kMostParts)) {
      if (!part || !isTextEntry(*part) || !AttributeText::isReadable(*part)) {
        continue;
      }
      const auto entry = subject.vocabulary->view.with(part, facts::text);
      if (!isBlank(entry->shortText)) {
        return AttributeValue(withoutObjects(entry->shortText));
      }
    }
    return AccessibilityError::noValue;
  }
  return textOrNone(nameOf(*withGroups(subject, facts::texts)));
}

/// The text of a cell whose name does not say it already.
AttributeAnswer cellText(const Subject& subject) {
  const auto element = withGroups(subject, facts::texts);
  if (!isBlank(element->name) && !isNamedByPlace(*element)) {
    return AccessibilityError::noValue;
  }
  const std::string text = textOf(subject);
  return text == element->name ? AttributeAnswer(AccessibilityError::noValue) : textOrNone(text);
}

/// Which kind of value an element has.
enum class ValueKind { none, checked, selected, expanded, number, entry, shown, combo, cell };

ValueKind buttonKind(const ElementFacts& element) {
  const bool isToggle =
      element.role == role::toggleButton || element.is(state::pressed) || element.is(state::checkable);
  return isToggle ? ValueKind::checked : ValueKind::none;
}

ValueKind valueKind(const Subject& subject) {
  const ElementFacts& element = *subject.element;
  const std::string_view role = subject.role;
  if (element.role == role::passwordText) {
    return ValueKind::none;
  }
  if (element.role == role::pageTab) {
    return ValueKind::selected;
  }
  if (role == "AXCheckBox" || role == "AXRadioButton" || element.role == role::radioMenuItem ||
      (element.is(state::checkable) && (role == "AXMenuItem" || role == "AXCell"))) {
    return ValueKind::checked;
  }
  if (role == "AXButton" || role == "AXMenuButton" || role == "AXDockItem") {
    return buttonKind(element);
  }
  if (role == "AXDisclosureTriangle") {
    return ValueKind::expanded;
  }
  if (role == "AXTextField" || role == "AXTextArea") {
    return ValueKind::entry;
  }
  if (role == "AXStaticText" || role == "AXCaption") {
    return ValueKind::shown;
  }
  if (role == "AXComboBox" || role == "AXPopUpButton") {
    return ValueKind::combo;
  }
  if (role == "AXCell" && AttributeText::isReadable(element)) {
    return ValueKind::cell;
  }
  // An entry of a menu in a Java program has a number that nobody sees.
  const bool counts = (element.interfaces & interface_bit::value) != 0 && role != "AXMenuItem";
  return counts ? ValueKind::number : ValueKind::none;
}

}  // namespace

AttributeAnswer textOrNone(const std::string& text) {
  return isBlank(text) ? AttributeAnswer(AccessibilityError::noValue) : AttributeAnswer(AttributeValue(text));
}

AttributeAnswer elementOrNone(const ElementRef& element) {
  return element ? AttributeAnswer(AttributeValue(element)) : AttributeAnswer(AccessibilityError::noValue);
}

AttributeAnswer titleOf(const Subject& subject) {
  const auto element = withGroups(subject, facts::texts);
  if (const std::string name = nameOf(*element); !isBlank(name) || !mayBeLabelledByAnother(*element)) {
    return textOrNone(name);
  }
  const auto related = withGroups(subject, facts::relations);
  for (const auto& caption : related->labelledBy) {
    const auto label = subject.vocabulary->view.get(caption, facts::texts);
    if (label && !isBlank(label->name)) {
      return AttributeValue(label->name);
    }
  }
  return AccessibilityError::noValue;
}

AttributeAnswer titleElementOf(const Subject& subject) {
  const auto element = withGroups(subject, facts::texts);
  if (!mayBeLabelledByAnother(*element)) {
    return AccessibilityError::noValue;
  }
  const auto related = withGroups(subject, facts::relations);
  return elementOrNone(related->labelledBy.empty() ? ElementRef() : related->labelledBy.front());
}

AttributeAnswer descriptionOf(const Subject& subject) {
  const auto element = withGroups(subject, facts::texts);
  // An entry's title is not among its searched texts: a name of its own, which no caption shows, stands here.
  const bool isEntry = subject.role == "AXTextField" || subject.role == "AXTextArea";
  return textOrNone(isEntry && isBlank(element->description) ? element->name : withoutMarkUp(element->description));
}

AttributeAnswer placeholderOf(const Subject& subject) {
  const auto element = withGroups(subject, facts::attributes);
  for (const char* key : {"placeholder-text", "placeholder"}) {
    const auto found = element->attributes.find(key);
    if (found != element->attributes.end() && !isBlank(found->second)) {
      return AttributeValue(found->second);
    }
  }
  return AccessibilityError::noValue;
}

AttributeAnswer roleDescriptionOf(const Subject& subject) {
  const auto element = withGroups(subject, facts::attributes | facts::localizedRole);
  const auto own = element->attributes.find("roledescription");
  return textOrNone(own != element->attributes.end() && !isBlank(own->second) ? own->second : element->localizedRole);
}

bool hasValue(const Subject& subject) {
  return valueKind(subject) != ValueKind::none;
}

AttributeAnswer valueOf(const Subject& subject) {
  switch (valueKind(subject)) {
    case ValueKind::checked:
      return checkedState(*subject.element);
    case ValueKind::selected:
      return AttributeValue(subject.element->is(state::selected) ? 1 : 0);
    case ValueKind::expanded:
      return AttributeValue(subject.element->is(state::expanded) ? 1 : 0);
    case ValueKind::number:
      return numberOf(subject);
    case ValueKind::entry: {
      const std::string text = textOf(subject);
      const bool counts = (subject.element->interfaces & interface_bit::value) != 0;
      return isBlank(text) && counts ? numberOf(subject) : textOrNone(text);
    }
    case ValueKind::shown:
      return shownText(subject);
    case ValueKind::combo:
      return comboValue(subject);
    case ValueKind::cell:
      return cellText(subject);
    case ValueKind::none:
      break;
  }
  return AccessibilityError::attributeUnsupported;
}

namespace {

/// The arrow at the left of the first line. The rest of what an expander covers does not answer to a press: the space
/// beside its label, and what it discloses.
Rect placeOfTriangle(const Subject& subject, Rect place) {
  constexpr double kTallestLine = 40;
  constexpr auto kGroups = facts::identity | facts::extents;
  for (const auto& content : subject.vocabulary->view.childrenOf(*subject.element, kGroups)) {
    if (content && content->is(state::showing) && content->extents && content->extents->y > place.y) {
      place.height = std::min(place.height, content->extents->y - place.y);
    }
  }
  place.height = std::min(place.height, kTallestLine);
  place.width = std::min(place.width, place.height);
  return place;
}

}  // namespace

std::optional<Rect> placeOf(const Subject& subject) {
  // Toolkits count a border of what holds a thing or do not.
  constexpr double kBorder = 2;
  if (subject.role == "AXWindow") {
    const auto window = subject.vocabulary->frames.windowOf(subject.element->ref, subject.element->parent);
    if (window) {
      return window->visible();
    }
  }
  const auto element = withGroups(subject, facts::extents);
  if (!element->extents) {
    return std::nullopt;
  }
  const TreeShape& shape = subject.vocabulary->shape;
  const bool isTriangle = subject.role == "AXDisclosureTriangle";
  const Rect place = isTriangle ? placeOfTriangle(subject, *element->extents) : *element->extents;
  // What is scrolled half out of sight covers, by its own account, what stands around that.
  const bool isThing = !isContainerRole(subject.role);
  const Rect seen = intersection(place, isThing ? shape.sight(*element) : shape.documentClip(*element));
  const bool isWhole = isNear(seen.minX(), place.minX(), kBorder) && isNear(seen.minY(), place.minY(), kBorder) &&
                       isNear(seen.maxX(), place.maxX(), kBorder) && isNear(seen.maxY(), place.maxY(), kBorder);
  return seen.width > 0 && seen.height > 0 && !isWhole ? seen : place;
}

}  // namespace jumplark::atspi
