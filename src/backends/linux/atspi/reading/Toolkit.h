#pragma once

#include <string>

#include "backends/linux/atspi/element/ElementFacts.h"

namespace jumplark::atspi {

/// Families of toolkits whose trees are read differently.
/// Swing stands for every Java program whose accessibility the ATK wrapper tells.
enum class ToolkitFamily { gtk3, gtk4, qt, chromium, swing, other };

/// What an application said about the library that draws it, and which ways there are to read its tree.
struct Toolkit {
  ToolkitFamily family = ToolkitFamily::other;
  std::string name;
  std::string version;
  std::string peerAddress;  ///< the application's own socket; empty without

  /// GTK 4 sets SHOWING on the window only, so that VISIBLE and a size must decide.
  bool tellsShowing() const { return family != ToolkitFamily::gtk4; }
  /// GTK 4 answers extents relative to the content of its window.
  bool extentsAreWindowRelative() const { return family == ToolkitFamily::gtk4; }
  /// The coordinate type to ask extents in: GTK 4 knows no place on the screen, and from 4.10 on says so by zeros.
  uint32_t coordinates() const;
  /// GTK 3 tells all of its elements in one answer, GTK 4 those that somebody has asked for before, at a tenth of the
  /// cost of asking each.
  bool keepsCache() const { return family == ToolkitFamily::gtk3 || family == ToolkitFamily::gtk4; }
  /// Its windows change their looks picture by picture when they lose or get the keyboard.
  bool drawsBetweenAnswers() const { return family == ToolkitFamily::gtk3 || family == ToolkitFamily::gtk4; }
  /// GTK 4 never answers which character lies at a point of a text, so that waiting for it would cost a time-out.
  bool tellsCharacterAtPoint() const { return family != ToolkitFamily::gtk4; }
  /// Its single-line entries end their texts where they end, however much was asked for.
  bool endsTextsItself() const { return isWidgetToolkit(); }
  /// All elements of a role have the same name for it.
  bool namesRolesAlike() const { return isWidgetToolkit(); }

 private:
  bool isWidgetToolkit() const {
    return family == ToolkitFamily::gtk3 || family == ToolkitFamily::gtk4 || family == ToolkitFamily::qt;
  }
};

ToolkitFamily familyOf(const std::string& name, const std::string& version);

/// What GetExtents said, as the place of an element on the screen: none for the answers that toolkits give for elements
/// without one (smallest integers, empty or negative sizes). `offset` is added.
std::optional<Rect> screenExtents(const Rect& reported, Point offset);

/// The same of one toolkit's answer, as far as settlePlace() can make a place of it.
std::optional<Rect> placeTold(const Toolkit& toolkit, const Rect& reported, Point offset);

/// Settles, once its role and name are known too, the place that an element told: Swing counts that of a dialog from
/// the window that it belongs to, which is no place, and gives the headers of columns no height, which is a line's.
void settlePlace(const Toolkit& toolkit, ElementFacts& element);

/// Whether the element shows, by the states that its toolkit sets. `reported` is its uncorrected rectangle.
bool shows(const Toolkit& toolkit, uint64_t states, const std::optional<Rect>& extents);

/// The element's states with SHOWING as shows() decides, for toolkits that do not tell it. What has no place of its own
/// (the pages of a GTK 4 stack) shows as far as is known, until its children tell.
uint64_t statesWithShowing(const Toolkit& toolkit, const ElementFacts& element);

/// The name that an element has for a person: GTK 4 gives widgets without one the name of their type ("GtkEntry").
std::string nameForPeople(const Toolkit& toolkit, const std::string& name);

}  // namespace jumplark::atspi
