#include "backends/linux/atspi/vocabulary/RoleMap.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <unordered_map>

#include "backends/linux/atspi/bus/AtspiCalls.h"
#include "backends/linux/atspi/element/Clip.h"
#include "backends/linux/atspi/element/EmbeddedObjects.h"
#include "backends/linux/atspi/element/FactsWorthReading.h"
#include "backends/linux/atspi/element/Roles.h"
#include "backends/linux/windows/WindowSystem.h"
#include "platform/Utf8.h"

namespace jumplark::atspi {

namespace {

/// How a role number becomes an "AX" role.
enum class Kind {
  fixed,
  window,
  button,
  combo,
  menu,
  text,
  label,
  icon,
  image,
  row,
  prose,
  status,
  container,
  unknown
};

struct Rule {
  Kind kind;
  std::string_view axRole;  ///< for Kind::fixed
};

const std::unordered_map<uint32_t, Rule>& rules() {
  static const std::unordered_map<uint32_t, Rule> table = {
      {role::application, {Kind::fixed, "AXApplication"}},
      {role::frame, {Kind::window, {}}},
      {role::window, {Kind::window, {}}},
      {role::dialog, {Kind::window, {}}},
      {role::alert, {Kind::window, {}}},
      {role::fileChooser, {Kind::window, {}}},
      {role::colorChooser, {Kind::window, {}}},
      {role::fontChooser, {Kind::window, {}}},
      {role::pushButton, {Kind::button, {}}},
      {role::pushButtonMenu, {Kind::button, {}}},
      {role::toggleButton, {Kind::button, {}}},
      {role::checkBox, {Kind::fixed, "AXCheckBox"}},
      {role::checkMenuItem, {Kind::fixed, "AXCheckBox"}},
      {role::switchRole, {Kind::fixed, "AXCheckBox"}},
      {role::radioButton, {Kind::fixed, "AXRadioButton"}},
      {role::pageTab, {Kind::fixed, "AXRadioButton"}},
      {role::pageTabList, {Kind::fixed, "AXTabGroup"}},
      {role::entry, {Kind::text, {}}},
      {role::text, {Kind::text, {}}},
      {role::editbar, {Kind::text, {}}},
      {role::autocomplete, {Kind::text, {}}},
      {role::passwordText, {Kind::fixed, "AXTextField"}},
      {role::spinButton, {Kind::fixed, "AXTextField"}},
      {role::dateEditor, {Kind::fixed, "AXTextField"}},
      {role::terminal, {Kind::fixed, "AXTextArea"}},
      {role::label, {Kind::label, {}}},
      {role::staticText, {Kind::fixed, "AXStaticText"}},
      {role::heading, {Kind::fixed, "AXStaticText"}},
      {role::link, {Kind::fixed, "AXLink"}},
      {role::image, {Kind::image, {}}},
      {role::imageMap, {Kind::image, {}}},
      {role::icon, {Kind::icon, {}}},
      {role::desktopIcon, {Kind::icon, {}}},
      {role::slider, {Kind::fixed, "AXSlider"}},
      {role::dial, {Kind::fixed, "AXSlider"}},
      {role::rating, {Kind::fixed, "AXSlider"}},
      {role::comboBox, {Kind::combo, {}}},
      {role::menuBar, {Kind::fixed, "AXMenuBar"}},
      {role::menu, {Kind::menu, {}}},
      {role::menuItem, {Kind::menu, {}}},
      {role::radioMenuItem, {Kind::menu, {}}},
      {role::tearoffMenuItem, {Kind::menu, {}}},
      {role::popupMenu, {Kind::fixed, "AXMenu"}},
      {role::table, {Kind::fixed, "AXTable"}},
      {role::documentSpreadsheet, {Kind::fixed, "AXTable"}},
      {role::tree, {Kind::fixed, "AXOutline"}},
      {role::treeTable, {Kind::fixed, "AXOutline"}},
      {role::tableRow, {Kind::row, {}}},
      {role::listItem, {Kind::row, {}}},
      {role::treeItem, {Kind::row, {}}},
      {role::tableCell, {Kind::fixed, "AXCell"}},
      {role::columnHeader, {Kind::fixed, "AXCell"}},
      {role::rowHeader, {Kind::fixed, "AXCell"}},
      {role::tableColumnHeader, {Kind::fixed, "AXCell"}},
      {role::tableRowHeader, {Kind::fixed, "AXCell"}},
      {role::list, {Kind::fixed, "AXList"}},
      {role::listBox, {Kind::fixed, "AXList"}},
      {role::scrollPane, {Kind::fixed, "AXScrollArea"}},
      {role::viewport, {Kind::fixed, "AXScrollArea"}},
      {role::toolBar, {Kind::fixed, "AXToolbar"}},
      {role::splitPane, {Kind::fixed, "AXSplitGroup"}},
      {role::documentWeb, {Kind::fixed, "AXWebArea"}},
      {role::documentEmail, {Kind::fixed, "AXWebArea"}},
      {role::scrollBar, {Kind::fixed, "AXScrollBar"}},
      {role::progressBar, {Kind::fixed, "AXProgressIndicator"}},
      {role::levelBar, {Kind::fixed, "AXLevelIndicator"}},
      {role::separator, {Kind::fixed, "AXSplitter"}},
      {role::toolTip, {Kind::fixed, "AXHelpTag"}},
      {role::statusBar, {Kind::status, {}}},
      {role::paragraph, {Kind::prose, {}}},
      {role::section, {Kind::prose, {}}},
      {role::caption, {Kind::prose, {}}},
      {role::blockQuote, {Kind::prose, {}}},
      {role::comment, {Kind::prose, {}}},
      {role::definition, {Kind::prose, {}}},
      {role::descriptionTerm, {Kind::prose, {}}},
      {role::descriptionValue, {Kind::prose, {}}},
      {role::footnote, {Kind::prose, {}}},
      {role::contentDeletion, {Kind::prose, {}}},
      {role::contentInsertion, {Kind::prose, {}}},
      {role::mark, {Kind::prose, {}}},
      {role::suggestion, {Kind::prose, {}}},
      {role::subscript, {Kind::prose, {}}},
      {role::superscript, {Kind::prose, {}}},
      {role::unknown, {Kind::unknown, {}}},
      {role::invalid, {Kind::unknown, {}}},
      {role::extended, {Kind::unknown, {}}},
      {role::embedded, {Kind::unknown, {}}},
      {role::redundantObject, {Kind::unknown, {}}},
  };
  return table;
}

bool implements(const ElementFacts& element, uint32_t interface) {
  return (element.interfaces & interface) != 0;
}

/// False for what is known to say nothing.
bool mayBeText(const ElementFacts& element) {
  return implements(element, interface_bit::text) &&
         !(element.has(facts::text | facts::texts) && isBlank(element.name) && isBlank(element.shortText));
}

}  // namespace

bool RoleMap::holdsWords(const ElementFacts& element) {
  return isHypertext(element) && element.has(facts::text) && !isBlank(withoutObjects(element.shortText));
}

std::string_view RoleMap::role(const ElementFacts& element) const {
  // What is not known whole may yet turn out to be another.
  constexpr facts::Set kWhole = facts::identity | facts::texts | facts::extents | facts::children;
  return element.has(kWhole) ? view_.once(element.ref, &Findings::role, [&] { return roleOf(element); })
                             : roleOf(element);
}

std::string_view RoleMap::roleOf(const ElementFacts& element) const {
  if (element.isCaption || element.isNoChoice) {
    return element.isCaption ? "AXCaption" : "AXGroup";
  }
  const auto rule = rules().find(element.role);
  switch (rule == rules().end() ? Kind::container : rule->second.kind) {
    case Kind::fixed:
      return rule->second.axRole;
    case Kind::window:
      return windowRole(element);
    case Kind::button:
      return buttonRole(element);
    case Kind::combo:
      return comboRole(element);
    case Kind::menu:
      return menuRole(element);
    case Kind::text:
      return element.is(state::multiLine) ? "AXTextArea" : "AXTextField";
    case Kind::label:
      return isEntry(element) ? "AXCell" : "AXStaticText";
    case Kind::image:
      return "AXImage";
    case Kind::icon:
      return iconRole(element);
    case Kind::row:
      return !hasChildren(element) ? "AXCell" : holdsWords(element) ? "AXStaticText" : "AXRow";
    case Kind::prose:
      return holdsWords(element) || (mayBeText(element) && !hasChildren(element)) ? "AXStaticText"
                                                                                  : containerRole(element);
    case Kind::status:
      return hasChildren(element) || (element.has(facts::texts) && isBlank(element.name)) ? containerRole(element)
                                                                                          : "AXStaticText";
    case Kind::unknown:
      if (hasChildren(element)) {
        return containerRole(element);
      }
      return element.is(state::focusable) ? buttonRole(element) : "AXUnknown";
    case Kind::container:
      break;
  }
  return containerRole(element);
}

std::string_view RoleMap::subrole(const ElementFacts& element) const {
  if (element.role == role::passwordText) {
    return "AXSecureTextField";
  }
  // Browsers of the Gecko family put their page into one once it begins to tell of itself.
  if (element.role == role::internalFrame) {
    return "AXPageFrame";
  }
  const std::string_view axRole = role(element);
  if (axRole == "AXWindow") {
    return element.role == role::frame || element.role == role::window ? "AXStandardWindow" : "AXDialog";
  }
  if (axRole != "AXTextField" || element.role == role::spinButton) {
    return {};
  }
  FactsPointer reread;
  const ElementFacts* holder = &element;
  if (!element.has(facts::attributes)) {
    reread = view_.get(element.ref, facts::attributes);
    if (!reread) {
      return {};
    }
    holder = reread.get();
  }
  const auto& attributes = holder->attributes;
  const auto type = attributes.find("text-input-type");
  const auto aria = attributes.find("xml-roles");
  const bool isSearch = (type != attributes.end() && type->second == "search") ||
                        (aria != attributes.end() && aria->second.find("searchbox") != std::string::npos);
  return isSearch ? "AXSearchField" : std::string_view{};
}

bool RoleMap::isTopLevel(const ElementFacts& element) const {
  if (!element.parent) {
    return element.role != role::application;
  }
  const auto parent = view_.parentOf(element);
  return !parent || parent->role == role::application;
}

std::string_view RoleMap::windowRole(const ElementFacts& element) const {
  if (isTopLevel(element)) {
    return "AXWindow";
  }
  const bool isDialog = element.role != role::frame && element.role != role::window;
  return isDialog && element.is(state::modal) ? "AXSheet" : containerRole(element);
}

std::string_view RoleMap::buttonRole(const ElementFacts& element) const {
  if (isUnderPanelFrame(element)) {
    return "AXDockItem";
  }
  if (element.role == role::pushButtonMenu || element.is(state::hasPopup)) {
    return "AXMenuButton";
  }
  return isDisclosure(element) ? "AXDisclosureTriangle" : "AXButton";
}

std::string_view RoleMap::comboRole(const ElementFacts& element) const {
  if (element.is(state::editable)) {
    return "AXComboBox";
  }
  constexpr size_t kMostParts = 16;  // a combo box holds an entry, a button and its list
  const auto parts = view_.childrenOf(element, facts::identity, kMostParts);
  const bool isEditable = std::any_of(parts.begin(), parts.end(), [](const FactsPointer& part) {
    return part && (part->is(state::editable) || part->role == role::entry);
  });
  return isEditable ? "AXComboBox" : "AXPopUpButton";
}

std::string_view RoleMap::menuRole(const ElementFacts& element) const {
  const auto parent = view_.parentOf(element);
  const uint32_t above = parent ? parent->role : role::invalid;
  if (above == role::menuBar) {
    return "AXMenuBarItem";
  }
  // A menu that stands in another one is the entry that opens it; any other is the open menu itself.
  constexpr std::array kMenuHolders = {role::menu, role::popupMenu, role::menuItem};
  const bool isEntry =
      element.role != role::menu || std::find(kMenuHolders.begin(), kMenuHolders.end(), above) != kMenuHolders.end();
  return isEntry ? "AXMenuItem" : "AXMenu";
}

std::string_view RoleMap::iconRole(const ElementFacts& element) const {
  // Icon views and desktops give their entries this role, and so do plain pictures, which cannot be selected.
  if (element.is(state::selectable) || element.role == role::desktopIcon) {
    return hasChildren(element) ? "AXRow" : "AXCell";
  }
  if (element.has(facts::extents)) {
    return hasArea(element) ? "AXImage" : "AXUnknown";
  }
  const auto reread = view_.get(element.ref, facts::extents);
  return reread && hasArea(*reread) ? "AXImage" : "AXUnknown";
}

std::string_view RoleMap::containerRole(const ElementFacts& element) const {
  return holdsRadioButtons(element) ? "AXRadioGroup" : "AXGroup";
}

bool RoleMap::isEntry(const ElementFacts& label) const {
  // Only what can be pressed, or stands in a table, is worth the question what it stands in.
  if (!implements(label, interface_bit::action) && !implements(label, interface_bit::tableCell)) {
    return false;
  }
  const auto above = view_.parentOf(label);
  constexpr std::array kHolders = {role::list, role::table, role::tree, role::treeTable};
  return above && (std::find(kHolders.begin(), kHolders.end(), above->role) != kHolders.end() ||
                   (above->role == role::label && hasChildren(*above)));
}

bool RoleMap::hasChildren(const ElementFacts& element) const {
  if (element.has(facts::children)) {
    return element.childCount > 0 || !element.children.empty();
  }
  const auto reread = view_.get(element.ref, facts::children);
  return reread && (reread->childCount > 0 || !reread->children.empty());
}

bool RoleMap::holdsRadioButtons(const ElementFacts& element) const {
  const auto children = view_.childrenOf(element, facts::identity);
  int found = 0;
  return std::any_of(children.begin(), children.end(), [&found](const FactsPointer& child) {
    return child && child->role == role::radioButton && ++found == 2;
  });
}

bool RoleMap::ownsPanel(const AtspiHandle& element) const {
  const auto windows = windows_.windowsFrontToBack();
  return std::any_of(windows.begin(), windows.end(), [&](const WindowFacts& window) {
    const bool isPanel = window.type == WindowType::dock && window.pid >= 0;
    const ElementRef application = isPanel ? view_.application(window.pid) : ElementRef();
    return handleOf(application) && handleOf(application)->busName() == element.busName();
  });
}

bool RoleMap::isUnderPanelFrame(const ElementFacts& element) const {
  const AtspiHandle& handle = *handleOf(element.ref);
  const SnapshotPointer last = view_.lastOf(element.ref);
  std::vector<MatchedFrame> panels;
  if (last) {
    panels = last->frames;
  } else if (ownsPanel(handle)) {
    panels = view_.frames(calls::applicationOf(handle));
  }
  std::erase_if(panels, [](const MatchedFrame& one) { return one.window.type != WindowType::dock; });
  const auto isPanel = [&](const ElementFacts& above) {
    return std::any_of(panels.begin(), panels.end(), [&](const auto& one) { return one.frame.element == above.ref; });
  };
  return !panels.empty() && view_.findAbove(element, facts::identity, isPanel) != nullptr;
}

bool isContainerRole(std::string_view axRole) {
  static constexpr std::array kContainers = {
      std::string_view("AXGroup"),      std::string_view("AXScrollArea"), std::string_view("AXToolbar"),
      std::string_view("AXWindow"),     std::string_view("AXSheet"),      std::string_view("AXList"),
      std::string_view("AXTabGroup"),   std::string_view("AXRow"),        std::string_view("AXSplitGroup"),
      std::string_view("AXRadioGroup"), std::string_view("AXTable"),      std::string_view("AXOutline"),
      std::string_view("AXMenu"),       std::string_view("AXWebArea"),    std::string_view("AXMenuBar"),
  };
  return std::find(kContainers.begin(), kContainers.end(), axRole) != kContainers.end();
}

}  // namespace jumplark::atspi
