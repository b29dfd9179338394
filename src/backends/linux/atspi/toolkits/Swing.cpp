#include "backends/linux/atspi/toolkits/Swing.h"

#include <fmt/format.h>

#include <filesystem>
#include <utility>

#include "backends/linux/atspi/element/Roles.h"
#include "backends/linux/atspi/reading/Corrections.h"
#include "backends/linux/atspi/toolkits/ControlParts.h"
#include "backends/linux/atspi/toolkits/LoadedLibraries.h"
#include "platform/Texts.h"
#include "platform/Utf8.h"

namespace jumplark::atspi {
namespace {

/// Of a line of text, which every look of Swing's makes higher.
constexpr double kHeaderHeight = 14;
constexpr int64_t kMostEntries = 60;
constexpr const char* kWrapper = "/usr/share/java/java-atk-wrapper.jar";

bool isWindow(const ElementFacts& element) {
  return element.role == role::frame || element.role == role::dialog || element.role == role::window;
}

/// Every launcher, also one that a program brings along, loads the machine from this library.
bool holdsJavaMachine(int32_t pid) {
  return !loadedLibrary(pid, "libjvm.so").empty();
}

/// `ref` and all entries in it become children of the tree, in the order in which they show.
void reparentEntry(const ElementRef& ref, ElementFacts& tree, ElementDraft& elements) {
  ElementFacts* entry = elements.find(ref);
  if (!entry) {
    return;
  }
  tree.children.push_back(ref);
  entry->parent = tree.ref;
  if (entry->role == role::label) {
    entry->childCount = 0;
    for (const ElementRef& child : std::exchange(entry->children, {})) {
      reparentEntry(child, tree, elements);
    }
  }
}

}  // namespace

std::optional<Rect> Swing::placeTold(const Rect& reported, Point offset) const {
  if (reported.height != 0) {
    return screenExtents(reported, offset);
  }
  auto place = screenExtents({reported.x, reported.y, reported.width, kHeaderHeight}, offset);
  if (place) {
    place->height = 0;
  }
  return place;
}

void Swing::settlePlace(ElementFacts& element) const {
  if (!element.extents) {
    return;
  }
  const bool isFlat = element.extents->height == 0;
  const bool mayBeHeader = element.role == role::label && !(element.has(facts::texts) && isBlank(element.name));
  if (isWindow(element) || (isFlat && !mayBeHeader)) {
    element.extents.reset();
  } else if (isFlat) {
    element.extents->height = kHeaderHeight;
  }
}

bool Swing::isMisplaced(const ElementFacts& /*element*/, const ElementFacts& parent) const {
  return parent.role == role::pageTab;
}

int64_t Swing::mostChildren(const ElementFacts& container) const {
  return container.role == role::list ? kMostEntries : Toolkit::mostChildren(container);
}

bool Swing::isLeaf(uint32_t number) const {
  return number == role::spinButton;
}

void Swing::correctPlaces(Reading& reading) const {
  for (const auto& [ref, element] : reading.elements) {
    const ElementFacts* content =
        element->children.empty() ? nullptr : reading.elements.find(element->children.front());
    if (isWindow(*element) && element->is(state::showing) && !element->extents && content) {
      element->extents = content->extents;
    }
    const ElementFacts* tab = reading.elements.find(element->parent);
    const ElementFacts* tabs = tab && tab->role == role::pageTab ? reading.elements.find(tab->parent) : nullptr;
    if (tabs && tab->extents && tabs->extents) {
      reading.transform.move(*element, {tabs->extents->x - tab->extents->x, tabs->extents->y - tab->extents->y});
    }
  }
}

void Swing::reparent(ElementDraft& elements) const {
  for (const auto& [ref, element] : elements) {
    if (element->role == role::tree && !element->children.empty()) {
      for (const ElementRef& child : std::exchange(element->children, {})) {
        reparentEntry(child, *element, elements);
      }
      element->childCount = static_cast<int64_t>(element->children.size());
    }
  }
}

void Swing::addParts(Reading& reading) const {
  for (const ElementFacts* field : shownOf(reading.elements, role::isOneOf<role::spinButton>)) {
    addStackedSteppers(reading, *field);
  }
  const double handle = 20 * unitOf(reading);
  for (const ElementFacts* entry : shownOf(reading.elements, role::isOneOf<role::label>)) {
    const ElementFacts* tree = reading.elements.find(entry->parent);
    if (tree && tree->role == role::tree && entry->is(state::expandable)) {
      addTriangle(reading, *entry, {entry->extents->x - handle, entry->extents->y, handle, entry->extents->height});
    }
  }
}

std::string Swing::adviceForSilent(int32_t pid, const Snapshot* snapshot) const {
  if (snapshot || !holdsJavaMachine(pid)) {
    return {};
  }
  const std::string switchOn = fmt::format(
      "JAVA_TOOL_OPTIONS='-Djavax.accessibility.assistive_technologies=org.GNOME.Accessibility.AtkWrapper "
      "-Xbootclasspath/a:{}'",
      kWrapper);
  std::error_code error;
  return std::filesystem::exists(kWrapper, error)
             ? localizedFormat(
                   "Java programs show what they hold only with the Java ATK wrapper: start it again with this in its "
                   "environment: {}",
                   switchOn)
             : localizedFormat(
                   "Java programs show what they hold only with the Java ATK wrapper: install it (on Debian the "
                   "package libatk-wrapper-java-jni), and start the program again with this in its environment: {}",
                   switchOn);
}

}  // namespace jumplark::atspi
