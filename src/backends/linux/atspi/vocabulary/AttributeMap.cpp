#include "backends/linux/atspi/vocabulary/AttributeMap.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "backends/linux/atspi/element/FactsWorthReading.h"
#include "backends/linux/atspi/element/Roles.h"
#include "backends/linux/atspi/vocabulary/AttributeValues.h"

namespace jumplark::atspi {

namespace {

/// One attribute: who has it, what it is read from, how.
struct Attribute {
  std::string_view name;
  facts::Set groups;
  bool (*supported)(const Subject&);
  AttributeAnswer (*read)(const Subject&);
};

struct ListAttribute {
  std::string_view name;
  bool (*supported)(const Subject&);
  ElementList (*read)(const Subject&);
};

bool everything(const Subject&) {
  return true;
}
bool isApplication(const Subject& s) {
  return s.role == "AXApplication";
}
bool isNoApplication(const Subject& s) {
  return !isApplication(s);
}
bool isTabular(const Subject& s) {
  return s.role == "AXTable" || s.role == "AXOutline";
}
bool isText(const Subject& s) {
  return s.role == "AXTextField" || s.role == "AXTextArea";
}
bool isReadableText(const Subject& s) {
  return isText(s) && AttributeText::isReadable(*s.element);
}
bool isTextField(const Subject& s) {
  return s.role == "AXTextField";
}
bool isWindow(const Subject& s) {
  return s.role == "AXWindow" || s.role == "AXSheet";
}
bool hasTitle(const Subject& s) {
  return s.role != "AXStaticText" && s.role != "AXCaption";
}
bool hasSubrole(const Subject& s) {
  return !s.vocabulary->roles.subrole(*s.element).empty();
}
bool isSelectable(const Subject& s) {
  return s.element->is(state::selectable) || s.role == "AXRow";
}
bool isExpandable(const Subject& s) {
  return s.element->is(state::expandable);
}
bool isFocusable(const Subject& s) {
  return isNoApplication(s);
}
bool isContainer(const Subject& s) {
  return isContainerRole(s.role);
}
bool mayHaveTitleElement(const Subject& s) {
  return mayBeLabelledByAnother(*s.element);
}

AttributeAnswer readRole(const Subject& s) {
  return AttributeValue(s.role);
}
AttributeAnswer readSubrole(const Subject& s) {
  return AttributeValue(s.vocabulary->roles.subrole(*s.element));
}
AttributeAnswer readParent(const Subject& s) {
  return elementOrNone(s.vocabulary->shape.parent(*s.element));
}
AttributeAnswer readWindow(const Subject& s) {
  return elementOrNone(s.vocabulary->shape.window(*s.element));
}
AttributeAnswer readFocused(const Subject& s) {
  return AttributeValue(s.element->is(state::focused));
}
AttributeAnswer readSelected(const Subject& s) {
  return AttributeValue(s.element->is(state::selected));
}
AttributeAnswer readExpanded(const Subject& s) {
  return AttributeValue(s.element->is(state::expanded));
}
AttributeAnswer readModal(const Subject& s) {
  return AttributeValue(s.element->is(state::modal));
}
AttributeAnswer readEnabled(const Subject& s) {
  return AttributeValue(s.element->is(state::enabled) || s.element->is(state::sensitive));
}
AttributeAnswer readPosition(const Subject& s) {
  const auto place = placeOf(s);
  return place ? AttributeAnswer(AttributeValue(Point{place->x, place->y}))
               : AttributeAnswer(AccessibilityError::noValue);
}
AttributeAnswer readSize(const Subject& s) {
  const auto place = placeOf(s);
  return place ? AttributeAnswer(AttributeValue(Size{place->width, place->height}))
               : AttributeAnswer(AccessibilityError::noValue);
}
AttributeAnswer readIdentifier(const Subject& s) {
  const auto element = s.vocabulary->view.with(s.element, facts::attributes);
  const auto id = element->attributes.find("id");
  return id == element->attributes.end() ? AttributeAnswer(AccessibilityError::noValue) : textOrNone(id->second);
}
AttributeAnswer readFocusedWindow(const Subject& s) {
  return elementOrNone(s.vocabulary->view.focusedWindow(s.element->ref));
}
AttributeAnswer readFocusedElement(const Subject& s) {
  return elementOrNone(s.vocabulary->view.focusedElement(s.element->ref));
}
AttributeAnswer readMenuBar(const Subject& s) {
  const View& view = s.vocabulary->view;
  return elementOrNone(view.menuBar(view.focusedWindow(s.element->ref)));
}
AttributeAnswer readVisibleRange(const Subject& s) {
  const auto range = s.vocabulary->text.visibleRange(*s.element);
  return range.ok() ? AttributeAnswer(AttributeValue(range.value)) : AttributeAnswer(range.error);
}

constexpr std::array kAttributes = {
    Attribute{"AXRole", facts::identity, everything, readRole},
    Attribute{"AXSubrole", facts::identity, hasSubrole, readSubrole},
    Attribute{"AXRoleDescription", facts::attributes | facts::localizedRole, everything, roleDescriptionOf},
    Attribute{"AXTitle", facts::texts, hasTitle, titleOf},
    Attribute{"AXTitleUIElement", facts::texts, mayHaveTitleElement, titleElementOf},
    Attribute{"AXValue", 0, hasValue, valueOf},
    Attribute{"AXDescription", facts::texts, everything, descriptionOf},
    Attribute{"AXHelp", facts::texts, isNoApplication, descriptionOf},
    Attribute{"AXPlaceholderValue", facts::attributes, isTextField, placeholderOf},
    Attribute{"AXPosition", facts::extents, isNoApplication, readPosition},
    Attribute{"AXSize", facts::extents, isNoApplication, readSize},
    Attribute{"AXParent", facts::identity, everything, readParent},
    Attribute{"AXWindow", facts::identity, isNoApplication, readWindow},
    Attribute{"AXEnabled", facts::identity, isNoApplication, readEnabled},
    Attribute{"AXFocused", facts::identity, isFocusable, readFocused},
    Attribute{"AXSelected", facts::identity, isSelectable, readSelected},
    Attribute{"AXExpanded", facts::identity, isExpandable, readExpanded},
    Attribute{"AXModal", facts::identity, isWindow, readModal},
    Attribute{"AXIdentifier", facts::attributes, everything, readIdentifier},
    Attribute{"AXFocusedWindow", facts::identity, isApplication, readFocusedWindow},
    Attribute{"AXFocusedUIElement", facts::identity, isApplication, readFocusedElement},
    Attribute{"AXMenuBar", facts::identity, isApplication, readMenuBar},
    Attribute{"AXVisibleCharacterRange", facts::identity, isReadableText, readVisibleRange},
};

ElementList readChildren(const Subject& s) {
  return s.vocabulary->shape.children(*s.element);
}
ElementList readVisibleChildren(const Subject& s) {
  return s.vocabulary->shape.visibleChildren(*s.element);
}
ElementList readVisibleRows(const Subject& s) {
  return s.vocabulary->shape.visibleRows(*s.element);
}
ElementList readWindows(const Subject& s) {
  std::vector<ElementRef> windows;
  for (const MatchedFrame& one : s.vocabulary->view.frames(s.element->ref)) {
    windows.push_back(one.frame.element);
  }
  const auto count = static_cast<int64_t>(windows.size());
  return {count, std::make_shared<const std::vector<ElementRef>>(std::move(windows))};
}

constexpr std::array kLists = {
    ListAttribute{"AXChildren", everything, readChildren},
    ListAttribute{"AXVisibleChildren", isContainer, readVisibleChildren},
    ListAttribute{"AXRows", isTabular, readChildren},
    ListAttribute{"AXVisibleRows", isTabular, readVisibleRows},
    ListAttribute{"AXWindows", isApplication, readWindows},
};

const Attribute* attributeNamed(std::string_view name) {
  const auto* const found =
      std::find_if(kAttributes.begin(), kAttributes.end(), [&](const Attribute& one) { return one.name == name; });
  return found == kAttributes.end() ? nullptr : found;
}

const ListAttribute* listNamed(std::string_view name) {
  const auto* const found =
      std::find_if(kLists.begin(), kLists.end(), [&](const ListAttribute& one) { return one.name == name; });
  return found == kLists.end() ? nullptr : found;
}

}  // namespace

std::vector<std::string> attributeNames(const Subject& subject) {
  std::vector<std::string> names;
  for (const auto& one : kAttributes) {
    if (one.supported(subject)) {
      names.emplace_back(one.name);
    }
  }
  for (const auto& one : kLists) {
    if (one.supported(subject)) {
      names.emplace_back(one.name);
    }
  }
  return names;
}

std::vector<std::string> parameterizedAttributeNames(const Subject& subject) {
  if (subject.role == "AXWebArea") {
    return {"AXUIElementsForSearchPredicate"};
  }
  return isReadableText(subject) ? std::vector<std::string>{"AXStringForRange"} : std::vector<std::string>{};
}

facts::Set groupsFor(const std::vector<std::string>& names) {
  facts::Set groups = facts::identity;
  for (const auto& name : names) {
    if (const Attribute* one = attributeNamed(name)) {
      groups |= one->groups;
    }
  }
  return groups;
}

AttributeAnswer attributeValue(const Subject& subject, std::string_view name) {
  if (const Attribute* one = attributeNamed(name)) {
    return one->supported(subject) ? one->read(subject) : AttributeAnswer(AccessibilityError::attributeUnsupported);
  }
  const ListAnswer answer = listAttribute(subject, name);
  if (!answer.list) {
    return answer.error;
  }
  const auto all = subject.vocabulary->shape.slice(*subject.element, *answer.list, 0, answer.list->count);
  if (!all.ok()) {
    return all.error;
  }
  return AttributeValue(AttributeValue::List(all.value.begin(), all.value.end()));
}

ListAnswer listAttribute(const Subject& subject, std::string_view name) {
  if (const ListAttribute* one = listNamed(name)) {
    return one->supported(subject) ? ListAnswer{AccessibilityError::success, one->read(subject)}
                                   : ListAnswer{AccessibilityError::attributeUnsupported, std::nullopt};
  }
  const Attribute* single = attributeNamed(name);
  const bool isSingle = single != nullptr && single->supported(subject);
  return {isSingle ? AccessibilityError::illegalArgument : AccessibilityError::attributeUnsupported, std::nullopt};
}

}  // namespace jumplark::atspi
